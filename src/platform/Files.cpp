#include "platform/Files.h"

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/FileDescriptor.h"

namespace quorvel::files {

namespace {

constexpr mode_t ownerOnlyFolder = 0700;
/// A temporary file this old has no writer any more: one lives for a single fsync.
constexpr std::chrono::seconds abandonedAge{60};
constexpr std::string_view randomPart = "XXXXXX";  // as mkostemp wants it

template <typename Call>
auto uninterrupted(Call call) {
    auto result = call();
    while (result < 0 && errno == EINTR)
        result = call();
    return result;
}

bool writeAll(int descriptor, std::string_view bytes) {
    while (!bytes.empty()) {
        const auto count = uninterrupted([&] { return ::write(descriptor, bytes.data(), bytes.size()); });
        if (count <= 0) return false;
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

/// The size of an open regular file; none for anything else.
std::optional<std::size_t> regularFileSize(int descriptor) {
    struct stat status{};
    if (fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
    return static_cast<std::size_t>(status.st_size);
}

/// Of the temporary files for `path`, hidden beside it.
std::string temporaryPrefix(const std::filesystem::path& path) {
    return "." + path.filename().string() + ".";
}

/// A writer that is killed leaves its temporary file behind.
void removeAbandoned(const std::filesystem::path& path) {
    const std::string prefix = temporaryPrefix(path);
    const auto oldest = std::filesystem::file_time_type::clock::now() - abandonedAge;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(path.parent_path(), error), end; !error && entry != end;
         entry.increment(error)) {
        const std::string name = entry->path().filename().string();
        if (!name.starts_with(prefix) || name.size() != prefix.size() + randomPart.size()) continue;
        std::error_code unread;
        const auto lastWrite = entry->last_write_time(unread);
        if (!unread && lastWrite < oldest) unlink(entry->path().c_str());
    }
}

/// Waits until what was written would survive a loss of power. Where fcntl knows F_FULLFSYNC, fsync leaves it
/// in the drive's cache; folders and some file systems refuse it.
bool reachDisk(int descriptor) {
#ifdef F_FULLFSYNC
    if (fcntl(descriptor, F_FULLFSYNC) == 0) return true;
#endif
    return fsync(descriptor) == 0;
}

}  // namespace

bool read(int folder, const char* path, std::size_t sizeLimit, std::string& content) {
    // Without O_NONBLOCK, opening a FIFO waits for its writer.
    const FileDescriptor file(
        uninterrupted([&] { return openat(folder, path, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC); }));
    if (!file) return false;
    const auto size = regularFileSize(file.get());
    if (!size || *size > sizeLimit) return false;
    content.resize(*size);
    std::size_t length = 0;
    while (length < content.size()) {
        const auto count = uninterrupted(
            [&] { return ::read(file.get(), content.data() + length, content.size() - length); });
        if (count < 0) return false;
        if (count == 0) break;
        length += static_cast<std::size_t>(count);
    }
    content.resize(length);
    return true;
}

std::optional<std::string> read(const std::filesystem::path& path, std::size_t sizeLimit) {
    std::string content;
    if (!read(AT_FDCWD, path.c_str(), sizeLimit, content)) return std::nullopt;
    return content;
}

bool writeAtomically(const std::filesystem::path& path, std::string_view bytes, mode_t mode) {
    const auto parent = path.parent_path();
    const FileDescriptor folder(
        uninterrupted([&] { return open(parent.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); }));
    if (!folder) return false;
    removeAbandoned(path);
    std::string temporary = (parent / temporaryPrefix(path)).string().append(randomPart);
    FileDescriptor file(mkostemp(temporary.data(), O_CLOEXEC));
    if (!file) return false;
    const bool written =
        writeAll(file.get(), bytes) && fchmod(file.get(), mode) == 0 && reachDisk(file.get()) && file.close();
    if (!written || rename(temporary.c_str(), path.c_str()) != 0) {
        unlink(temporary.c_str());
        return false;
    }
    // The new name survives a loss of power only once the folder is on the disk too.
    return reachDisk(folder.get());
}

bool append(const std::filesystem::path& path, std::string_view bytes) {
    FileDescriptor file(uninterrupted(
        [&] { return open(path.c_str(), O_WRONLY | O_APPEND | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC); }));
    const auto sizeBefore = file ? regularFileSize(file.get()) : std::nullopt;
    if (!sizeBefore) return false;
    const auto count = uninterrupted([&] { return ::write(file.get(), bytes.data(), bytes.size()); });
    const std::size_t written = count < 0 ? 0 : static_cast<std::size_t>(count);
    // A full disk takes part of a line; the half must not stay, and no other writer's line may go.
    if (written < bytes.size() && regularFileSize(file.get()) == *sizeBefore + written) {
        [[maybe_unused]] const int outcome = ftruncate(file.get(), static_cast<off_t>(*sizeBefore));
    }
    return true;
}

bool makeFolder(const std::filesystem::path& path) {
    if (path.empty()) return false;
    if (mkdir(path.c_str(), ownerOnlyFolder) == 0) return true;
    if (errno == ENOENT && path.has_parent_path() && path.parent_path() != path) {
        makeFolder(path.parent_path());
        if (mkdir(path.c_str(), ownerOnlyFolder) == 0) return true;
    }
    std::error_code error;
    return std::filesystem::is_directory(path, error);
}

}  // namespace quorvel::files
