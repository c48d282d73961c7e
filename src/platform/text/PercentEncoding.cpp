#include "platform/text/PercentEncoding.h"

namespace quorvel::text {

std::string percentEncoded(std::string_view bytes, std::string_view marks) {
    constexpr std::string_view hexDigits = "0123456789ABCDEF";
    std::string encoded;
    encoded.reserve(bytes.size());
    for (const char byte : bytes) {
        const bool isLetter = (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z');
        const bool isDigit = byte >= '0' && byte <= '9';
        if (isLetter || isDigit || marks.contains(byte)) {
            encoded += byte;
            continue;
        }
        const auto value = static_cast<unsigned char>(byte);
        encoded += {'%', hexDigits[value >> 4], hexDigits[value & 0x0F]};
    }
    return encoded;
}

}  // namespace quorvel::text
