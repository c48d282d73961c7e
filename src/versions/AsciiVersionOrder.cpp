#include <algorithm>
#include <charconv>
#include <cstdint>
#include <system_error>
#include <utility>

#include "versions/VersionOrder.h"

namespace quorvel::versionOrder {
namespace {

bool isDigit(char byte) {
    return byte >= '0' && byte <= '9';
}

bool isBlank(char byte) {
    return byte == ' ' || byte == '\t';
}

/// Unicode's White_Space within ASCII: unlike a blank, also the line breaks, of which \v and \f are two.
bool isWhiteSpace(char byte) {
    return byte == ' ' || (byte >= '\t' && byte <= '\r');
}

char lowerCased(char byte) {
    return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte - 'A' + 'a') : byte;
}

/// `text` without the bytes at its end that `drops` accepts.
template <typename Drops>
std::string_view withoutTail(std::string_view text, Drops drops) {
    while (!text.empty() && drops(text.back()))
        text.remove_suffix(1);
    return text;
}

/// A normalised version without the string: the components of `head`, then `build` unless it is empty.
struct NormalizedVersion {
    std::string_view head;
    std::string_view build;
};

/// Takes a build number in parentheses off the end; without one, `build` is empty.
NormalizedVersion splitBuild(std::string_view text) {
    const std::string_view closed = withoutTail(text, isWhiteSpace);
    if (!closed.ends_with(')')) return {text, {}};
    const std::string_view inner = closed.substr(0, closed.size() - 1);
    const std::string_view open = withoutTail(inner, isDigit);
    if (open.size() == inner.size() || !open.ends_with('(')) return {text, {}};
    return {withoutTail(open.substr(0, open.size() - 1), isWhiteSpace), inner.substr(open.size())};
}

NormalizedVersion normalized(std::string_view text) {
    text = withoutTail(text, isBlank);
    while (!text.empty() && isBlank(text.front()))
        text.remove_prefix(1);
    if (text.starts_with('v') || text.starts_with('V')) text.remove_prefix(1);
    NormalizedVersion version = splitBuild(text);
    const std::size_t plus = version.head.find('+');
    if (plus != std::string_view::npos) version = {version.head.substr(0, plus), {}};
    return version;
}

struct Component {
    std::string_view number;  ///< never empty
    std::string_view suffix;
    std::uint64_t value;  ///< of `number`, unless it has more than `shortNumber` digits
};

/// A number of so many digits fits into 64 bits whatever they are.
constexpr std::size_t shortNumber = 18;

Component parsed(std::string_view text) {
    std::size_t length = 0;
    std::uint64_t value = 0;
    for (; length < text.size() && isDigit(text[length]); ++length) {
        value = value * 10 + static_cast<std::uint64_t>(text[length] - '0');
    }
    if (length == 0) return {"0", {}, 0};
    return {text.substr(0, length), text.substr(length), value};
}

/// The next component of `version`, which loses it; "0" for ever after the last.
Component nextComponent(NormalizedVersion& version) {
    std::string_view& head = version.head;
    while (head.starts_with('.'))
        head.remove_prefix(1);
    if (head.empty()) return parsed(std::exchange(version.build, {}));
    const std::size_t length = std::min(head.find('.'), head.size());
    const std::string_view piece = head.substr(0, length);
    head.remove_prefix(length);
    return parsed(piece);
}

/// Whether `digits`, whatever zeros it begins with, is a signed 64-bit integer, which `value` then becomes.
bool readInteger(std::string_view digits, std::int64_t& value) {
    return std::from_chars(digits.data(), digits.data() + digits.size(), value).ec == std::errc{};
}

std::weak_ordering compareLongNumbers(std::string_view left, std::string_view right) {
    std::int64_t leftValue = 0;
    std::int64_t rightValue = 0;
    if (readInteger(left, leftValue) && readInteger(right, rightValue)) return leftValue <=> rightValue;
    const auto lengths = left.size() <=> right.size();
    return lengths != 0 ? lengths : left <=> right;
}

std::weak_ordering compareNumbers(const Component& left, const Component& right) {
    if (left.number.size() <= shortNumber && right.number.size() <= shortNumber) {
        return left.value <=> right.value;
    }
    return compareLongNumbers(left.number, right.number);
}

std::weak_ordering compareSuffixes(std::string_view left, std::string_view right) {
    if (left.empty() || right.empty()) return left.empty() <=> right.empty();
    return std::lexicographical_compare_three_way(
        left.begin(), left.end(), right.begin(), right.end(),
        [](char one, char other) -> std::weak_ordering { return lowerCased(one) <=> lowerCased(other); });
}

}  // namespace

bool isNewerAscii(std::string_view candidate, std::string_view baseline) {
    NormalizedVersion left = normalized(candidate);
    NormalizedVersion right = normalized(baseline);
    while (!left.head.empty() || !left.build.empty() || !right.head.empty() || !right.build.empty()) {
        const Component one = nextComponent(left);
        const Component other = nextComponent(right);
        const auto numbers = compareNumbers(one, other);
        if (numbers != 0) return numbers > 0;
        const auto suffixes = compareSuffixes(one.suffix, other.suffix);
        if (suffixes != 0) return suffixes > 0;
    }
    return false;
}

}  // namespace quorvel::versionOrder
