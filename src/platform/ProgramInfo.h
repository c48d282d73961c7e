#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quorvel {

/// What the running program says of itself. Both are there in a built program; the interfaces allow for their
/// absence, as in a program that was started outside its bundle.
struct ProgramInfo {
    std::optional<std::string> bundleIdentifier;
    std::optional<std::string> shortVersion;
};

ProgramInfo thisProgram();

/// The product's addresses, fixed when it is built.
inline namespace addresses {
extern const std::string_view catalogURL;
extern const std::string_view siteURL;
extern const std::string_view hubURL;
extern const std::string_view supportMailbox;
}  // namespace addresses

/// The catalog's page for an application.
std::string appPageURL(std::int64_t catalogId);

}  // namespace quorvel
