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

}  // namespace

/// The input is two versions with "|" between them.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string_view input = fuzz::textOf(data, size);
    const std::string one(fuzz::takeUpTo("|", input));
    checkPair(one, std::string(input));
    return 0;
}
