#include "platform/linux/icons/BundleIconFile.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <linux/openat2.h>
#include <optional>
#include <string>
#include <string_view>
#include <strings.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include "platform/Files.h"
#include "platform/linux/icons/IconMessages.h"
#include "platform/propertylist/PropertyList.h"

namespace quorvel {

namespace {

constexpr std::string_view extension = ".icns";

bool hasExtension(std::string_view name) {
    return name.size() > extension.size() &&
           strncasecmp(name.data() + name.size() - extension.size(), extension.data(), extension.size()) == 0;
}

/// A bundle may leave the extension out, and some files have none.
std::vector<std::string> fileNames(std::string name) {
    if (name.empty() || name.find_first_of(std::string_view("/\0", 2)) != std::string::npos) return {};
    if (hasExtension(name)) return {std::move(name)};
    return {name + std::string(extension), std::move(name)};
}

std::optional<std::string> namedIcon(int bundle) {
    constexpr std::array<std::string_view, 1> keys{"CFBundleIconFile"};
    std::string bytes;
    const bool isRead = files::read(bundle, "Contents/Info.plist", propertyListSizeLimit, bytes);
    auto texts = isRead ? readPropertyList(bytes, keys) : std::nullopt;
    return texts ? std::move(texts->front()) : std::nullopt;
}

/// The kernel itself keeps every part of the way, links too, inside of the folder.
FileDescriptor openInside(int folder, const std::string& path) {
    open_how how{};
    // O_NONBLOCK: opening a FIFO would wait for a writer.
    how.flags = O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
    how.resolve = RESOLVE_BENEATH | RESOLVE_NO_MAGICLINKS;
    return FileDescriptor(static_cast<int>(syscall(SYS_openat2, folder, path.c_str(), &how, sizeof how)));
}

bool isPossible(int file) {
    struct stat status{};
    return fstat(file, &status) == 0 && S_ISREG(status.st_mode) && status.st_size > 0 &&
           std::cmp_less_equal(status.st_size, icons::maxFileSize);
}

}  // namespace

FileDescriptor openIconFile(const BundleIcon& icon) {
    const FileDescriptor bundle(open(icon.bundle.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!bundle) return {};
    for (const auto& name : fileNames(namedIcon(bundle.get()).value_or(""))) {
        FileDescriptor file = openInside(bundle.get(), "Contents/Resources/" + name);
        if (!file && errno == ENOENT) continue;
        if (file && isPossible(file.get())) return file;
        return {};
    }
    return {};
}

}  // namespace quorvel
