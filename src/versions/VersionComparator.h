#pragma once

#include "versions/VersionComparatorProtocol.h"

namespace quorvel {

/// Orders version texts component by component: numbers by value, a textual tail after a number as a
/// pre-release.
class VersionComparator final : public VersionComparatorProtocol {
public:
    bool isNewer(std::string_view candidate, std::string_view baseline) const override;
};

}  // namespace quorvel
