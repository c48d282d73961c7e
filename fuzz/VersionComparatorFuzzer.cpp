#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "FuzzSupport.h"
#include "versions/VersionComparator.h"

namespace {

using namespace quorvel;
using fuzz::require;

const VersionComparator comparator;

/// What holds for any two texts.
void checkPair(const std::string& one, const std::string& other) {
    const bool newer = comparator.isNewer(one, other);
    require(!comparator.isNewer(one, one), "no text is newer than itself");
    require(!(newer && comparator.isNewer(other, one)), "no two texts are newer than each other");
    require(comparator.isNewer(" \t" + one + "\t ", other) == newer, "white space around does not count");
    require(comparator.isNewer(text::repairedUtf8(one), other) == newer, "malformed bytes count as U+FFFD");
    // Which always reads clusters, where isNewer reads the bytes of ASCII.
    require((VersionComparator::compare(one, other).order > 0) == newer, "bytes and clusters order alike");
}

/// The numbers with which the components of `version` begin, in their order; "" where there is none.
std::vector<std::string> numbersOf(const std::string& version) {
    std::vector<std::string> numbers;
    for (const auto& component : VersionComparator::compare(version, "").candidate)
        numbers.emplace_back(text::numericPrefix(component));
    return numbers;
}

bool isInteger(const std::string& number) {
    std::int64_t value = 0;
    const char* const end = number.data() + number.size();
    const auto [rest, error] = std::from_chars(number.data(), end, value);
    return error == std::errc{} && rest == end;
}

/// Where a number that is compared by its length (beyond 64 bits, or with other scripts' digits) meets, at
/// the same place of its version, one that is compared by its value and written with leading zeros to at
/// least that length, the rules make circles: 2 is before "٣٣", that is before 0001, and that is before 2.
/// Without such a pair, value and length order alike, and so the rules make a weak order.
bool mayRunInCircles(std::span<const std::string> versions) {
    struct Lengths {
        std::size_t longestWithZeros = 0;
        std::size_t shortestByLength = SIZE_MAX;
    };
    std::vector<Lengths> places;
    for (const auto& version : versions) {
        const auto numbers = numbersOf(version);
        places.resize(std::max(places.size(), numbers.size()));
        for (std::size_t place = 0; place < numbers.size(); ++place) {
            const auto& number = numbers[place];
            const std::size_t length = text::graphemeCount(number);
            if (number.empty()) continue;
            auto& [longestWithZeros, shortestByLength] = places[place];
            if (!isInteger(number)) {
                shortestByLength = std::min(shortestByLength, length);
            } else if (number.size() > 1 && number.front() == '0') {
                longestWithZeros = std::max(longestWithZeros, length);
            }
        }
    }
    return std::ranges::any_of(
        places, [](const Lengths& place) { return place.shortestByLength <= place.longestWithZeros; });
}

void checkTransitive(const std::string& one, const std::string& two, const std::string& three) {
    if (comparator.isNewer(one, two) || comparator.isNewer(two, three)) return;
    require(!comparator.isNewer(one, three), "not newer, twice, is not newer");
}

}  // namespace

/// The input is up to three versions with "|" between them.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string_view input = fuzz::textOf(data, size);
    std::array<std::string, 3> texts;
    for (auto& text : texts)
        text = fuzz::takeUpTo("|", input);
    checkPair(texts[0], texts[1]);
    checkPair(texts[1], texts[2]);
    if (mayRunInCircles(texts)) return 0;
    std::ranges::sort(texts);
    do {
        checkTransitive(texts[0], texts[1], texts[2]);
    } while (std::ranges::next_permutation(texts).found);
    return 0;
}
