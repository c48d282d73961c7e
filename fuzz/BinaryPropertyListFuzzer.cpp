#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "PropertyListLaws.h"

namespace {

using namespace quorvel;

void appendNumber(std::string& bytes, std::size_t value, std::size_t width) {
    while (width-- > 0)
        bytes += static_cast<char>(value >> 8 * width);
}

/// A list of the objects given by their bytes, with a table and a trailer that are right, so that what is
/// fuzzed is the objects and their references.
std::string listOf(std::string_view objects, std::string_view separator) {
    std::string list = "bplist00";
    std::vector<std::size_t> offsets;
    while (!objects.empty()) {
        offsets.push_back(list.size());
        list += fuzz::takeUpTo(separator, objects);
    }
    const std::size_t table = list.size();
    for (const std::size_t offset : offsets)
        appendNumber(list, offset, 4);
    list.append(6, '\0') += "\x04\x01";
    appendNumber(list, offsets.size(), 8);
    appendNumber(list, 0, 8);
    appendNumber(list, table, 8);
    return list;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes = fuzz::textOf(data, size);
    if (bytes.starts_with("bplist0")) {
        fuzz::readLawfully(bytes);
    } else {
        fuzz::readLawfully(listOf(bytes, "|"));
    }
    return 0;
}
