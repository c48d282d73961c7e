#pragma once

#include <compare>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace quorvel {

struct OSVersion {
    std::int64_t major = 0;
    std::int64_t minor = 0;
    std::int64_t patch = 0;

    auto operator<=>(const OSVersion&) const = default;
};

/// "major.minor.patch", each in decimal.
std::string toText(const OSVersion& version);

/// One to three decimal numbers joined by "."; missing ones are 0. None for anything else.
std::optional<OSVersion> parseOSVersion(std::string_view text);

/// The release that a machine is taken to run when no system folder says which.
inline constexpr OSVersion newestKnownRelease{26, 1, 0};

/// The version of the macOS whose system folders lie below `systemRoot`; none when they do not say.
std::optional<OSVersion> readOSVersion(const std::filesystem::path& systemRoot);

/// The same, else `newestKnownRelease`.
OSVersion installedOSVersion(const std::filesystem::path& systemRoot = "/");

/// The machine's hardware name, for example "arm64".
std::string machineName();

}  // namespace quorvel
