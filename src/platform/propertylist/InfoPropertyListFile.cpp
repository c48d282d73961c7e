#include "platform/propertylist/InfoPropertyListFile.h"

#include <cerrno>
#include <cstddef>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/propertylist/PropertyList.h"

namespace quorvel {

std::optional<std::string_view> InfoPropertyListFile::read(int folder, std::string_view bundleName) {
    path.assign(bundleName).append("/Contents/Info.plist");
    // O_NONBLOCK: opening a FIFO would wait for a writer.
    const int file = openat(folder, path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (file < 0) return std::nullopt;
    const auto bytes = readOpenFile(file);
    close(file);
    return bytes;
}

std::optional<std::string_view> InfoPropertyListFile::readOpenFile(int file) {
    struct stat status{};
    if (fstat(file, &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
    if (status.st_size < 0 || static_cast<std::size_t>(status.st_size) > propertyListSizeLimit) {
        return std::nullopt;
    }
    const auto size = static_cast<std::size_t>(status.st_size);
    if (buffer.size() < size) buffer.resize(size);
    std::size_t filled = 0;
    while (filled < size) {
        const ssize_t count = ::read(file, buffer.data() + filled, size - filled);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return std::nullopt;
        if (count == 0) break;
        filled += static_cast<std::size_t>(count);
    }
    return std::string_view(buffer).substr(0, filled);
}

}  // namespace quorvel
