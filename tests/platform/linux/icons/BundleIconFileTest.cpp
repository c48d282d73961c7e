#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "platform/linux/icons/BundleIconFile.h"
#include "platform/linux/icons/IconMessages.h"
#include "support/TemporaryFolder.h"

namespace quorvel {
namespace {

namespace fs = std::filesystem;

/// What the file holds that is opened for the bundle; "none" when none is.
std::string opened(const fs::path& bundle) {
    const auto file = openIconFile({bundle});
    return file ? TemporaryFolder::contentOf("/proc/self/fd/" + std::to_string(file.get())) : "none";
}

TEST(BundleIconFile, isTheOneThatThePropertyListNames) {
    const TemporaryFolder folder;
    const fs::path bundle = folder.path / "A.app", resources = bundle / "Contents/Resources";
    for (const std::string file : {"App.icns", "Bare", "Both", "Both.icns", "UP.ICNS"})
        folder.write(resources / file, file);
    folder.write(resources / "sub/Deep.icns", "deep");
    const auto text = [](const std::string& name) { return "<string>" + name + "</string>"; };
    const std::pair<std::string, std::string> rows[] = {
        {text("App.icns"), "App.icns"},
        {text("App"), "App.icns"},
        {text("Bare"), "Bare"},
        {text("Both"), "Both.icns"},
        {text("UP.ICNS"), "UP.ICNS"},
        {text(""), "none"},
        {text("Missing"), "none"},
        {text("sub/Deep"), "none"},
        {"<array><string>App</string></array>", "none"},
    };
    for (const auto& [name, expected] : rows) {
        folder.write(bundle / "Contents/Info.plist",
                     "<plist><dict><key>CFBundleIconFile</key>" + name + "</dict></plist>");
        EXPECT_EQ(opened(bundle), expected) << name;
    }
    EXPECT_EQ(opened(folder.path / "B.app"), "none") << "without a bundle";
}

/// Each thing that stands in the place of the file named Icon.
TEST(BundleIconFile, isARegularFileOfAPossibleSizeInsideTheBundle) {
    const TemporaryFolder folder;
    const fs::path bundle = folder.path / "A.app", icon = bundle / "Contents/Resources/Icon";
    folder.write("Icon", "outside");
    folder.write(bundle / "Contents/Art/Icon", "inside");
    folder.write(bundle / "Contents/Info.plist",
                 "<plist><dict><key>CFBundleIconFile</key><string>Icon</string></dict></plist>");
    fs::create_directory(icon.parent_path());
    const auto link = [&](const fs::path& target) { return [=] { fs::create_symlink(target, icon); }; };
    const auto ofSize = [&](std::size_t size) {
        return [=] {
            const std::ofstream file(icon);
            fs::resize_file(icon, size);
        };
    };
    const struct {
        const char* name;
        std::function<void()> place;
        bool isOpened = false;
    } rows[] = {
        {"a link inside", link("../Art/Icon"), true},
        {"a whole path", link(folder.path / "Icon")},
        {"a link outside", link("../../../Icon")},
        {"a folder", [&] { fs::create_directory(icon); }},
        {"a FIFO", [&] { mkfifo(icon.c_str(), 0600); }},
        {"an empty file", ofSize(0)},
        {"the largest there may be", ofSize(icons::maxFileSize), true},
        {"larger than any icon", ofSize(icons::maxFileSize + 1)},
    };
    for (const auto& [name, place, isOpened] : rows) {
        fs::remove(icon);
        place();
        EXPECT_EQ(opened(bundle) != "none", isOpened) << name;
    }
}

}  // namespace
}  // namespace quorvel
