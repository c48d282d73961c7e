#include <gtest/gtest.h>

#include "platform/text/Text.h"
#include "versions/VersionComparator.h"
#include "versions/VersionOrder.h"

namespace quorvel {
namespace {

using namespace std::literals;

enum class Order { newer, older, equal };

struct VersionCase {
    std::string candidate;
    std::string baseline;
    Order expected;
};

std::string printed(const VersionCase& row) {
    return testing::PrintToString(row.candidate) + " against " + testing::PrintToString(row.baseline);
}

/// Asks in both directions, and on ASCII both forms of the rules.
void expectOrders(const std::vector<VersionCase>& cases) {
    const VersionComparator comparator;
    for (const auto& row : cases) {
        const auto& [candidate, baseline, expected] = row;
        EXPECT_EQ(comparator.isNewer(candidate, baseline), expected == Order::newer) << printed(row);
        EXPECT_EQ(comparator.isNewer(baseline, candidate), expected == Order::older)
            << printed(row) << ", the other way round";
        if (!text::isAscii(candidate) || !text::isAscii(baseline)) continue;
        EXPECT_EQ(versionOrder::isNewerUnicode(candidate, baseline), expected == Order::newer)
            << printed(row) << ", as Unicode";
        EXPECT_EQ(versionOrder::isNewerUnicode(baseline, candidate), expected == Order::older)
            << printed(row) << ", as Unicode, the other way round";
    }
}

TEST(VersionComparator, ordersNumbersByValueComponentByComponent) {
    expectOrders({
        {"1.2.1", "1.2", Order::newer},
        {"1.2", "1.2.0", Order::equal},
        {"1.2.0.0", "1.2", Order::equal},
        {"1.10", "1.9", Order::newer},
        {"2", "1.9.9", Order::newer},
        {"007", "7", Order::equal},
        {"1..2", "1.2", Order::equal},
        {".1.2.", "1.2", Order::equal},
        {"1", "1", Order::equal},
    });
}

TEST(VersionComparator, comparesNumbersBeyond64BitsByLengthThenDigits) {
    const std::string largest = "9223372036854775807";
    const std::string zeros(24, '0');
    expectOrders({
        {"10000000000000000000", "99", Order::newer},
        {"99999999999999999999", "99999999999999999998", Order::newer},
        {"100000000000000000000", "99999999999999999999", Order::newer},
        {largest, "9223372036854775806", Order::newer},
        {"9223372036854775808", largest, Order::newer},
        {"999999999999999999", "1000000000000000000", Order::older},
        {zeros + largest, largest, Order::equal},
        {zeros + "7", "8", Order::older},
        {zeros + "9223372036854775808", "9223372036854775808", Order::newer},
        // The three run in a circle: by value, by length, and by length again.
        {"10000000000000000000", "2", Order::newer},
        {zeros + "1", "10000000000000000000", Order::newer},
        {"2", zeros + "1", Order::newer},
    });
}

TEST(VersionComparator, readsATextAfterANumberAsAPreRelease) {
    expectOrders({
        {"1.0", "1.0b2", Order::newer},
        {"1.0b10", "1.0b2", Order::older},
        {"1.0beta", "1.0alpha", Order::newer},
        {"1.0BETA", "1.0beta", Order::equal},
        {"1.0Beta", "1.0alpha", Order::newer},
        {"1.0_", "1.0A", Order::older},  // lower case first: "_" stands between upper and lower case
        {"1.0rc1", "1.0rc", Order::newer},
        {"1.0-2", "1.0", Order::older},
        {"1.1b", "1.0", Order::newer},
        {"1.0.beta", "1.0.alpha", Order::equal},
        {"1.0.beta", "1.0", Order::equal},
        {"1.0.beta1", "1.0", Order::equal},
        {"r5", "r4", Order::equal},
        {"r5", "0.0", Order::equal},
        {"r5", "0.0.1", Order::older},
        {"0b", "", Order::older},
        {"1.0b\0x"s, "1.0b"s, Order::newer},
    });
}

TEST(VersionComparator, trimsBlanksAndDropsOneLeadingV) {
    expectOrders({
        {"V2.0", "1.9.9", Order::newer},
        {" \tv1.2\t ", "1.2", Order::equal},
        {"vv1.2", "0.2", Order::equal},
        {"vv1.2", "1.2", Order::older},
        {"v 1.2", "0.2", Order::equal},  // no second trimming: " 1" has no number in front
        {"\n1.2", "0.2", Order::equal},  // a line break is not trimmed
        {"1.2\n", "1.2", Order::older},  // but is a suffix
        {"1.2 x", "1.2", Order::older},
    });
}

TEST(VersionComparator, readsAClosingNumberInParenthesesAsAComponent) {
    expectOrders({
        {"2.0 (1234)", "2.0", Order::newer},
        {"2.0 (1234)", "2.0.1234", Order::equal},
        {"1.0(12)", "1.0.12", Order::equal},
        {"1.0 \r\n(12)\r\n", "1.0.12", Order::equal},
        {"1.0\v(12)\f", "1.0.12", Order::equal},
        {"1.0 (12) x", "1.0.12", Order::older},
        {"1.0 (12)(3)", "1.0.3", Order::older},  // "0 (12)" keeps its tail, and the 3 comes after it
        {"1.0 ()", "1.0", Order::older},
        {"1.0 (1 2)", "1.0", Order::older},
        {"1.0 ( 12)", "1.0", Order::older},
        {"1.0 12)", "1.0", Order::older},
        {"(12)", "12", Order::equal},
        {"v(12)", "12", Order::equal},
        {"1. (2)", "1.2", Order::equal},
        {"1.0 (build 12)", "1.0", Order::older},
    });
}

TEST(VersionComparator, cutsTheTextAtAPlusSign) {
    expectOrders({
        {"1.0.0+45", "1.0.0", Order::equal},
        {"1.0+45 (12)", "1.0", Order::equal},
        {"1.0 (12)+45", "1.0", Order::older},  // not at the end, hence no build number
        {"+5", "0", Order::equal},
        {"1+", "1", Order::equal},
    });
}

TEST(VersionComparator, comparesTextsWithoutNumbersLikeZero) {
    expectOrders({
        {"", "", Order::equal},
        {"", "0", Order::equal},
        {"...", "", Order::equal},
        {"beta", "0.0", Order::equal},
        {"", "0b", Order::newer},
        {"", "1", Order::older},
        {"-", "0", Order::equal},
        {"\0"s, "0", Order::equal},
    });
}

TEST(VersionComparator, followsTheUnicodePropertiesBeyondAscii) {
    expectOrders({
        // Digits of other scripts are no 64-bit integers: the longer is greater, then code points decide.
        {"٢.٠", "١.٩", Order::newer},
        {"١٠", "٩", Order::newer},
        {"٣", "9", Order::newer},
        {"٣", "10", Order::older},
        {"1.٠", "1.0", Order::newer},
        {"1½", "1", Order::newer},
        {"½", "²", Order::newer},
        {"1.0²", "1.0", Order::newer},
        {"一.二", "一.一", Order::newer},
        // A digit with its marks is one character.
        {"1\u0301", "2", Order::older},
        {"1\u0301", "1", Order::newer},
        {"1\u0301", "12", Order::older},
        {"2\u0300\u0301", "10", Order::older},
        // White space and the leading v.
        {"\u00A0\u30001.2\u2003", "1.2", Order::equal},
        {"ｖ1.2", "0.2", Order::equal},
        {"v\u0301"
         "1.2",
         "0.2", Order::equal},
        {"1.0\u00A0(12)\u2028", "1.0.12", Order::equal},
        {"1.0 (١٢)", "1.0.١٢", Order::equal},
        {"1.0 (½)", "1.0", Order::older},
        {"1.0（12）", "1.0", Order::older},
        // A separator that carries a mark is another character.
        {"1.\u0301"
         "5",
         "1", Order::older},
        {"1+\u0301"
         "5",
         "1", Order::older},
        {"1．5", "1", Order::older},
        {"é+5", "0", Order::equal},
        {"1.0é.2", "1.0é.1", Order::newer},
        // Suffixes: lower case and canonical equivalence, never the user's locale.
        {"1.0É", "1.0é", Order::equal},
        {"1.0e\u0301", "1.0É", Order::equal},
        {"1.0ω", "1.0Α", Order::newer},
        {"1.0é", "1.0z", Order::newer},
        {"1.0\U0001F600", "1.0\uFFFD", Order::newer},
        {"1.0\x80", "1.0\uFFFD", Order::equal},
        {"1.0\xE2\x82", "1.0", Order::older},
        {"\x80", "0", Order::equal},
    });
}

}  // namespace
}  // namespace quorvel
