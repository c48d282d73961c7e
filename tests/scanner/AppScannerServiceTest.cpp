#include <filesystem>
#include <gtest/gtest.h>
#include <set>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/propertylist/PropertyList.h"
#include "scanner/AppScannerService.h"
#include "support/ScopedVariable.h"
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

/// Scans, and checks what holds for every scan.
Inventory scanned(std::vector<fs::path> roots, std::optional<std::string> ownIdentifier = std::nullopt) {
    Inventory inventory;
    inventory.apps = AppScannerService(std::move(roots), std::move(ownIdentifier)).scan(inventory.issues);
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

TEST(AppScannerService, readsIdentityAndVersionOfABundle) {
    const std::string shortVersion = entry("CFBundleShortVersionString", "1.2");
    const std::pair<std::string, std::string> rows[] = {
        {entry("CFBundleIdentifier", "com.x") + entry("CFBundleName", "Name") + shortVersion,
         "Name|com.x|1.2"},
        {shortVersion, "My||1.2"},
        {entry("CFBundleName", "") + shortVersion, "My||1.2"},
        {"<key>CFBundleName</key><integer>1</integer>" + shortVersion, "My||1.2"},
        {"<key>CFBundleIdentifier</key><true/>" + shortVersion, "My||1.2"},
        {entry("CFBundleShortVersionString", "") + entry("CFBundleVersion", "1234"), "My||1234"},
        {entry("CFBundleShortVersionString", " 1.0 "), "My|| 1.0 "},
        {"", "My, no version"},
        {entry("CFBundleShortVersionString", "") + entry("CFBundleVersion", ""), "My, no version"},
        {entry("CFBundleName", "Name") + "<key>CFBundleVersion</key><integer>7</integer>",
         "Name, no version"},
        {entry("CFBundleIdentifier", "com.own") + shortVersion, ""},
        {entry("CFBundleIdentifier", "com.owner") + shortVersion, "My|com.owner|1.2"},
        {"<key>CFBundleName</key>", "My, could not read bundle"},
    };
    for (const auto& [content, expected] : rows) {
        const TemporaryFolder folder;
        folder.write("My.app/Contents/Info.plist", infoList(content));
        EXPECT_EQ(lines(scanned({folder.path}, "com.own"), folder.path),
                  expected.empty() ? Lines{} : Lines{"My.app: " + expected})
            << content;
    }
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

TEST(AppScannerService, makesValidTextsOfNamesThatAreNot) {
    const TemporaryFolder folder;
    folder.write("bad\xFF/A\xFE.app/Contents/Info.plist", ofVersion("1"));
    folder.write("bad\xFF/B\xFE.app", "");
    const auto inventory = scanned({folder.path});
    EXPECT_EQ(inventory.apps.at(0).name, "A\uFFFD");
    EXPECT_EQ(inventory.apps.at(0).path, folder.path / "bad\xFF/A\xFE.app");
    EXPECT_EQ(inventory.issues.at(0).appName, "B\uFFFD");
    EXPECT_EQ(inventory.issues.at(0).path, (folder.path / "bad\uFFFD/B\uFFFD.app").string());
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

TEST(AppScannerService, standardRootsEncloseTheUsersOwn) {
    const ScopedVariable home("HOME", "/home/of/somebody");
    EXPECT_EQ(
        AppScannerService::standardRoots(),
        (std::vector<fs::path>{"/Applications", "/home/of/somebody/Applications", "/System/Applications"}));
}

}  // namespace
}  // namespace quorvel
