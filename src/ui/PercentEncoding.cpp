#include "ui/PercentEncoding.h"

#include <algorithm>
#include <cstddef>

#include "platform/text/Text.h"

namespace quorvel {

namespace {

constexpr std::string_view hexDigits = "0123456789ABCDEF";

bool isHexDigit(char byte) {
    return (byte >= '0' && byte <= '9') || (byte >= 'a' && byte <= 'f') || (byte >= 'A' && byte <= 'F');
}

bool isQueryAllowed(char byte) {
    constexpr std::string_view marks = "-._~!$&'()*+,;=:@/?";
    const bool isLetter = (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z');
    const bool isDigit = byte >= '0' && byte <= '9';
    return isLetter || isDigit || marks.find(byte) != std::string_view::npos;
}

/// Each percent sign begins an escape of two digits, and at most one number sign sets off a fragment.
bool hasOnlyURLCharacters(std::string_view text) {
    for (std::size_t index = 0; index < text.size(); ++index) {
        if (text[index] == '%') {
            const auto digits = text.substr(index + 1, 2);
            if (digits.size() != 2 || !std::ranges::all_of(digits, isHexDigit)) return false;
            index += 2;
        } else if (text[index] != '#' && !isQueryAllowed(text[index])) {
            return false;
        }
    }
    return std::ranges::count(text, '#') <= 1;
}

}  // namespace

std::optional<std::string> percentEncodedQuery(std::string_view text) {
    if (!text::isValidUtf8(text)) return std::nullopt;
    std::string encoded;
    encoded.reserve(percentEncodedSize(text));
    for (const char byte : text) {
        if (isQueryAllowed(byte)) {
            encoded += byte;
            continue;
        }
        const auto value = static_cast<unsigned char>(byte);
        encoded += '%';
        encoded += hexDigits[value >> 4];
        encoded += hexDigits[value & 0x0F];
    }
    return encoded;
}

std::size_t percentEncodedSize(std::string_view text) {
    const auto kept = static_cast<std::size_t>(std::ranges::count_if(text, isQueryAllowed));
    return kept + 3 * (text.size() - kept);
}

bool isOpenableURL(std::string_view text) {
    for (const std::string_view prefix : {"https://", "mailto:"}) {
        if (!text.starts_with(prefix)) continue;
        const auto rest = text.substr(prefix.size());
        const bool namesSomebody =
            !rest.empty() && std::string_view("/?#").find(rest.front()) == std::string_view::npos;
        return namesSomebody && hasOnlyURLCharacters(rest);
    }
    return false;
}

}  // namespace quorvel
