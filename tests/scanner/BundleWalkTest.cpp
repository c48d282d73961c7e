#include <array>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include "scanner/BundleWalk.h"
#include "support/FilesInMemory.h"
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

/// Lowers the limit of open descriptors for the length of a scope.
class DescriptorLimit {
public:
    explicit DescriptorLimit(rlim_t count) {
        getrlimit(RLIMIT_NOFILE, &before);
        const rlimit lowered{count, before.rlim_max};
        setrlimit(RLIMIT_NOFILE, &lowered);
    }
    ~DescriptorLimit() { setrlimit(RLIMIT_NOFILE, &before); }
    DescriptorLimit(const DescriptorLimit&) = delete;
    DescriptorLimit& operator=(const DescriptorLimit&) = delete;

private:
    rlimit before{};
};

/// How many bundles were found in each folder of a chain, which is changed when its innermost is reached.
std::string foundWhileChanging(const std::function<void(const fs::path&)>& change) {
    const FilesInMemory inMemory;
    const TemporaryFolder folder;
    makeChain(folder.path);
    std::array<int, depth + 1> found{};
    bool isChanged = false;
    {
        const DescriptorLimit limit(40);
        BundleWalk walk(folder.path.string());
        while (const auto bundle = walk.next()) {
            const auto level = (bundle->path.size() - bundle->name.size() - folder.path.string().size()) /
                                   (link.size() + 1) -
                               1;
            ++found.at(level);
            if (level == depth && !isChanged) change(folder.path / link);
            isChanged = isChanged || level == depth;
        }
    }
    std::string digits;
    for (const int count : found)
        digits += std::to_string(count);
    return digits;
}

TEST(BundleWalk, findsTheBundlesOnBothSidesOfEveryNestedFolder) {
    EXPECT_EQ(foundWhileChanging([](const auto&) {}), std::string(depth + 1, '6'));
}

TEST(BundleWalk, losesNothingWhenAFolderIsMovedWithoutWhatLiesAround) {
    const auto move = [](const fs::path& top) { fs::rename(chainFolder(top, 5), top / "elsewhere"); };
    EXPECT_EQ(foundWhileChanging(move), std::string(depth + 1, '6'));
}

TEST(BundleWalk, losesOnlyTheFoldersThatCanNoLongerBeReached) {
    const auto found = foundWhileChanging([](const fs::path& top) {
        fs::rename(chainFolder(top, 10), top / "elsewhere");
        fs::rename(chainFolder(top, 5), top / "elsewhere too");
    });
    EXPECT_EQ(found.substr(0, 5), "66666");
    EXPECT_EQ(found.substr(10), std::string(depth - 9, '6'));
    EXPECT_NE(found.substr(5, 5), "66666");
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
