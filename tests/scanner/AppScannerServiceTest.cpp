#include <filesystem>
#include <gtest/gtest.h>
#include <set>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/propertylist/PropertyList.h"
#include "scanner/AppScannerService.h"
#include "support/ForkedChild.h"
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

using Lines = std::multiset<std::string>;

/// One line for each application, each issue, and each root or folder that is missing or cannot be read, the
/// paths relative to `folder`.
Lines lines(std::vector<fs::path> roots, const fs::path& folder, std::optional<std::string> own = {}) {
    std::vector<ScanIssue> issues;
    ScanCoverage coverage;
    const AppScannerService scanner(std::move(roots), std::move(own));
    Lines result;
    const auto put = [&](const fs::path& path, const std::string& what) {
        result.insert(path.lexically_relative(folder).string() + ": " + what);
    };
    for (const auto& app : scanner.scan(issues, coverage)) {
        EXPECT_EQ(app.icon.bundle, app.path);
        put(app.path, app.name + "|" + app.bundleID + "|" + app.version);
    }
    for (const auto& issue : issues)
        put(issue.path, issue.appName + ", " + issue.reason);
    for (const auto& root : coverage.missingRoots)
        put(root, "missing");
    for (const auto& unreadable : coverage.unreadableFolders)
        put(unreadable, "unreadable");
    return result;
}

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
        EXPECT_EQ(lines({folder.path}, folder.path, "com.own"),
                  expected.empty() ? Lines{} : Lines{"My.app: " + expected})
            << content;
    }
}

TEST(AppScannerService, findsBundlesByTheirNamesAndNoLinkToAFolder) {
    const TemporaryFolder folder, elsewhere;
    for (const char* const bundle :
         {"A.app", "Utilities/B.app", "x/y/z/C.app", "A.app/Contents/Inner.app", "Wrong.APP", "Wrong.app2",
          "Wrongapp", ".Hidden.app", ".hidden/D.app", ".app", "Two.x.app", "Dots..app", "With Space.app",
          "Folder.app.d/E.app", "bad\xFF/F\xFE.app"}) {
        folder.write(fs::path(bundle) / "Contents/Info.plist", ofVersion("1"));
    }
    folder.write("File.app", "no folder");
    folder.write("bad\xFF/G\xFE.app", "");
    folder.write("Utilities/readme.txt", "");
    elsewhere.write("Far.app/Contents/Info.plist", ofVersion("1"));
    fs::create_directory_symlink(elsewhere.path, folder.path / "folder");
    fs::create_directory_symlink(folder.path, folder.path / "circle");
    fs::create_directory_symlink(elsewhere.path / "Far.app", folder.path / "Near.app");
    EXPECT_EQ(
        lines({folder.path}, folder.path),
        (Lines{"A.app: A||1", "Utilities/B.app: B||1", "x/y/z/C.app: C||1", "Two.x.app: Two.x||1",
               "Dots..app: Dots.||1", "With Space.app: With Space||1", "Folder.app.d/E.app: E||1",
               "Near.app: Near||1", "bad\xFF/F\xFE.app: F\uFFFD||1", "File.app: File, could not read bundle",
               "bad\uFFFD/G\uFFFD.app: G\uFFFD, could not read bundle"}));
}

TEST(AppScannerService, neverWaitsForWhatStandsInPlaceOfAPropertyList) {
    const TemporaryFolder folder;
    const auto path = [&](const char* name) { return folder.path / name; };
    for (const char* const bundle :
         {"Fifo.app/Contents", "Folder.app/Contents/Info.plist", "Device.app/Contents", "Empty.app"})
        fs::create_directories(path(bundle));
    for (const char* const fifo : {"Fifo.app/Contents/Info.plist", "Itself.app", "plain"})
        ASSERT_EQ(mkfifo(path(fifo).c_str(), 0600), 0);
    fs::create_symlink("/dev/zero", path("Device.app/Contents/Info.plist"));
    fs::create_directory_symlink(path("Loop.app"), path("Loop.app"));
    fs::create_directory_symlink(path("nowhere"), path("Dangling.app"));
    folder.write("Blank.app/Contents/Info.plist", "");
    fs::resize_file(folder.write("Large.app/Contents/Info.plist", ofVersion("1")), propertyListSizeLimit + 1);
    Lines expected;
    for (const std::string name :
         {"Fifo", "Itself", "Folder", "Device", "Empty", "Blank", "Large", "Loop", "Dangling"})
        expected.insert(name + ".app: " + name + ", could not read bundle");
    EXPECT_EQ(lines({folder.path}, folder.path), expected);
}

TEST(AppScannerService, listsRootsInTheirOrderAndRepeatsWhatTheyShare) {
    const TemporaryFolder first, second;
    first.write("A.app/Contents/Info.plist", ofVersion("1"));
    const auto b = second.write("B.app/Contents/Info.plist", ofVersion("2")).parent_path().parent_path();
    fs::create_directory_symlink(second.path, first.path / "link");
    const auto file = first.write("file", ""), missing = first.path / "missing";
    std::vector<ScanIssue> issues;
    ScanCoverage coverage;
    std::vector<fs::path> paths;
    for (const auto& app : AppScannerService({second.path, missing, file, "", first.path, first.path / "link",
                                              second.path / "." / ".." / second.path.filename()},
                                             {})
                               .scan(issues, coverage))
        paths.push_back(app.path);
    EXPECT_EQ(paths, (std::vector{b, first.path / "A.app", b, b}));
    EXPECT_TRUE(issues.empty());
    EXPECT_EQ(coverage.rootsRead, 4U);
    EXPECT_EQ(coverage.missingRoots, (std::vector<fs::path>{missing, file, ""}));
    EXPECT_TRUE(coverage.unreadableFolders.empty());
}

TEST(AppScannerService, losesOnlyTheFoldersThatItMayNotRead) {
    const TemporaryFolder folder;
    for (const char* const bundle : {"a/A.app", "closed/B.app", "noentry/C.app", "z/D.app", "Closed.app"})
        folder.write(fs::path(bundle) / "Contents/Info.plist", ofVersion("1"));
    fs::permissions(folder.path, fs::perms(0755));
    fs::permissions(folder.path / "closed", fs::perms::none);
    fs::permissions(folder.path / "noentry", fs::perms(0444));
    fs::permissions(folder.path / "Closed.app/Contents/Info.plist", fs::perms::none);
    const bool isRun = runInChild([&] {
        constexpr uid_t nobody = 65534;
        if (geteuid() == 0 && seteuid(nobody) != 0) GTEST_SKIP() << "root reads everything here";
        EXPECT_EQ(lines({folder.path, folder.path / "closed/root"}, folder.path),
                  (Lines{"a/A.app: A||1", "z/D.app: D||1", "Closed.app: Closed, could not read bundle",
                         "noentry/C.app: C, could not read bundle", "closed: unreadable",
                         "closed/root: unreadable"}));
    });
    for (const char* const name : {"closed", "noentry"})
        fs::permissions(folder.path / name, fs::perms::owner_all);
    if (!isRun) GTEST_SKIP();
}

TEST(AppScannerService, rootsAreThoseOfTheSystemAndOfItsUsers) {
    const ScopedVariable home("HOME", "/home/of/somebody");
    using Roots = std::vector<fs::path>;
    EXPECT_EQ(AppScannerService::standardRoots(),
              (Roots{"/Applications", "/home/of/somebody/Applications", "/System/Applications"}));
    const TemporaryFolder volume;
    const auto first = volume.path / "Applications", last = volume.path / "System/Applications";
    const auto roots = [&] { return AppScannerService::rootsOfVolume(volume.path); };
    EXPECT_EQ(roots(), (Roots{first, last}));
    const auto users = volume.write("Users", "no folder");
    EXPECT_EQ(roots(), (Roots{first, users, last})) << "which the scan then says something of";
    fs::remove(users);
    for (const char* const user : {"b", "c", "a"})
        fs::create_directories(users / user);
    EXPECT_EQ(roots(), (Roots{first, users / "a/Applications", users / "b/Applications",
                              users / "c/Applications", last}));
}

}  // namespace
}  // namespace quorvel
