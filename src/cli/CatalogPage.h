#pragma once

#include <cstdint>
#include <string>

#include "platform/ProgramInfo.h"

namespace quorvel {

/// The catalog's page for an application.
inline std::string catalogPage(std::int64_t catalogId) {
    return std::string(siteURL) + "/app/mac/" + std::to_string(catalogId);
}

}  // namespace quorvel
