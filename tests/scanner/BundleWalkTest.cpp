#include <array>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include "scanner/BundleWalk.h"
#include "support/ForkedChild.h"
#include "support/ScopedVariable.h"
#include "support/TemporaryFolder.h"

namespace quorvel {
namespace {

namespace fs = std::filesystem;

constexpr int depth = 40;
/// So long that the inner folders' paths are longer than the system takes one.
const std::string link(200, 'd');

/// A chain of folders, deeper than a path may be long, some bundles of each made before the next folder and
/// some behind it, for file systems that keep that order: from the inside, each time one level more around
/// what there is.
void makeChain(const fs::path& top) {
    for (int level = depth; level >= 0; --level) {
        const fs::path outer = top / "outer";
        for (const char* const bundle : {"1.app", "b.app", "c.app"})
            fs::create_directories(outer / bundle);
        if (level < depth) fs::rename(top / link, outer / link);
        for (const char* const bundle : {"e.app", "F.app", "long name.app"})
            fs::create_directory(outer / bundle);
        fs::rename(outer, top / link);
    }
}

TEST(BundleWalk, goesDeeperThanFoldersCanStayOpen) {
    // In memory, thousands of files are cheap, and come in the order in which they were made, or its reverse.
    const bool hasMemory = access("/dev/shm", W_OK) == 0;
    const ScopedVariable folders("TMPDIR", hasMemory ? std::optional<std::string>("/dev/shm") : std::nullopt);
    const TemporaryFolder folder;
    makeChain(folder.path);
    runInChild([&] {
        const rlimit fewDescriptors{40, 40};
        setrlimit(RLIMIT_NOFILE, &fewDescriptors);
        std::array<int, depth + 1> found{}, all{};
        all.fill(6);
        BundleWalk walk(folder.path.string());
        while (const auto bundle = walk.next()) {
            const auto inner = fs::path(bundle->path).lexically_relative(folder.path).string();
            ++found.at(inner.size() / (link.size() + 1) - 1);
        }
        EXPECT_EQ(found, all);
        EXPECT_EQ(walk.unreadableFolders().size(), 0U);
    });
}

}  // namespace
}  // namespace quorvel
