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

constexpr int depth = 40, movedLevel = 5;
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

TEST(BundleWalk, losesOnlyTheFoldersThatCanNoLongerBeReached) {
    // In memory, thousands of files are cheap, and come in the order in which they were made, or its reverse.
    const bool hasMemory = access("/dev/shm", W_OK) == 0;
    const ScopedVariable folders("TMPDIR", hasMemory ? std::optional<std::string>("/dev/shm") : std::nullopt);
    for (const bool isMoved : {false, true}) {
        const TemporaryFolder folder;
        makeChain(folder.path);
        runInChild([&] {
            const rlimit fewDescriptors{40, 40};
            setrlimit(RLIMIT_NOFILE, &fewDescriptors);
            std::array<int, depth + 1> found{};
            BundleWalk walk(folder.path.string());
            while (const auto bundle = walk.next()) {
                const auto level = fs::path(bundle->path).lexically_relative(folder.path).string().size() /
                                       (link.size() + 1) -
                                   1;
                // Once the innermost is reached, away from what lies around.
                if (++found.at(level) == 1 && level == depth && isMoved) {
                    fs::path moved = folder.path / link;
                    for (int step = 0; step < movedLevel; ++step)
                        moved /= link;
                    fs::rename(moved, folder.path / "moved");
                }
            }
            std::string digits;
            for (const int count : found)
                digits += std::to_string(count);
            EXPECT_EQ(digits.substr(movedLevel), std::string(depth + 1 - movedLevel, '6'));
            EXPECT_EQ(digits.starts_with(std::string(movedLevel, '6')), !isMoved) << digits;
            EXPECT_EQ(walk.unreadableFolders().size(), isMoved ? movedLevel : 0U);
        });
    }
}

TEST(BundleWalk, passesOverAFolderThatHasVanished) {
    const TemporaryFolder folder;
    for (const char* const bundle : {"a/A.app", "b/B.app", "c/C.app"})
        fs::create_directories(folder.path / bundle);
    BundleWalk walk(folder.path.string());
    const auto left = fs::path(walk.next()->path).parent_path();
    fs::remove_all(left == folder.path / "b" ? folder.path / "a" : folder.path / "b");
    EXPECT_TRUE(walk.next().has_value());
    EXPECT_FALSE(walk.next().has_value());
    EXPECT_TRUE(walk.unreadableFolders().empty());
}

}  // namespace
}  // namespace quorvel
