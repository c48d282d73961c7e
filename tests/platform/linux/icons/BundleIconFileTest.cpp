#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include "platform/linux/icons/BundleIconFile.h"
#include "support/TemporaryFolder.h"

namespace quorvel {
namespace {

namespace fs = std::filesystem;

class BundleIconFileTest : public testing::Test {
protected:
    /// Replaces what the bundle says of its icon.
    void writeInfo(const std::string& entry) {
        folder.write("A.app/Contents/Info.plist",
                     "<?xml version=\"1.0\" encoding=\"UTF-8\"?><plist version=\"1.0\"><dict>" + entry +
                         "</dict></plist>");
    }
    void name(const std::string& text) {
        writeInfo("<key>CFBundleIconFile</key><string>" + text + "</string>");
    }

    /// What the file holds that is opened for the bundle; "none" when none is.
    std::string opened() const {
        const auto file = openIconFile({folder.path / "A.app"});
        if (!file) return "none";
        std::string content(300, '\0');
        const auto count = read(file.get(), content.data(), content.size());
        content.resize(count < 0 ? 0 : static_cast<std::size_t>(count));
        return content;
    }

    TemporaryFolder folder;
    const fs::path bundle = folder.path / "A.app";
    const fs::path resources = bundle / "Contents/Resources";
};

TEST_F(BundleIconFileTest, opensTheFileThatThePropertyListNames) {
    const std::string longest = std::string(250, 'x') + ".icns";
    for (const std::string& file : {std::string("App.icns"), std::string("App 2.0.icns"), std::string("Bare"),
                                    std::string("Both"), std::string("Both.icns"), std::string("UP.ICNS"),
                                    std::string("Ö.icns"), longest, std::string("..icns")}) {
        folder.write("A.app/Contents/Resources/" + file, file);
    }
    folder.write("A.app/Contents/Resources/sub/Deep.icns", "deep");
    folder.write("A.app/Contents/Beside.icns", "beside");
    folder.write("A.app/Contents/Resources/Empty.icns", "");
    const std::pair<std::string, std::string> rows[] = {
        {"App.icns", "App.icns"},
        {"App", "App.icns"},
        {"App 2.0", "App 2.0.icns"},
        {"Bare", "Bare"},
        {"Both", "Both.icns"},
        {"UP.ICNS", "UP.ICNS"},
        {"Ö", "Ö.icns"},
        {std::string(250, 'x'), longest},
        {std::string(251, 'x'), "none"},
        {".", "..icns"},
        {"", "none"},
        {"..", "none"},
        {".icns", "none"},
        {"Missing", "none"},
        {"Empty", "none"},
        {"sub/Deep", "none"},
        {"../Beside", "none"},
        {"../../../../outside.icns", "none"},
        {(folder.path / "A.app/Contents/Resources/App.icns").string(), "none"},
    };
    folder.write("outside.icns", "outside");
    for (const auto& [text, expected] : rows) {
        name(text);
        EXPECT_EQ(opened(), expected) << text;
    }
}

TEST_F(BundleIconFileTest, opensNothingWithoutAReadableName) {
    folder.write("A.app/Contents/Resources/App.icns", "icon");
    const char* const entries[] = {"", "<key>CFBundleIconFile</key><integer>1</integer>",
                                   "<key>CFBundleIconFile</key><array><string>App</string></array>",
                                   "<key>CFBundleIconFile</key><string>App</string",
                                   "<key>CFBundleIconName</key><string>App</string>"};
    for (const char* entry : entries) {
        writeInfo(entry);
        EXPECT_EQ(opened(), "none") << entry;
    }
    fs::remove(bundle / "Contents/Info.plist");
    EXPECT_EQ(opened(), "none") << "without a property list";
    fs::remove_all(bundle);
    EXPECT_EQ(opened(), "none") << "without a bundle";
    folder.write("A.app", "a file");
    EXPECT_EQ(opened(), "none") << "a file in the bundle's place";
}

TEST_F(BundleIconFileTest, followsNoLinkThatLeadsOutOfTheBundle) {
    name("Icon");
    folder.write("outside/Icon.icns", "outside");
    folder.write("A.app/Contents/Art/Other.icns", "inside");
    folder.write("A.app/Contents/Art/Icon.icns", "inside");
    struct Row {
        fs::path link, target;
        const char* expected;
    };
    const Row rows[] = {
        {"Contents/Resources/Icon.icns", "../Art/Other.icns", "inside"},
        {"Contents/Resources", "Art", "inside"},
        {"Contents/Resources/Icon.icns", folder.path / "outside/Icon.icns", "none"},
        {"Contents/Resources/Icon.icns", bundle / "Contents/Art/Other.icns", "none"},
        {"Contents/Resources/Icon.icns", "../../../outside/Icon.icns", "none"},
        {"Contents/Resources/Icon.icns", "../../../A.app/Contents/Art/Other.icns", "none"},
        {"Contents/Resources/Icon.icns", "Icon.icns", "none"},
        {"Contents/Resources/Icon.icns", "/proc/self/fd/0", "none"},
        {"Contents/Resources", "../../outside", "none"},
        {"Contents/Resources", folder.path / "outside", "none"},
    };
    for (const auto& [link, target, expected] : rows) {
        fs::remove_all(resources);
        fs::create_directories((bundle / link).parent_path());
        fs::create_symlink(target, bundle / link);
        EXPECT_EQ(opened(), expected) << link << " -> " << target;
    }
}

TEST_F(BundleIconFileTest, aBundleMayItselfBeALink) {
    folder.write("B.app/Contents/Resources/Icon.icns", "icon");
    name("Icon");
    fs::rename(bundle / "Contents/Info.plist", folder.path / "B.app/Contents/Info.plist");
    fs::remove_all(bundle);
    fs::create_symlink("B.app", bundle);
    EXPECT_EQ(opened(), "icon");
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
    if (mknod(icon.c_str(), S_IFCHR | 0600, makedev(1, 5)) == 0) {
        EXPECT_EQ(opened(), "none") << "a device";
        fs::remove(icon);
    }
    folder.write("A.app/Contents/Resources/Icon.icns", "icon");
    EXPECT_EQ(opened(), "icon");
    ASSERT_EQ(truncate(icon.c_str(), largestIconFile), 0);
    EXPECT_NE(opened(), "none") << "the largest there may be";
    ASSERT_EQ(truncate(icon.c_str(), largestIconFile + 1), 0);
    EXPECT_EQ(opened(), "none") << "larger than any icon";
}

}  // namespace
}  // namespace quorvel
