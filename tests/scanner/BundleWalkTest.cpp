#include <array>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <regex>
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

/// In each folder of a chain some bundles were made before the next folder and some behind it, for file
/// systems that keep that order.
constexpr std::array bundlesBefore{"1.app", "b.app", "c.app"};
constexpr std::array bundlesBehind{"e.app", "F.app", "long name.app"};

fs::path chainFolder(const fs::path& top, int level) {
    fs::path folder = top;
    for (int step = 0; step < level; ++step)
        folder /= link;
    return folder;
}

/// A chain of folders, deeper than a path may be long: made from the inside, each time one level more around
/// what there is.
void makeChain(const fs::path& top) {
    for (int level = depth; level >= 0; --level) {
        const fs::path outer = top / "outer";
        fs::create_directory(outer);
        for (const char* const bundle : bundlesBefore)
            fs::create_directory(outer / bundle);
        if (level < depth) fs::rename(top / link, outer / link);
        for (const char* const bundle : bundlesBehind)
            fs::create_directory(outer / bundle);
        fs::rename(outer, top / link);
    }
}

/// How many bundles are found in each folder of the chain, which is changed when its innermost is reached.
std::string foundWhileChanging(const fs::path& top, const std::function<void()>& change) {
    std::array<int, depth + 1> found{};
    bool isChanged = false;
    BundleWalk walk(top.string());
    while (const auto bundle = walk.next()) {
        const auto level =
            (bundle->path.size() - bundle->name.size() - top.string().size()) / (link.size() + 1) - 1;
        ++found.at(level);
        if (level == depth && !isChanged) change();
        isChanged = isChanged || level == depth;
    }
    std::string digits;
    for (const int count : found)
        digits += std::to_string(count);
    return digits;
}

TEST(BundleWalk, losesOnlyTheFoldersThatCanNoLongerBeReached) {
    // The folders that are moved away from what lies around them, the inner one first.
    const std::pair<std::vector<int>, std::regex> rows[] = {{{}, std::regex("6{41}")},
                                                            {{5}, std::regex("6{41}")},
                                                            {{10, 5}, std::regex("6{5}(?!6{5}).{5}6{31}")}};
    // In memory, thousands of files are cheap, and come in the order in which they were made, or its reverse.
    const bool hasMemory = access("/dev/shm", W_OK) == 0;
    const ScopedVariable folders("TMPDIR", hasMemory ? std::optional<std::string>("/dev/shm") : std::nullopt);
    for (const auto& [moved, expected] : rows) {
        const TemporaryFolder folder;
        makeChain(folder.path);
        runInChild([&] {
            const rlimit fewDescriptors{40, 40};
            setrlimit(RLIMIT_NOFILE, &fewDescriptors);
            const auto found = foundWhileChanging(folder.path, [&] {
                for (const int level : moved)
                    fs::rename(chainFolder(folder.path / link, level), folder.path / std::to_string(level));
            });
            EXPECT_TRUE(std::regex_match(found, expected)) << found;
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
