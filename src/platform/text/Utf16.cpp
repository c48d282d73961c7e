#include "platform/text/Utf16.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <unicode/ustring.h>
#include <unicode/utf16.h>

namespace quorvel {

bool visitUtf16(std::string_view bytes, std::endian order,
                const std::function<bool(std::string_view)>& visit) {
    constexpr std::size_t maxUnits = 2048;
    std::array<char16_t, maxUnits> units;
    // A unit takes three bytes at most; a pair of surrogates takes four.
    std::array<char, maxUnits * 3> utf8;
    if (bytes.size() % 2 != 0) return false;
    while (!bytes.empty()) {
        std::size_t count = std::min(bytes.size() / 2, maxUnits);
        std::memcpy(units.data(), bytes.data(), count * 2);
        if (order != std::endian::native) {
            for (std::size_t index = 0; index < count; ++index)
                units[index] = static_cast<char16_t>(units[index] << 8 | units[index] >> 8);
        }
        if (count < bytes.size() / 2 && U16_IS_LEAD(units[count - 1])) --count;
        std::int32_t size = 0;
        UErrorCode status = U_ZERO_ERROR;
        u_strToUTF8(utf8.data(), static_cast<std::int32_t>(utf8.size()), &size, units.data(),
                    static_cast<std::int32_t>(count), &status);
        if (U_FAILURE(status) || !visit({utf8.data(), static_cast<std::size_t>(size)})) return false;
        bytes.remove_prefix(count * 2);
    }
    return true;
}

}  // namespace quorvel
