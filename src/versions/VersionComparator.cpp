#include "versions/VersionComparator.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>
#include <utility>

#include "platform/text/Text.h"

namespace quorvel {

namespace {

/// A grapheme cluster, as a piece of the text that it stands in.
using Cluster = std::string_view;

/// A text as the rules see it: a row of characters, which are bytes where both versions are ASCII, as nearly
/// all are, and grapheme clusters otherwise.
template <typename Character>
using Text = std::span<const Character>;

bool is(char byte, char wanted) {
    return byte == wanted;
}
/// A separator that carries a combining mark is another character.
bool is(Cluster cluster, char wanted) {
    return cluster.size() == 1 && cluster.front() == wanted;
}

bool isDecimalDigit(char byte) {
    return byte >= '0' && byte <= '9';
}
bool isDecimalDigit(Cluster cluster) {
    return text::isDecimalDigit(cluster);
}

bool isNumeric(char byte) {
    return isDecimalDigit(byte);
}
bool isNumeric(Cluster cluster) {
    return text::isNumeric(cluster);
}

/// Unlike what is trimmed, also the line breaks, of which \v and \f are two.
bool isWhiteSpace(char byte) {
    return byte == ' ' || (byte >= '\t' && byte <= '\r');
}
bool isWhiteSpace(Cluster cluster) {
    return text::isWhiteSpace(cluster);
}

std::string_view written(Text<char> text) {
    return {text.data(), text.size()};
}
std::string_view written(Text<Cluster> text) {
    if (text.empty()) return {};
    return {text.front().data(), text.back().data() + text.back().size()};
}

template <typename Character>
constexpr std::array<Character, 1> zero{};
template <>
constexpr std::array<char, 1> zero<char>{'0'};
template <>
constexpr std::array<Cluster, 1> zero<Cluster>{"0"};

template <typename Character>
std::size_t find(Text<Character> text, char wanted) {
    const auto found = std::ranges::find_if(text, [&](Character character) { return is(character, wanted); });
    return static_cast<std::size_t>(found - text.begin());
}

template <typename Character>
bool endsWith(Text<Character> text, char wanted) {
    return !text.empty() && is(text.back(), wanted);
}

/// `text` without the characters at its end that `drops` accepts.
template <typename Character, typename Drops>
Text<Character> withoutTail(Text<Character> text, Drops drops) {
    while (!text.empty() && drops(text.back()))
        text = text.first(text.size() - 1);
    return text;
}

/// The components of `head`, which begins with no dot, then `build` unless it is empty.
template <typename Character>
struct NormalizedVersion {
    Text<Character> head;
    Text<Character> build{};

    bool isAtEnd() const { return head.empty() && build.empty(); }
};

/// Takes a build number, a match of "\s*\(\d+\)\s*$", off the end. It reads from the end: what closes the
/// text decides, and a search from the front would try every run of white space to its end.
template <typename Character>
NormalizedVersion<Character> splitBuild(Text<Character> text) {
    const auto whiteSpace = [](Character character) { return isWhiteSpace(character); };
    const auto closed = withoutTail(text, whiteSpace);
    if (!endsWith(closed, ')')) return {text};
    const auto inner = closed.first(closed.size() - 1);
    const auto open = withoutTail(inner, [](Character character) { return isDecimalDigit(character); });
    if (open.size() == inner.size() || !endsWith(open, '(')) return {text};
    return {withoutTail(open.first(open.size() - 1), whiteSpace), inner.subspan(open.size())};
}

template <typename Character>
Text<Character> withoutLeadingDots(Text<Character> text) {
    while (!text.empty() && is(text.front(), '.'))
        text = text.subspan(1);
    return text;
}

/// Without one leading "v", with a closing "(123)" as a component of its own, and without what follows the
/// first "+". `text` is trimmed.
template <typename Character>
NormalizedVersion<Character> normalizeVersion(Text<Character> text) {
    if (!text.empty() && (is(text.front(), 'v') || is(text.front(), 'V'))) text = text.subspan(1);
    auto version = splitBuild(text);
    const std::size_t plus = find(version.head, '+');
    if (plus < version.head.size()) version = {version.head.first(plus)};
    version.head = withoutLeadingDots(version.head);
    return version;
}

/// The next component of `version`, which loses it; "0" for ever after the last.
template <typename Character>
Text<Character> nextComponent(NormalizedVersion<Character>& version) {
    if (version.isAtEnd()) return zero<Character>;
    if (version.head.empty()) return std::exchange(version.build, {});
    const auto component = version.head.first(find(version.head, '.'));
    version.head = withoutLeadingDots(version.head.subspan(component.size()));
    return component;
}

/// Whether `digits`, whatever zeros it begins with, is a signed 64-bit integer, which `value` then becomes.
bool readInteger(std::string_view digits, std::int64_t& value) {
    for (const char byte : digits) {
        if (!isDecimalDigit(byte) || __builtin_mul_overflow(value, 10, &value) ||
            __builtin_add_overflow(value, byte - '0', &value))
            return false;
    }
    return true;
}

/// Canonical order: texts that differ only in how an accent is composed are equal.
std::weak_ordering compareCodePoints(std::string_view left, std::string_view right) {
    return text::composed(left) <=> text::composed(right);
}

template <typename Character>
std::weak_ordering compareNumericText(Text<Character> left, Text<Character> right) {
    std::int64_t leftValue = 0;
    std::int64_t rightValue = 0;
    if (readInteger(written(left), leftValue) && readInteger(written(right), rightValue))
        return leftValue <=> rightValue;
    const auto lengths = left.size() <=> right.size();
    return lengths != 0 ? lengths : compareCodePoints(written(left), written(right));
}

template <typename Character>
struct Component {
    Text<Character> number;  ///< never empty
    Text<Character> suffix{};
};

template <typename Character>
Component<Character> split(Text<Character> text) {
    std::size_t length = 0;
    while (length < text.size() && isNumeric(text[length]))
        ++length;
    // Text without a number before it is disregarded altogether.
    if (length == 0) return {zero<Character>};
    return {text.first(length), text.subspan(length)};
}

template <typename Character>
std::weak_ordering compareComponents(Text<Character> left, Text<Character> right) {
    // As the first ones of two versions mostly are.
    if (written(left) == written(right)) return std::weak_ordering::equivalent;
    const auto [leftNumber, leftSuffix] = split(left);
    const auto [rightNumber, rightSuffix] = split(right);
    const auto numbers = compareNumericText(leftNumber, rightNumber);
    if (numbers != 0) return numbers;
    // A suffix marks a pre-release: the component without one is the higher.
    if (leftSuffix.empty() || rightSuffix.empty()) return leftSuffix.empty() <=> rightSuffix.empty();
    return compareCodePoints(text::lowerCased(written(leftSuffix)), text::lowerCased(written(rightSuffix)));
}

template <typename Character>
bool isNewerText(Text<Character> candidate, Text<Character> baseline) {
    auto left = normalizeVersion(candidate);
    auto right = normalizeVersion(baseline);
    while (!left.isAtEnd() || !right.isAtEnd()) {
        const auto order = compareComponents(nextComponent(left), nextComponent(right));
        if (order != 0) return order > 0;
    }
    return false;
}

/// The clusters of a trimmed text, and what they point into.
class Clusters {
public:
    explicit Clusters(std::string_view text)
        : repaired(text::repairedUtf8(text)), clusters(text::characters(text::trimmed(repaired))) {}

    Text<Cluster> text() const { return clusters; }

private:
    const std::string repaired;
    const std::vector<Cluster> clusters;
};

}  // namespace

bool VersionComparator::isNewer(std::string_view candidate, std::string_view baseline) const {
    if (text::isAscii(candidate) && text::isAscii(baseline))
        return isNewerText<char>(text::trimmed(candidate), text::trimmed(baseline));
    return isNewerText(Clusters(candidate).text(), Clusters(baseline).text());
}

VersionComparison VersionComparator::compare(std::string_view candidate, std::string_view baseline) {
    const Clusters candidateText(candidate), baselineText(baseline);
    auto left = normalizeVersion(candidateText.text());
    auto right = normalizeVersion(baselineText.text());
    VersionComparison comparison;
    while (!left.isAtEnd() || !right.isAtEnd()) {
        const auto leftComponent = nextComponent(left);
        const auto rightComponent = nextComponent(right);
        comparison.candidate.emplace_back(written(leftComponent));
        comparison.baseline.emplace_back(written(rightComponent));
        if (comparison.decisive) continue;
        comparison.order = compareComponents(leftComponent, rightComponent);
        if (comparison.order != 0) comparison.decisive = comparison.candidate.size() - 1;
    }
    return comparison;
}

}  // namespace quorvel
