#include <algorithm>
#include <array>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <set>

#include "scanner/BundleWalk.h"
#include "support/FilesInMemory.h"
#include "support/TemporaryFolder.h"

namespace quorvel {
namespace {

namespace fs = std::filesystem;

constexpr int chainDepth = 30;

/// The folder `level` steps below the top of a chain of folders named "d".
fs::path chainFolder(const fs::path& top, int level) {
    fs::path folder = top;
    for (int step = 0; step < level; ++step)
        folder /= "d";
    return folder;
}

/// Made some before and some behind the next folder, for file systems that keep that order.
constexpr std::array bundlesBefore{"1.app", "b.app", "c.app", "xy.app"};
constexpr std::array bundlesBehind{"e.app", "F.app", "7.app", "long name.app"};
constexpr std::size_t bundlesOfAFolder = bundlesBefore.size() + bundlesBehind.size();

void makeChain(const fs::path& top) {
    for (int level = 0; level <= chainDepth; ++level) {
        const fs::path folder = chainFolder(top, level);
        for (const char* const bundle : bundlesBefore)
            fs::create_directory(folder / bundle);
        fs::create_directory(folder / "d");
        for (const char* const bundle : bundlesBehind)
            fs::create_directory(folder / bundle);
    }
}

/// How many bundles were found in each folder of a chain, which is changed when its innermost is reached.
std::array<std::size_t, chainDepth + 1> foundWhileChanging(
    const std::function<void(const fs::path&)>& change) {
    const FilesInMemory inMemory;
    const TemporaryFolder folder;
    makeChain(folder.path);
    std::array<std::size_t, chainDepth + 1> found{};
    bool isChanged = false;
    BundleWalk walk(folder.path.string());
    while (const auto bundle = walk.next()) {
        const auto relative = fs::path(bundle->path).lexically_relative(folder.path);
        const auto level = static_cast<std::size_t>(std::distance(relative.begin(), relative.end()) - 1);
        ++found.at(level);
        if (level == chainDepth && !isChanged) change(folder.path);
        isChanged = isChanged || level == chainDepth;
    }
    return found;
}

TEST(BundleWalk, losesNothingWhenAFolderIsMovedWithoutWhatLiesAround) {
    const auto found =
        foundWhileChanging([](const fs::path& top) { fs::rename(chainFolder(top, 5), top / "elsewhere"); });
    EXPECT_EQ(std::ranges::count(found, bundlesOfAFolder), chainDepth + 1) << testing::PrintToString(found);
}

TEST(BundleWalk, losesOnlyTheFoldersThatCanNoLongerBeReached) {
    const auto found = foundWhileChanging([](const fs::path& top) {
        fs::rename(chainFolder(top, 10), top / "elsewhere");
        fs::rename(chainFolder(top, 5), top / "elsewhere too");
    });
    for (std::size_t level = 0; level <= chainDepth; ++level) {
        const bool isReached = level < 5 || level >= 10;
        EXPECT_TRUE(!isReached || found.at(level) == bundlesOfAFolder)
            << level << " of " << testing::PrintToString(found);
    }
}

TEST(BundleWalk, passesOverAFolderThatHasVanished) {
    const TemporaryFolder folder;
    for (const char* const bundle : {"a/A.app", "b/B.app", "c/C.app"})
        fs::create_directories(folder.path / bundle);
    BundleWalk walk(folder.path.string());
    const auto first = walk.next();
    ASSERT_TRUE(first.has_value());
    const std::string left = fs::path(first->path).parent_path().filename().string();
    const std::string vanished = left == "b" ? "a" : "b";
    fs::remove_all(folder.path / vanished);
    std::set<std::string> expected{"a", "b", "c"};
    expected.erase(left);
    expected.erase(vanished);
    std::set<std::string> later;
    while (const auto bundle = walk.next())
        later.insert(fs::path(bundle->path).parent_path().filename().string());
    EXPECT_EQ(later, expected);
}

}  // namespace
}  // namespace quorvel
