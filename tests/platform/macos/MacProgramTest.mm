#include <gtest/gtest.h>

#import "entry/macos/MacProgram.h"
#include "platform/macos/MainQueue.h"
#import "platform/macos/Toolkit.h"
#include "scanner/AppScannerService.h"
#include "support/FakeDesktop.h"
#include "support/FakePathMonitor.h"
#include "support/ForkedChild.h"
#include "support/Process.h"
#include "support/TemporaryFolder.h"

namespace quorvel {
namespace {

class MacProgramTest : public testing::Test {
protected:
    MacConfiguration configuration() {
        const std::filesystem::path system = SOURCE_ROOT "/demo/system";
        return {{AppScannerService::rootsOfVolume(system),
                 catalog.readLine(),
                 {thisProgram(), installedOSVersion(system)},
                 PersistenceManager::at(folder.path / "storage")},
                "en_US",
                std::make_unique<FakePathMonitor>(path),
                loginItem};
    }

    static void choose(const std::string& title) {
        EXPECT_TRUE(toolkit::choose([toolkit::statusItem() menu], title)) << title;
    }
    static std::string menuText() { return toolkit::outline([toolkit::statusItem() menu]); }
    static void waitFor(const std::string& words) {
        toolkit::runUntil([&] { return menuText().contains(words); });
    }

    void useTheWindows() const {
        const struct {
            std::string item, title, button;
        } rows[] = {{"About", "About Quorvel", "Terms of Use"},
                    {"Show Error Log", "Error Log", "Copy"},
                    {"Ignored Versions", "Ignored Versions", "Reset All"}};
        for (const auto& [item, title, button] : rows) {
            choose(item);
            NSWindow* const window = toolkit::windowTitled(title);
            EXPECT_TRUE([window isVisible]) << title;
            EXPECT_TRUE(toolkit::press(button, window)) << button;
            [window performClose:nil];
        }
        EXPECT_EQ(toolkit::openedURLs(),
                  std::vector<std::string>{"https://www.orbisto.example/terms/quorvel"});
        EXPECT_EQ(textFrom([[NSPasteboard generalPasteboard] stringForType:NSPasteboardTypeString]),
                  folder.read("storage/error.log"));
        EXPECT_EQ(folder.read("storage/ignored_versions.json"), "{}");
    }

    TemporaryFolder folder;
    Process catalog{{PROGRAM_FOLDER "/quorvel-catalog", "--data", SOURCE_ROOT "/demo/catalog.json"}};
    std::shared_ptr<FakePath> path = std::make_shared<FakePath>();
    FakeLoginItem loginItem;
};

/// In a child, because Quit ends the process.
TEST_F(MacProgramTest, showsItsMenuAndItsWindowsAndDoesWhatIsChosen) {
    const auto story = [&] {
        toolkit::start();
        MainQueue user;
        user.post([&] {
            waitFor("New Versions Available (15)\n");
            EXPECT_TRUE(menuText().contains("\n  Amberleaf (3.1.0 → 3.2.1) *\n    Open App Page\n"))
                << menuText();
            choose("Ignore This Version");
            EXPECT_TRUE(menuText().contains("New Versions Available (14)"));
            choose("Open at Login");
            EXPECT_EQ(loginItem.requests, std::vector<std::string>{"register"});
            useTheWindows();
            // While one check runs, no other can be started, which an alert says.
            bool wasShown = false;
            user.post([&] { wasShown = toolkit::press("OK", [NSApp modalWindow]); });
            choose("Check for Updates");
            choose("Check for Updates");
            EXPECT_TRUE(wasShown);
            if (HasFailure()) forkedChild::end();
            choose("Quit");
        });
        runMacProgram(configuration());
    };
    EXPECT_EXIT(story(), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace quorvel
