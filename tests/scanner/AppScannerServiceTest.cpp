#include <dirent.h>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <optional>
#include <set>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/propertylist/PropertyList.h"
#include "scanner/AppScannerService.h"
#include "support/FilesInMemory.h"
#include "support/TemporaryFolder.h"

namespace quorvel {
namespace {

namespace fs = std::filesystem;

std::string infoList(const std::string& content) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>" + content +
           "</dict></plist>\n";
}

std::string entry(const std::string& key, const std::string& text) {
    return "<key>" + key + "</key><string>" + text + "</string>";
}

/// What a bundle of version `version` with no other key says of itself.
std::string ofVersion(const std::string& version) {
    return infoList(entry("CFBundleShortVersionString", version));
}

struct Inventory {
    std::vector<InstalledApp> apps;
    std::vector<ScanIssue> issues;
};

int openDescriptors() {
    int count = 0;
    for (int descriptor = 0; descriptor < 1024; ++descriptor)
        count += fcntl(descriptor, F_GETFD) != -1 ? 1 : 0;
    return count;
}

/// Scans, and checks what holds for every scan.
Inventory scanned(std::vector<fs::path> roots, std::optional<std::string> ownIdentifier = std::nullopt) {
    const int openBefore = openDescriptors();
    Inventory inventory;
    inventory.apps = AppScannerService(std::move(roots), std::move(ownIdentifier)).scan(inventory.issues);
    EXPECT_EQ(openDescriptors(), openBefore) << "a descriptor stays open";
    for (const auto& app : inventory.apps) {
        EXPECT_NE(app.version, "") << app.path;
        EXPECT_EQ(app.icon.bundle, app.path);
    }
    return inventory;
}

/// One line for each application and each issue, the paths relative to `folder`.
std::multiset<std::string> lines(const Inventory& inventory, const fs::path& folder) {
    std::multiset<std::string> result;
    for (const auto& app : inventory.apps) {
        result.insert(fs::path(app.path).lexically_relative(folder).string() + ": " + app.name + "|" +
                      app.bundleID + "|" + app.version);
    }
    for (const auto& issue : inventory.issues) {
        result.insert(fs::path(issue.path).lexically_relative(folder).string() + ": " + issue.appName + ", " +
                      issue.reason);
    }
    return result;
}

using Lines = std::multiset<std::string>;

struct InfoRow {
    std::string content;
    std::string expected;
};

TEST(AppScannerService, readsIdentityAndVersionOfABundle) {
    const std::string shortVersion = entry("CFBundleShortVersionString", "1.2");
    for (const InfoRow& row : std::vector<InfoRow>{
             {entry("CFBundleIdentifier", "com.x") + entry("CFBundleName", "Name") + shortVersion,
              "Name|com.x|1.2"},
             {shortVersion, "My||1.2"},
             {entry("CFBundleName", "") + shortVersion, "My||1.2"},
             {"<key>CFBundleName</key><integer>1</integer>" + shortVersion, "My||1.2"},
             {"<key>CFBundleIdentifier</key><true/>" + shortVersion, "My||1.2"},
             {entry("CFBundleVersion", "77") + shortVersion, "My||1.2"},
             {entry("CFBundleVersion", "77"), "My||77"},
             {entry("CFBundleShortVersionString", "") + entry("CFBundleVersion", "1234"), "My||1234"},
             {"<key>CFBundleShortVersionString</key><real>1.5</real>" + entry("CFBundleVersion", "1234"),
              "My||1234"},
             {entry("CFBundleShortVersionString", " 1.0 "), "My|| 1.0 "},
             {"", "My, no version"},
             {entry("CFBundleShortVersionString", "") + entry("CFBundleVersion", ""), "My, no version"},
             {entry("CFBundleName", "Name") + "<key>CFBundleVersion</key><integer>7</integer>",
              "Name, no version"},
             {entry("CFBundleIdentifier", "com.own") + shortVersion, ""},
             {entry("CFBundleIdentifier", "com.own"), ""},
             {entry("CFBundleIdentifier", "com.owner") + shortVersion, "My|com.owner|1.2"},
             {"<key>CFBundleName</key>", "My, could not read bundle"},
         }) {
        const TemporaryFolder folder;
        folder.write("My.app/Contents/Info.plist", infoList(row.content));
        const Lines expected = row.expected.empty() ? Lines{} : Lines{"My.app: " + row.expected};
        EXPECT_EQ(lines(scanned({folder.path}, "com.own"), folder.path), expected) << row.content;
    }
}

TEST(AppScannerService, leavesNothingOutWhenTheOwnIdentifierIsUnknown) {
    const TemporaryFolder folder;
    folder.write("My.app/Contents/Info.plist", ofVersion("1"));
    EXPECT_EQ(lines(scanned({folder.path}), folder.path), Lines{"My.app: My||1"});
}

TEST(AppScannerService, findsBundlesByTheirNames) {
    const TemporaryFolder folder;
    for (const char* const bundle :
         {"A.app", "Utilities/B.app", "x/y/z/C.app", "A.app/Contents/Inner.app", "Wrong.APP", "Wrong.app2",
          "Wrongapp", ".Hidden.app", ".hidden/D.app", ".app", "Two.x.app", "Dots..app", "With Space.app",
          "Folder.app.d/E.app"}) {
        folder.write(fs::path(bundle) / "Contents/Info.plist", ofVersion("1"));
    }
    folder.write("File.app", "no folder");
    folder.write("Utilities/readme.txt", "");
    EXPECT_EQ(lines(scanned({folder.path}), folder.path),
              (Lines{"A.app: A||1", "Utilities/B.app: B||1", "x/y/z/C.app: C||1", "Two.x.app: Two.x||1",
                     "Dots..app: Dots.||1", "With Space.app: With Space||1", "Folder.app.d/E.app: E||1",
                     "File.app: File, could not read bundle"}));
}

TEST(AppScannerService, doesNotFollowLinksToFoldersButReadsLinksToBundles) {
    const TemporaryFolder folder;
    const TemporaryFolder elsewhere;
    elsewhere.write("Far.app/Contents/Info.plist", ofVersion("1"));
    fs::create_directory_symlink(elsewhere.path, folder.path / "folder");
    fs::create_directory_symlink(folder.path, folder.path / "circle");
    fs::create_directory_symlink(elsewhere.path / "Far.app", folder.path / "Near.app");
    fs::create_directory_symlink(folder.path / "Loop.app", folder.path / "Loop.app");
    fs::create_directory_symlink(folder.path / "nowhere", folder.path / "Dangling.app");
    EXPECT_EQ(lines(scanned({folder.path}), folder.path),
              (Lines{"Near.app: Near||1", "Loop.app: Loop, could not read bundle",
                     "Dangling.app: Dangling, could not read bundle"}));
}

TEST(AppScannerService, neverWaitsForWhatStandsInPlaceOfAPropertyList) {
    const TemporaryFolder folder;
    fs::create_directories(folder.path / "Fifo.app/Contents");
    ASSERT_EQ(mkfifo((folder.path / "Fifo.app/Contents/Info.plist").c_str(), 0600), 0);
    ASSERT_EQ(mkfifo((folder.path / "Itself.app").c_str(), 0600), 0);
    ASSERT_EQ(mkfifo((folder.path / "plain").c_str(), 0600), 0);
    fs::create_directories(folder.path / "Folder.app/Contents/Info.plist");
    fs::create_directories(folder.path / "Device.app/Contents");
    fs::create_symlink("/dev/zero", folder.path / "Device.app/Contents/Info.plist");
    fs::create_directories(folder.path / "Empty.app");
    folder.write("Blank.app/Contents/Info.plist", "");
    const auto large = folder.write("Large.app/Contents/Info.plist", ofVersion("1"));
    fs::resize_file(large, propertyListSizeLimit + 1);
    const std::string unread = ", could not read bundle";
    Lines expected;
    for (const std::string name : {"Fifo", "Itself", "Folder", "Device", "Empty", "Blank", "Large"})
        expected.insert(name + ".app: " + name + unread);
    EXPECT_EQ(lines(scanned({folder.path}), folder.path), expected);
}

TEST(AppScannerService, listsRootsInTheirOrderAndRepeatsWhatTheyShare) {
    const TemporaryFolder first;
    const TemporaryFolder second;
    first.write("A.app/Contents/Info.plist", ofVersion("1"));
    second.write("B.app/Contents/Info.plist", ofVersion("2"));
    fs::create_directory_symlink(second.path, first.path / "link");
    const auto file = first.write("file", "");
    const auto inventory = scanned({second.path, first.path / "missing", file, "", first.path,
                                    first.path / "link", second.path / "." / ".." / second.path.filename()});
    std::vector<fs::path> paths;
    for (const auto& app : inventory.apps)
        paths.push_back(app.path);
    const auto b = second.path / "B.app";
    EXPECT_EQ(paths, (std::vector{b, first.path / "A.app", b, b}));
    EXPECT_TRUE(inventory.issues.empty());
}

TEST(AppScannerService, keepsTheOrderOfTheFileSystemWithSubfoldersInPlace) {
    const TemporaryFolder folder;
    for (const char* const bundle :
         {"m/1.app", "b.app", "a/x.app", "a/n/2.app", "c.app", "z/3.app", "a/k.app"})
        folder.write(fs::path(bundle) / "Contents/Info.plist", ofVersion("1"));
    std::vector<fs::path> expected;
    const auto options = fs::directory_options::none;
    for (auto each = fs::recursive_directory_iterator(folder.path, options); each != end(each); ++each) {
        if (each->path().extension() != ".app") continue;
        expected.push_back(each->path());
        each.disable_recursion_pending();
    }
    std::vector<fs::path> actual;
    for (const auto& app : scanned({folder.path}).apps)
        actual.push_back(app.path);
    EXPECT_EQ(actual, expected);
}

TEST(AppScannerService, addsToTheIssuesItIsGiven) {
    const TemporaryFolder folder;
    folder.write("A.app", "");
    std::vector<ScanIssue> issues{{"earlier", "", ""}};
    AppScannerService({folder.path}, std::nullopt).scan(issues);
    ASSERT_EQ(issues.size(), 2U);
    EXPECT_EQ(issues[0].appName, "earlier");
}

TEST(AppScannerService, makesValidTextsOfNamesThatAreNot) {
    const TemporaryFolder folder;
    folder.write("bad\xFF/A\xFE.app/Contents/Info.plist", ofVersion("1"));
    folder.write("bad\xFF/B\xFE.app", "");
    const auto inventory = scanned({folder.path});
    ASSERT_EQ(inventory.apps.size(), 1U);
    ASSERT_EQ(inventory.issues.size(), 1U);
    EXPECT_EQ(inventory.apps[0].name, "A\uFFFD");
    EXPECT_EQ(inventory.apps[0].path, folder.path / "bad\xFF/A\xFE.app");
    EXPECT_EQ(inventory.issues[0].appName, "B\uFFFD");
    EXPECT_EQ(inventory.issues[0].path, (folder.path / "bad\uFFFD/B\uFFFD.app").string());
}

TEST(AppScannerService, readsARootWhosePathIsTooLongWithoutItsLinks) {
    const TemporaryFolder folder;
    fs::path half;
    for (int level = 0; level < 10; ++level)
        half /= std::string(250, 'n');
    fs::create_directories(folder.path / half);
    fs::create_directory_symlink(half, folder.path / "link");
    folder.write("link" / half / "My.app/Contents/Info.plist", ofVersion("1"));
    const auto root = folder.path / "link" / half;
    EXPECT_EQ(lines(scanned({root}), root), Lines{"My.app: My||1"});
}

/// Takes the rights of root for the length of a scope.
class UnprivilegedScope {
public:
    UnprivilegedScope() : isRoot(geteuid() == 0) {
        if (isRoot && seteuid(nobody) != 0) isRoot = false;
    }
    ~UnprivilegedScope() { EXPECT_TRUE(!isRoot || seteuid(0) == 0); }
    UnprivilegedScope(const UnprivilegedScope&) = delete;
    UnprivilegedScope& operator=(const UnprivilegedScope&) = delete;

private:
    static constexpr uid_t nobody = 65534;
    bool isRoot;
};

TEST(AppScannerService, losesOnlyTheFoldersThatItMayNotRead) {
    const TemporaryFolder folder;
    for (const char* const bundle : {"a/A.app", "closed/B.app", "noentry/C.app", "z/D.app", "Closed.app"})
        folder.write(fs::path(bundle) / "Contents/Info.plist", ofVersion("1"));
    fs::permissions(folder.path, fs::perms(0755));
    fs::permissions(folder.path / "closed", fs::perms::none);
    fs::permissions(folder.path / "noentry", fs::perms(0444));
    fs::permissions(folder.path / "Closed.app/Contents/Info.plist", fs::perms::none);
    Lines actual;
    {
        const UnprivilegedScope unprivileged;
        if (access((folder.path / "closed").c_str(), R_OK) == 0 && geteuid() == 0)
            GTEST_SKIP() << "root reads everything here and cannot become anyone else";
        actual = lines(scanned({folder.path}), folder.path);
    }
    for (const char* const name : {"closed", "noentry"})
        fs::permissions(folder.path / name, fs::perms::owner_all);
    EXPECT_EQ(actual, (Lines{"a/A.app: A||1", "z/D.app: D||1", "Closed.app: Closed, could not read bundle",
                             "noentry/C.app: C, could not read bundle"}));
}

/// A chain of folders deeper than any path may be long, built and taken away without one.
class DeepChain {
public:
    /// In each folder of the chain, a bundle of each name stands beside the next folder.
    DeepChain(const fs::path& top, int depth, const std::vector<std::string>& bundles) : names(bundles) {
        int folder = open(top.c_str(), O_RDONLY | O_DIRECTORY);
        for (int level = 0; level < depth; ++level) {
            for (const auto& name : names)
                addBundle(folder, name);
            mkdirat(folder, "d", 0700);
            folder = moved(folder, "d");
        }
        innermost = folder;
    }
    ~DeepChain() {
        int folder = innermost;
        // Up to the top: its own name is not "d".
        for (folder = moved(folder, ".."); unlinkat(folder, "d", AT_REMOVEDIR) == 0;
             folder = moved(folder, ".."))
            for (const auto& name : names)
                removeBundle(folder, name);
        close(folder);
    }
    DeepChain(const DeepChain&) = delete;
    DeepChain& operator=(const DeepChain&) = delete;

private:
    static int moved(int folder, const char* name) {
        const int next = openat(folder, name, O_RDONLY | O_DIRECTORY);
        close(folder);
        return next;
    }

    static void addBundle(int folder, const std::string& name) {
        mkdirat(folder, name.c_str(), 0700);
        mkdirat(folder, (name + "/Contents").c_str(), 0700);
        const std::string list = ofVersion("1");
        const int file = openat(folder, (name + "/Contents/Info.plist").c_str(), O_WRONLY | O_CREAT, 0600);
        EXPECT_EQ(write(file, list.data(), list.size()), static_cast<ssize_t>(list.size()));
        close(file);
    }

    static void removeBundle(int folder, const std::string& name) {
        unlinkat(folder, (name + "/Contents/Info.plist").c_str(), 0);
        unlinkat(folder, (name + "/Contents").c_str(), AT_REMOVEDIR);
        unlinkat(folder, name.c_str(), AT_REMOVEDIR);
    }

    const std::vector<std::string> names;
    int innermost = -1;
};

/// Lowers a limit of the process for the length of a scope.
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

TEST(AppScannerService, walksTenThousandNestedFoldersWithFewDescriptors) {
    const FilesInMemory inMemory;
    const TemporaryFolder folder;
    constexpr int depth = 10'000;
    const DeepChain chain(folder.path, depth, {});
    fs::create_directories(folder.path / "e/f");
    folder.write("e/f/Last.app/Contents/Info.plist", ofVersion("1"));
    const DescriptorLimit limit(40);
    EXPECT_EQ(lines(scanned({folder.path}), folder.path), Lines{"e/f/Last.app: Last||1"});
}

TEST(AppScannerService, findsTheBundlesOnBothSidesOfEveryNestedFolder) {
    const FilesInMemory inMemory;
    const TemporaryFolder folder;
    constexpr int depth = 100;
    // Of eight names some stand before the next folder's and some behind it, whatever the file system's
    // order.
    const std::vector<std::string> bundles{"1.app", "b.app", "c.app", "xy.app",
                                           "e.app", "F.app", "7.app", "long name.app"};
    const DeepChain chain(folder.path, depth, bundles);
    const DescriptorLimit limit(40);
    const auto inventory = scanned({folder.path});
    EXPECT_EQ(inventory.apps.size(), static_cast<std::size_t>(depth) * bundles.size());
    EXPECT_TRUE(inventory.issues.empty());
    std::set<std::string> paths;
    for (const auto& app : inventory.apps)
        paths.insert(app.path);
    EXPECT_EQ(paths.size(), inventory.apps.size()) << "a path is wrong or comes twice";
}

TEST(AppScannerService, standardRootsEncloseTheUsersOwn) {
    const std::string before = getenv("HOME") != nullptr ? getenv("HOME") : "";
    setenv("HOME", "/home/of/somebody", 1);
    EXPECT_EQ(
        AppScannerService::standardRoots(),
        (std::vector<fs::path>{"/Applications", "/home/of/somebody/Applications", "/System/Applications"}));
    unsetenv("HOME");
    const auto withoutHome = AppScannerService::standardRoots();
    ASSERT_EQ(withoutHome.size(), 3U);
    EXPECT_TRUE(withoutHome[1].is_absolute());
    if (!before.empty()) setenv("HOME", before.c_str(), 1);
}

}  // namespace
}  // namespace quorvel
