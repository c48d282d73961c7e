#pragma once

#include <compare>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "versions/VersionComparatorProtocol.h"

namespace quorvel {

/// How two versions compare, and what decided.
struct VersionComparison {
    /// The components, once normalised; of one version as many as of the other.
    std::vector<std::string> candidate;
    std::vector<std::string> baseline;
    /// The first pair that differs in order; none when all are equal.
    std::optional<std::size_t> decisive;
    std::weak_ordering order = std::weak_ordering::equivalent;
};

/// Orders version texts component by component: numbers by value, a textual tail after a number as a
/// pre-release. Malformed UTF-8 counts as U+FFFD.
///
/// It is no weak order over all texts: where a number beyond 64 bits meets leading zeros or digits of another
/// script, value and length disagree (2 is before a number of 20 digits, that is before 1 with 24 zeros
/// before it, and that is before 2).
class VersionComparator final : public VersionComparatorProtocol {
public:
    /// Allocates nothing for short ASCII texts.
    bool isNewer(std::string_view candidate, std::string_view baseline) const override;

    /// The same answer with its reasons.
    static VersionComparison compare(std::string_view candidate, std::string_view baseline);
};

}  // namespace quorvel
