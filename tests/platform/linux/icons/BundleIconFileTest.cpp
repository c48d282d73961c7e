#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/linux/icons/BundleIconFile.h"
#include "platform/linux/icons/IconMessages.h"
#include "support/TemporaryFolder.h"

namespace quorvel {
namespace {

namespace fs = std::filesystem;

class BundleIconFileTest : public testing::Test {
protected:
    /// Replaces what the bundle says of its icon.
    void writeInfo(const std::string& entry) {
        folder.write("A.app/Contents/Info.plist",
                     "<plist version=\"1.0\"><dict>" + entry + "</dict></plist>");
    }
    void name(const std::string& text) {
        writeInfo("<key>CFBundleIconFile</key><string>" + text + "</string>");
    }

    /// What the file holds that is opened for the bundle; "none" when none is.
    std::string opened() const {
        const auto file = openIconFile({bundle});
        return file ? TemporaryFolder::contentOf("/proc/self/fd/" + std::to_string(file.get())) : "none";
    }

    TemporaryFolder folder;
    const fs::path bundle = folder.path / "A.app", resources = bundle / "Contents/Resources";
};

TEST_F(BundleIconFileTest, opensTheFileThatThePropertyListNames) {
    for (const std::string file : {"App.icns", "Bare", "Both", "Both.icns", "UP.ICNS", "..icns"})
        folder.write("A.app/Contents/Resources/" + file, file);
    folder.write("A.app/Contents/Resources/sub/Deep.icns", "deep");
    folder.write("A.app/Contents/Beside.icns", "beside");
    const std::pair<std::string, std::string> rows[] = {
        {"App.icns", "App.icns"},
        {"App", "App.icns"},
        {"Bare", "Bare"},
        {"Both", "Both.icns"},
        {"UP.ICNS", "UP.ICNS"},
        {".", "..icns"},
        {"", "none"},
        {"..", "none"},
        {".icns", "none"},
        {"Missing", "none"},
        {"sub/Deep", "none"},
        {"../Beside", "none"},
        {(resources / "App.icns").string(), "none"},
        {std::string(251, 'x'), "none"},
    };
    for (const auto& [text, expected] : rows) {
        name(text);
        EXPECT_EQ(opened(), expected) << text;
    }
    writeInfo("<key>CFBundleIconFile</key><array><string>App</string></array>");
    EXPECT_EQ(opened(), "none");
    fs::rename(bundle, folder.path / "B.app");
    EXPECT_EQ(opened(), "none") << "without a bundle";
    fs::create_symlink("B.app", bundle);
    name("App");
    EXPECT_EQ(opened(), "App.icns") << "a bundle may itself be a link";
}

TEST_F(BundleIconFileTest, followsNoLinkThatLeadsOutOfTheBundle) {
    name("Icon");
    folder.write("outside/Icon.icns", "outside");
    folder.write("A.app/Contents/Art/Icon.icns", "inside");
    struct Row {
        fs::path link, target;
        const char* expected;
    };
    const Row rows[] = {
        {"Contents/Resources/Icon.icns", "../Art/Icon.icns", "inside"},
        {"Contents/Resources", "Art", "inside"},
        {"Contents/Resources/Icon.icns", folder.path / "outside/Icon.icns", "none"},
        {"Contents/Resources/Icon.icns", bundle / "Contents/Art/Icon.icns", "none"},
        {"Contents/Resources/Icon.icns", "../../../outside/Icon.icns", "none"},
        {"Contents/Resources/Icon.icns", "../../../A.app/Contents/Art/Icon.icns", "none"},
        {"Contents/Resources/Icon.icns", "/proc/self/fd/0", "none"},
        {"Contents/Resources", "../../outside", "none"},
    };
    for (const auto& [link, target, expected] : rows) {
        fs::remove_all(resources);
        fs::create_directories((bundle / link).parent_path());
        fs::create_symlink(target, bundle / link);
        EXPECT_EQ(opened(), expected) << link << " -> " << target;
    }
}

TEST_F(BundleIconFileTest, opensNothingButARegularFileOfAPossibleSize) {
    name("Icon.icns");
    const fs::path icon = resources / "Icon.icns";
    fs::create_directories(icon);
    EXPECT_EQ(opened(), "none") << "a folder";
    fs::remove(icon);
    ASSERT_EQ(mkfifo(icon.c_str(), 0600), 0);
    EXPECT_EQ(opened(), "none") << "a FIFO";
    fs::remove(icon);
    folder.write("A.app/Contents/Resources/Icon.icns", "");
    EXPECT_EQ(opened(), "none") << "an empty file";
    ASSERT_EQ(truncate(icon.c_str(), icons::maxFileSize), 0);
    EXPECT_NE(opened(), "none") << "the largest there may be";
    ASSERT_EQ(truncate(icon.c_str(), icons::maxFileSize + 1), 0);
    EXPECT_EQ(opened(), "none") << "larger than any icon";
}

}  // namespace
}  // namespace quorvel
