#include "platform/OperatingSystem.h"

#include <array>
#include <charconv>
#include <sys/utsname.h>

#include "platform/Files.h"
#include "platform/propertylist/PropertyList.h"

namespace quorvel {

std::string toText(const OSVersion& version) {
    return std::to_string(version.major) + "." + std::to_string(version.minor) + "." +
           std::to_string(version.patch);
}

std::optional<OSVersion> parseOSVersion(std::string_view text) {
    std::array<std::int64_t, 3> numbers{};
    const char* position = text.data();
    const char* const end = position + text.size();
    for (std::size_t index = 0; index < numbers.size(); ++index) {
        // from_chars takes a minus sign, which no version has.
        if (position == end || *position < '0' || *position > '9') return std::nullopt;
        const auto [rest, error] = std::from_chars(position, end, numbers[index]);
        if (error != std::errc{}) return std::nullopt;
        if (rest == end) return OSVersion{numbers[0], numbers[1], numbers[2]};
        if (*rest != '.') return std::nullopt;
        position = rest + 1;
    }
    return std::nullopt;
}

std::optional<OSVersion> readOSVersion(const std::filesystem::path& systemRoot) {
    const auto bytes = files::read(systemRoot / "System/Library/CoreServices/SystemVersion.plist");
    if (!bytes) return std::nullopt;
    constexpr std::array<std::string_view, 1> keys{"ProductVersion"};
    const auto texts = readPropertyList(*bytes, keys);
    return texts && texts->front() ? parseOSVersion(*texts->front()) : std::nullopt;
}

OSVersion installedOSVersion(const std::filesystem::path& systemRoot) {
    return readOSVersion(systemRoot).value_or(newestKnownRelease);
}

std::string machineName() {
    utsname names{};
    return uname(&names) == 0 ? names.machine : "unknown";
}

}  // namespace quorvel
