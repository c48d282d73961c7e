#include "versions/VersionOrder.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <optional>
#include <system_error>
#include <unicode/uchar.h>
#include <unicode/utf8.h>
#include <utility>
#include <vector>

#include "platform/text/Characters.h"
#include "platform/text/Text.h"

namespace quorvel::versionOrder {
namespace {

using Components = std::vector<std::string_view>;

/// The last code point of `text`, which loses it. Well-formed UTF-8, not empty.
UChar32 takeLastCodePoint(std::string_view& text) {
    std::size_t start = text.size() - 1;
    while ((text[start] & 0xC0) == 0x80)
        --start;
    const std::string_view last = text.substr(start);
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(last.data());
    text.remove_suffix(last.size());
    std::size_t offset = 0;
    UChar32 codePoint = 0;
    U8_NEXT_UNSAFE(bytes, offset, codePoint);
    return codePoint;
}

/// `text` without the code points at its end that `drops` accepts.
template <typename Drops>
std::string_view withoutTail(std::string_view text, Drops drops) {
    std::string_view rest = text;
    while (!rest.empty() && drops(takeLastCodePoint(rest)))
        text = rest;
    return text;
}

bool isWhiteSpace(UChar32 codePoint) {
    return u_isUWhiteSpace(codePoint) != 0;
}

bool isDecimalDigit(UChar32 codePoint) {
    return u_isdigit(codePoint) != 0;
}

/// Turns a match of "\s*\(\d+\)\s*$" into a dot and its digits. It reads code points from the end: what
/// closes the text decides, and a search from the front would try every run of white space to its end.
std::string withBuildAsComponent(std::string_view text) {
    const std::string_view closed = withoutTail(text, isWhiteSpace);
    if (!closed.ends_with(')')) return std::string(text);
    const std::string_view inner = closed.substr(0, closed.size() - 1);
    const std::string_view open = withoutTail(inner, isDecimalDigit);
    if (open.size() == inner.size() || !open.ends_with('(')) return std::string(text);
    std::string result(withoutTail(open.substr(0, open.size() - 1), isWhiteSpace));
    result += '.';
    result += inner.substr(open.size());
    return result;
}

/// The offset of the first character that is exactly `wanted`; one that carries a combining mark is another.
std::size_t findCharacter(std::string_view text, std::string_view wanted) {
    if (!text.contains(wanted)) return std::string_view::npos;
    std::size_t offset = 0;
    for (const std::string_view character : text::characters(text)) {
        if (character == wanted) return offset;
        offset += character.size();
    }
    return std::string_view::npos;
}

/// The pieces of `normalized` between dots, without the empty ones.
Components components(std::string_view normalized) {
    Components pieces;
    std::size_t start = 0;
    std::size_t end = 0;
    const auto finish = [&] {
        if (end > start) pieces.push_back(normalized.substr(start, end - start));
    };
    for (const std::string_view character : text::characters(normalized)) {
        if (character == ".") {
            finish();
            start = end + character.size();
        }
        end += character.size();
    }
    finish();
    return pieces;
}

/// The value of ASCII digits, when it fits.
std::optional<std::int64_t> integer(std::string_view digits) {
    std::int64_t value = 0;
    const char* const end = digits.data() + digits.size();
    const auto [rest, error] = std::from_chars(digits.data(), end, value);
    if (error != std::errc{} || rest != end) return std::nullopt;
    return value;
}

/// Canonical order: texts that differ only in how an accent is composed are equal.
std::weak_ordering compareCodePoints(std::string_view left, std::string_view right) {
    return text::composed(left) <=> text::composed(right);
}

}  // namespace

std::string normalizeVersion(std::string_view text) {
    const std::string repaired = text::repairedUtf8(text);
    std::string_view version = text::trimmed(repaired);
    if (findCharacter(version, "v") == 0 || findCharacter(version, "V") == 0) version.remove_prefix(1);
    std::string normalized = withBuildAsComponent(version);
    const std::size_t plus = findCharacter(normalized, "+");
    if (plus != std::string::npos) normalized.resize(plus);
    return normalized;
}

std::weak_ordering compareNumericText(std::string_view left, std::string_view right) {
    const auto leftValue = integer(left);
    const auto rightValue = integer(right);
    if (leftValue && rightValue) return *leftValue <=> *rightValue;
    const auto lengths = text::characters(left).size() <=> text::characters(right).size();
    return lengths != 0 ? lengths : compareCodePoints(left, right);
}

std::weak_ordering compareComponents(std::string_view left, std::string_view right) {
    const auto split = [](std::string_view component) {
        const std::string_view number = text::numericPrefix(component);
        // Text without a number before it is disregarded altogether.
        if (number.empty()) return std::pair<std::string_view, std::string_view>{"0", {}};
        return std::pair{number, component.substr(number.size())};
    };
    const auto [leftNumber, leftSuffix] = split(left);
    const auto [rightNumber, rightSuffix] = split(right);
    const auto numbers = compareNumericText(leftNumber, rightNumber);
    if (numbers != 0) return numbers;
    // A suffix marks a pre-release: the component without one is the higher.
    if (leftSuffix.empty() || rightSuffix.empty()) return leftSuffix.empty() <=> rightSuffix.empty();
    return compareCodePoints(text::lowerCased(leftSuffix), text::lowerCased(rightSuffix));
}

Comparison compareVersions(std::string_view candidate, std::string_view baseline) {
    Comparison comparison;
    const auto split = [](std::string_view version, std::vector<std::string>& pieces) {
        const std::string normalized = normalizeVersion(version);
        for (const auto piece : components(normalized))
            pieces.emplace_back(piece);
    };
    auto& [left, right, decisive, order] = comparison;
    split(candidate, left);
    split(baseline, right);
    const std::size_t count = std::max(left.size(), right.size());
    left.resize(count, "0");
    right.resize(count, "0");
    for (std::size_t index = 0; index < count; ++index) {
        order = compareComponents(left[index], right[index]);
        if (order == 0) continue;
        decisive = index;
        break;
    }
    return comparison;
}

bool isNewerUnicode(std::string_view candidate, std::string_view baseline) {
    return compareVersions(candidate, baseline).order > 0;
}

}  // namespace quorvel::versionOrder
