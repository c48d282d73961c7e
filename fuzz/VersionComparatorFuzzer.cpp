#include <algorithm>
#include <array>
#include <cstdint>
#include <string>
#include <string_view>

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

/// Numbers that are compared by their length (beyond 64 bits, or with other scripts' digits) make circles
/// with those that are compared by their value and have leading zeros: 2 is before "٣٣", that is before 0001,
/// and that is before 2. Without either, the rules make a weak order.
bool isPlain(std::string_view version) {
    constexpr std::string_view digits = "0123456789";
    if (!text::isAscii(version)) return false;
    for (auto number = version; !number.empty();) {
        number.remove_prefix(std::min(number.find_first_of(digits), number.size()));
        const auto length = std::min(number.find_first_not_of(digits), number.size());
        if (length > 18 || (length > 1 && number.front() == '0')) return false;
        number.remove_prefix(length);
    }
    return true;
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
    if (!std::ranges::all_of(texts, isPlain)) return 0;
    std::ranges::sort(texts);
    do {
        checkTransitive(texts[0], texts[1], texts[2]);
    } while (std::ranges::next_permutation(texts).found);
    return 0;
}
