#include "versions/VersionComparator.h"

#include "platform/text/Text.h"
#include "versions/VersionOrder.h"

namespace quorvel {

bool VersionComparator::isNewer(std::string_view candidate, std::string_view baseline) const {
    // Nearly every version is ASCII, where the rules are plain byte rules.
    if (text::isAscii(candidate) && text::isAscii(baseline)) {
        return versionOrder::isNewerAscii(candidate, baseline);
    }
    return versionOrder::isNewerUnicode(candidate, baseline);
}

}  // namespace quorvel
