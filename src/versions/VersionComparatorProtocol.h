#pragma once

#include <string_view>

namespace quorvel {

class VersionComparatorProtocol {
public:
    virtual ~VersionComparatorProtocol() = default;

    /// Whether `candidate` is ordered after `baseline`. Takes any text, trims by itself, never fails.
    virtual bool isNewer(std::string_view candidate, std::string_view baseline) const = 0;
};

}  // namespace quorvel
