#include "platform/Files.h"

#include <array>
#include <cerrno>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace quorvel::files {

namespace {

constexpr mode_t ownerOnlyFile = 0600;
constexpr mode_t ownerOnlyFolder = 0700;
/// In seconds. A temporary file this old has no writer any more: one lives for a single fsync.
constexpr std::time_t abandonedAge = 60;

class Descriptor {
public:
    explicit Descriptor(int number) : number(number) {}
    ~Descriptor() { close(); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    bool isOpen() const { return number >= 0; }

    /// False when the system reports, only now, that bytes written earlier were lost.
    bool close() { return number < 0 || ::close(std::exchange(number, -1)) == 0; }

    int number;
};

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

int openFolder(const std::filesystem::path& folder) {
    return uninterrupted([&] { return open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); });
}

bool writeAndSync(Descriptor& file, std::string_view bytes) {
    return file.isOpen() && writeAll(file.number, bytes) && fsync(file.number) == 0;
}

/// Writes the bytes to a file without a name and then gives it the name `temporary`, so that a process that
/// is killed while it writes leaves nothing behind. False where the file system has no such files.
bool writeNameless(int folder, const std::string& temporary, std::string_view bytes) {
    Descriptor file(openat(folder, ".", O_TMPFILE | O_WRONLY | O_CLOEXEC, ownerOnlyFile));
    if (!writeAndSync(file, bytes)) return false;
    const std::string source = "/proc/self/fd/" + std::to_string(file.number);
    const bool named = linkat(AT_FDCWD, source.c_str(), folder, temporary.c_str(), AT_SYMLINK_FOLLOW) == 0;
    return file.close() && named;
}

bool writeNamed(int folder, const std::string& temporary, std::string_view bytes) {
    Descriptor file(
        openat(folder, temporary.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, ownerOnlyFile));
    return writeAndSync(file, bytes) && file.close();
}

/// Hidden, beside the file, and shared by no two writers.
std::string temporaryName(const std::string& name) {
    std::uint64_t number = 0;
    [[maybe_unused]] const int outcome = getentropy(&number, sizeof number);
    std::array<char, 17> digits{};
    std::snprintf(digits.data(), digits.size(), "%016" PRIx64, number);
    return "." + name + "." + digits.data() + ".tmp";
}

bool isAbandoned(int folder, const char* name) {
    struct stat status{};
    return fstatat(folder, name, &status, AT_SYMLINK_NOFOLLOW) == 0 &&
           status.st_mtime < std::time(nullptr) - abandonedAge;
}

/// A writer that is killed in the moment between the two names of its file leaves the first one behind.
void removeAbandoned(int folder, const std::string& name) {
    const int copy = openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (copy < 0) return;
    const std::unique_ptr<DIR, int (*)(DIR*)> entries(fdopendir(copy), closedir);
    if (!entries) return;
    while (const dirent* const entry = readdir(entries.get())) {
        const std::string_view found = entry->d_name;
        const bool isTemporary = found.starts_with("." + name + ".") && found.ends_with(".tmp");
        if (isTemporary && isAbandoned(folder, entry->d_name)) unlinkat(folder, entry->d_name, 0);
    }
}

}  // namespace

std::optional<std::string> read(const std::filesystem::path& path, std::size_t sizeLimit) {
    // Without O_NONBLOCK, opening a FIFO waits for its writer.
    const Descriptor file(
        uninterrupted([&] { return open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK); }));
    if (!file.isOpen()) return std::nullopt;
    const auto size = regularFileSize(file.number);
    if (!size || *size > sizeLimit) return std::nullopt;

    std::string content(*size, '\0');
    std::size_t length = 0;
    while (length < content.size()) {
        const auto count = uninterrupted(
            [&] { return ::read(file.number, content.data() + length, content.size() - length); });
        if (count < 0) return std::nullopt;
        if (count == 0) break;
        length += static_cast<std::size_t>(count);
    }
    content.resize(length);
    return content;
}

bool writeAtomically(const std::filesystem::path& path, std::string_view bytes) {
    const Descriptor folder(openFolder(path.parent_path()));
    if (!folder.isOpen()) return false;
    const std::string name = path.filename().string();
    const std::string temporary = temporaryName(name);

    removeAbandoned(folder.number, name);
    const bool written =
        writeNameless(folder.number, temporary, bytes) || writeNamed(folder.number, temporary, bytes);
    if (!written || renameat(folder.number, temporary.c_str(), folder.number, name.c_str()) != 0) {
        unlinkat(folder.number, temporary.c_str(), 0);
        return false;
    }
    // The new name survives a loss of power only once the folder is on the disk too.
    return fsync(folder.number) == 0;
}

AppendResult append(const std::filesystem::path& path, std::string_view bytes) {
    Descriptor file(uninterrupted(
        [&] { return open(path.c_str(), O_WRONLY | O_APPEND | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC); }));
    if (!file.isOpen()) return AppendResult::notOpened;
    const auto sizeBefore = regularFileSize(file.number);
    if (!sizeBefore) return AppendResult::notOpened;
    const auto count = uninterrupted([&] { return ::write(file.number, bytes.data(), bytes.size()); });
    const std::size_t written = count < 0 ? 0 : static_cast<std::size_t>(count);
    if (written == bytes.size()) return file.close() ? AppendResult::done : AppendResult::failed;
    // A full disk takes part of a line; the half must not stay, and no other writer's line may go.
    if (written > 0 && regularFileSize(file.number) == *sizeBefore + written) {
        [[maybe_unused]] const int outcome = ftruncate(file.number, static_cast<off_t>(*sizeBefore));
    }
    return AppendResult::failed;
}

bool makeFolder(const std::filesystem::path& path) {
    if (path.empty()) return false;
    if (mkdir(path.c_str(), ownerOnlyFolder) == 0) return true;
    if (errno == ENOENT && path.has_parent_path() && path.parent_path() != path) {
        makeFolder(path.parent_path());
        if (mkdir(path.c_str(), ownerOnlyFolder) == 0) return true;
    }
    struct stat status{};
    return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

}  // namespace quorvel::files
