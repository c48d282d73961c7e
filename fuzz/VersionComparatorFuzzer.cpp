#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "platform/Text.h"
#include "versions/VersionComparator.h"
#include "versions/VersionOrder.h"

namespace {

using namespace quorvel;

using Texts = std::array<std::string, 3>;

void require(bool law) {
    if (!law) std::abort();
}

/// What holds for any two texts.
void checkPair(const std::string& one, const std::string& other) {
    const VersionComparator comparator;
    const bool newer = comparator.isNewer(one, other);
    require(!comparator.isNewer(one, one));
    require(!(newer && comparator.isNewer(other, one)));
    require(comparator.isNewer(" \t" + one + "\t ", other) == newer);
    require(comparator.isNewer(text::repairedUtf8(one), other) == newer);
    require(versionOrder::isNewerUnicode(one, other) == newer);
}

/// Whether every number of `text` surely fits into 64 bits, so that numbers compare by value alone.
bool isPlain(const std::string& text) {
    std::size_t digits = 0;
    std::size_t longest = 0;
    for (const char byte : text) {
        digits = byte >= '0' && byte <= '9' ? digits + 1 : 0;
        longest = std::max(longest, digits);
    }
    return longest <= 18 && text::isAscii(text);
}

/// Not newer, twice, is not newer.
void checkTransitive(const std::string& one, const std::string& two, const std::string& three) {
    const VersionComparator comparator;
    if (comparator.isNewer(one, two) || comparator.isNewer(two, three)) return;
    require(!comparator.isNewer(one, three));
}

/// The input is up to three versions with "|" between them; a fourth and later ones belong to the third.
Texts split(std::string_view input) {
    Texts texts;
    for (std::size_t index = 0; index < texts.size(); ++index) {
        const std::size_t bar = index + 1 < texts.size() ? input.find('|') : std::string_view::npos;
        texts[index] = input.substr(0, bar);
        input.remove_prefix(bar == std::string_view::npos ? input.size() : bar + 1);
    }
    return texts;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Texts texts = split(std::string_view(reinterpret_cast<const char*>(data), size));
    checkPair(texts[0], texts[1]);
    checkPair(texts[1], texts[2]);
    if (!std::all_of(texts.begin(), texts.end(), isPlain)) return 0;
    std::sort(texts.begin(), texts.end());
    do {
        checkTransitive(texts[0], texts[1], texts[2]);
    } while (std::next_permutation(texts.begin(), texts.end()));
    return 0;
}
