#include <cstdint>
#include <string>
#include <string_view>
#include <unicode/unistr.h>

#include "PropertyListLaws.h"

namespace {

using namespace quorvel;
using fuzz::require;

std::string utf16Of(std::string_view utf8, bool isBigEndian) {
    const auto units =
        icu::UnicodeString::fromUTF8(icu::StringPiece(utf8.data(), static_cast<std::int32_t>(utf8.size())));
    std::string bytes = isBigEndian ? "\xFE\xFF" : "\xFF\xFE";
    for (std::int32_t index = 0; index < units.length(); ++index) {
        const char high = static_cast<char>(units[index] >> 8), low = static_cast<char>(units[index] & 0xFF);
        bytes += isBigEndian ? high : low;
        bytes += isBigEndian ? low : high;
    }
    return bytes;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes = fuzz::textOf(data, size);
    fuzz::readLawfully(bytes);
    // A byte order mark goes before what the document says of its own encoding.
    if (!text::isValidUtf8(bytes) || bytes.starts_with("bplist0")) return 0;
    const auto texts = readPropertyList("\xEF\xBB\xBF" + std::string(bytes), fuzz::propertyListKeys);
    for (const bool isBigEndian : {false, true}) {
        const auto same = readPropertyList(utf16Of(bytes, isBigEndian), fuzz::propertyListKeys);
        require(same == texts, "a list says the same in UTF-16");
    }
    return 0;
}
