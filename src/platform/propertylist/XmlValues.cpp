#include "platform/propertylist/XmlValues.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/text/Text.h"

namespace quorvel {

namespace {

bool skip(std::string_view& text, std::string_view characters) {
    const bool isThere = !text.empty() && characters.contains(text.front());
    if (isThere) text.remove_prefix(1);
    return isThere;
}

std::size_t skipDigits(std::string_view& text) {
    const std::size_t count = std::min(text.find_first_not_of("0123456789"), text.size());
    text.remove_prefix(count);
    return count;
}

}  // namespace

void skipWhiteSpace(std::string_view& text) {
    text.remove_prefix(std::min(text.find_first_not_of(xmlWhiteSpace), text.size()));
}

bool isInteger(std::string_view text) {
    skipWhiteSpace(text);
    const bool isNegative = text.starts_with('-');
    skip(text, "+-");
    skipWhiteSpace(text);
    const bool isHexadecimal = text.starts_with("0x") || text.starts_with("0X");
    if (isHexadecimal) text.remove_prefix(2);
    std::uint64_t magnitude = 0;
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, magnitude, isHexadecimal ? 16 : 10);
    if (error != std::errc{} || rest != end) return false;
    return !isNegative || magnitude <= std::uint64_t{1} << 63;
}

bool isReal(std::string_view text) {
    skipWhiteSpace(text);
    skip(text, "+-");
    const std::string word = text::lowerCased(text);
    if (word == "inf" || word == "infinity" || word == "nan") return true;
    std::size_t digits = skipDigits(text);
    if (skip(text, ".")) digits += skipDigits(text);
    if (digits == 0) return false;
    if (skip(text, "eE")) {
        skip(text, "+-");
        if (skipDigits(text) == 0) return false;
    }
    return text.empty();
}

bool isDate(std::string_view text) {
    if (text.starts_with('-')) text.remove_prefix(1);
    constexpr std::string_view form = "0000-00-00T00:00:00Z";
    if (text.size() != form.size()) return false;
    for (std::size_t index = 0; index < form.size(); ++index) {
        const bool isDigit = text[index] >= '0' && text[index] <= '9';
        if (form[index] == '0' ? !isDigit : text[index] != form[index]) return false;
    }
    return true;
}

}  // namespace quorvel
