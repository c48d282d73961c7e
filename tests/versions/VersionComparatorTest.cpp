#include <gtest/gtest.h>

#include "versions/VersionComparator.h"

namespace quorvel {
namespace {

enum class Order { older = -1, equal, newer };

struct VersionCase {
    std::string candidate;
    std::string baseline;
    Order expected;
};

/// Asks in both directions, and also what reads grapheme clusters where `isNewer` reads the bytes of ASCII.
void expectOrders(const std::vector<VersionCase>& cases) {
    const VersionComparator comparator;
    for (const auto& [candidate, baseline, expected] : cases) {
        SCOPED_TRACE(testing::PrintToString(candidate) + " against " + testing::PrintToString(baseline));
        EXPECT_EQ(comparator.isNewer(candidate, baseline), expected == Order::newer);
        EXPECT_EQ(comparator.isNewer(baseline, candidate), expected == Order::older) << "the other way round";
        const auto order = VersionComparator::compare(candidate, baseline).order;
        EXPECT_TRUE(order == (static_cast<int>(expected) <=> 0)) << "by clusters";
    }
}

TEST(VersionComparator, ordersComponentsByTheirNumbersThenByTheirSuffixes) {
    expectOrders({
        {"1.2.1", "1.2", Order::newer},
        {"1.10", "1.9", Order::newer},
        {"1.2", "1.2.0.0", Order::equal},
        {"007", "7", Order::equal},
        {".1..2.", "1.2", Order::equal},
        // A suffix marks a pre-release and is text, in lower case.
        {"1.0", "1.0b2", Order::newer},
        {"1.0b10", "1.0b2", Order::older},
        {"1.0BETA", "1.0beta", Order::equal},
        {"1.0-2", "1.0", Order::older},
        // A text without a number before it counts as 0.
        {"1.0.beta1", "1.0.alpha", Order::equal},
        {"r5", "0.0", Order::equal},
        {"r5", "0.0.1", Order::older},
        {"", "", Order::equal},
        {"", "1", Order::older},
    });
}

TEST(VersionComparator, comparesNumbersBeyond64BitsByLengthThenDigits) {
    const std::string largest = "9223372036854775807";
    const std::string zeros(24, '0');
    expectOrders({
        {"99999999999999999999", "99999999999999999998", Order::newer},
        {"999999999999999999", "1000000000000000000", Order::older},
        {zeros + largest, largest, Order::equal},
        {zeros + "9223372036854775808", "9223372036854775808", Order::newer},
        // The three run in a circle: by value, by length, and by length again.
        {"10000000000000000000", "2", Order::newer},
        {zeros + "1", "10000000000000000000", Order::newer},
        {"2", zeros + "1", Order::newer},
    });
}

TEST(VersionComparator, trimsBlanksDropsOneLeadingVAndCutsAtAPlusSign) {
    expectOrders({
        {"V2.0", "1.9.9", Order::newer},
        {" \tv1.2\t ", "1.2", Order::equal},
        {"vv1.2", "0.2", Order::equal},
        {"v 1.2", "0.2", Order::equal},  // no second trimming: " 1" has no number in front
        {"\n1.2", "0.2", Order::equal},  // a line break is not trimmed
        {"1.2\n", "1.2", Order::older},  // but is a suffix
        {"1.0.0+45", "1.0.0", Order::equal},
        {"1.0+4+5 (12)", "1.0", Order::equal},
        {"+5", "0", Order::equal},
    });
}

TEST(VersionComparator, readsAClosingNumberInParenthesesAsAComponent) {
    expectOrders({
        {"2.0 (1234)", "2.0", Order::newer},
        {"1.0(12)", "1.0.12", Order::equal},
        {"1.0 \r\n(12)\r\n", "1.0.12", Order::equal},
        {"1.0\v(12)\f", "1.0.12", Order::equal},
        {"v(12)", "12", Order::equal},
        {"1.0 (12)(3)", "1.0.3", Order::older},  // "0 (12)" keeps its tail, and the 3 comes after it
        {"1.0 (12)+45", "1.0", Order::older},    // not at the end
        {"1.0 ()", "1.0", Order::older},
        {"1.0 (1 2)", "1.0", Order::older},
        {"1.0 12)", "1.0", Order::older},
        {"1.0\u00A0(12)\u2028", "1.0.12", Order::equal},
        {"1.0 (١٢)", "1.0.١٢", Order::equal},
        {"1.0 (1\u0301)", "1.0", Order::older},
    });
}

TEST(VersionComparator, followsTheUnicodePropertiesBeyondAscii) {
    expectOrders({
        // Digits of other scripts are no 64-bit integers: the longer is greater, then code points decide.
        {"١٠", "٩", Order::newer},
        {"٣", "10", Order::older},
        {"1.٠", "1.0", Order::newer},
        {"1½", "1", Order::newer},
        // A digit with its marks is one character.
        {"1\u0301", "2", Order::older},
        {"1\u0301", "1", Order::newer},
        {"\u00A0\u30001.2\u2003", "1.2", Order::equal},
        {"1.0é.2", "1.0é.1", Order::newer},
        // Suffixes: lower case and canonical equivalence, never the user's locale.
        {"1.0e\u0301", "1.0É", Order::equal},
        {"1.0\U0001F600", "1.0\uFFFD", Order::newer},
        {"1.0\x80", "1.0\uFFFD", Order::equal},
    });
}

TEST(VersionComparator, namesTheComponentsAndThePairThatDecides) {
    const auto comparison = VersionComparator::compare("v1.beta (7)", "1.0.7.2+x");
    EXPECT_EQ(comparison.candidate, (std::vector<std::string>{"1", "beta", "7", "0"}));
    EXPECT_EQ(comparison.baseline, (std::vector<std::string>{"1", "0", "7", "2"}));
    EXPECT_EQ(comparison.decisive, 3U);
    EXPECT_TRUE(comparison.order < 0);
    EXPECT_EQ(VersionComparator::compare("1", "1.0").decisive, std::nullopt);
}

}  // namespace
}  // namespace quorvel
