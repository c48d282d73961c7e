#include "cli/fleet/InputFile.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <memory>
#include <set>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

#include "platform/FileDescriptor.h"
#include "platform/text/Text.h"

namespace quorvel {

namespace {

namespace fs = std::filesystem;

std::string sentence(const std::error_code& error) {
    return "It could not be opened: " + error.message() + ".";
}

std::string kindOf(fs::file_type type) {
    switch (type) {
        case fs::file_type::directory:
            return "a folder";
        case fs::file_type::symlink:
            return "a link";
        case fs::file_type::fifo:
            return "a FIFO";
        default:
            return "no regular file";
    }
}

/// By name, so that every machine reads them in the same order.
std::vector<fs::directory_entry> entriesOf(const fs::path& folder, std::error_code& error) {
    std::vector<fs::directory_entry> entries;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
        if (!entry->path().filename().string().starts_with('.')) entries.push_back(*entry);
    }
    std::ranges::sort(entries);
    return entries;
}

/// Collects files, each once.
class Listing {
public:
    explicit Listing(std::vector<FleetFailure>& failures) : failures(failures) {}

    void add(const fs::path& named) {
        std::error_code error;
        if (named == "-") return addFile(named, named, false);
        const auto real = fs::canonical(named, error);
        if (error) return fail(named, sentence(error));
        if (!fs::is_directory(real, error)) return addFile(named, real, false);
        const auto entries = entriesOf(named, error);
        if (error) return fail(named, sentence(error));
        if (entries.empty()) return fail(named, "There is no file in this folder.");
        for (const auto& entry : entries) {
            const auto type = entry.symlink_status(error).type();
            if (type == fs::file_type::regular) {
                addFile(entry.path(), real / entry.path().filename(), true);
            } else {
                fail(entry.path(),
                     "It is " + kindOf(type) + "; in a folder of inventories only regular files are read.");
            }
        }
    }

    std::vector<InputFile> files;

private:
    static std::string nameOf(const fs::path& path) { return text::repairedUtf8(path.string()); }

    void addFile(const fs::path& path, const fs::path& real, bool isFound) {
        if (seen.insert(real).second) files.push_back({nameOf(path), path, isFound});
    }
    void fail(const fs::path& path, std::string reason) {
        failures.push_back({nameOf(path), std::nullopt, FleetFailure::Code::unreadable, std::move(reason)});
    }

    std::vector<FleetFailure>& failures;
    std::set<fs::path> seen;
};

}  // namespace

std::vector<InputFile> listInputFiles(const std::vector<fs::path>& named,
                                      std::vector<FleetFailure>& failures) {
    Listing listing(failures);
    for (const auto& path : named)
        listing.add(path);
    return std::move(listing.files);
}

std::expected<ByteReader, std::string> openInput(const InputFile& file) {
    const int flags = O_RDONLY | O_NOCTTY | O_CLOEXEC | (file.isFound ? O_NONBLOCK | O_NOFOLLOW : 0);
    const int opened =
        file.path == "-" ? fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0) : open(file.path.c_str(), flags);
    const auto descriptor = std::make_shared<FileDescriptor>(opened);
    struct stat status{};
    if (!*descriptor || fstat(descriptor->get(), &status) != 0)
        return std::unexpected(sentence({errno, std::generic_category()}));
    if (file.isFound && !S_ISREG(status.st_mode)) return std::unexpected("It is no regular file any more.");
    return [descriptor](std::span<char> room) {
        ssize_t count = 0;
        do {
            count = ::read(descriptor->get(), room.data(), room.size());
        } while (count < 0 && errno == EINTR);
        return count;
    };
}

}  // namespace quorvel
