#include "platform/ProgramInfo.h"

namespace quorvel {

ProgramInfo thisProgram() {
    return {.bundleIdentifier = "com.ob.quorvel", .shortVersion = QUORVEL_VERSION};
}

inline namespace addresses {
const std::string_view catalogURL = QUORVEL_CATALOG_URL;
const std::string_view siteURL = QUORVEL_SITE_URL;
const std::string_view hubURL = QUORVEL_HUB_URL;
const std::string_view supportMailbox = QUORVEL_SUPPORT_MAILBOX;
}  // namespace addresses

std::string appPageURL(std::int64_t catalogId) {
    return std::string(siteURL) + "/app/mac/" + std::to_string(catalogId);
}

}  // namespace quorvel
