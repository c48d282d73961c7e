#pragma once

#include <compare>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The rules behind VersionComparator, in two forms that give the same answers on ASCII: one that reads bytes
/// in place, and one for texts in any script, whose characters are grapheme clusters.
namespace quorvel::versionOrder {

/// Both texts must be ASCII. Allocates nothing.
bool isNewerAscii(std::string_view candidate, std::string_view baseline);

/// Any bytes; malformed UTF-8 counts as U+FFFD.
bool isNewerUnicode(std::string_view candidate, std::string_view baseline);

/// How two versions compare, and what decided.
struct Comparison {
    /// The pieces between the dots, once normalised; of one list as many as of the other.
    std::vector<std::string> candidate;
    std::vector<std::string> baseline;
    /// The first pair that differs in order; none when all are equal.
    std::optional<std::size_t> decisive;
    std::weak_ordering order = std::weak_ordering::equivalent;
};

/// By the same rules as the two above, for any texts.
Comparison compareVersions(std::string_view candidate, std::string_view baseline);

/// `text` trimmed, without one leading "v", with a closing "(123)" turned into ".123", and without what
/// follows the first "+".
std::string normalizeVersion(std::string_view text);

/// Orders two pieces of a normalised version that stand between dots. Well-formed UTF-8.
std::weak_ordering compareComponents(std::string_view left, std::string_view right);

/// Orders two non-empty runs of numeric characters. It is no weak order over all texts: where a number beyond
/// 64 bits meets leading zeros or digits of another script, value and length disagree (2 is before a number
/// of 20 digits, that is before 1 with 24 zeros before it, and that is before 2).
std::weak_ordering compareNumericText(std::string_view left, std::string_view right);

}  // namespace quorvel::versionOrder
