#include <gtest/gtest.h>

#import "entry/macos/MacProgram.h"
#include "platform/macos/MainQueue.h"
#import "platform/macos/Toolkit.h"
#include "scanner/AppScannerService.h"
#include "support/FakeDesktop.h"
#include "support/FakePanel.h"
#include "support/FakePathMonitor.h"
#include "support/ForkedChild.h"
#include "support/PrivateBus.h"
#include "support/TemporaryFolder.h"

namespace quorvel {
namespace {

const std::string found = "New Versions Available (15)";

class MacProgramTest : public testing::Test {
protected:
    /// What the status-item program of a panel shows with the same catalog.
    std::string menuInAPanel() const {
        const PrivateBus bus;
        EventQueue queue;
        FakePanel panel(queue);
        panel.come();
        const Process program({PROGRAM_FOLDER "/quorvel", "--data-dir", (folder.path / "panel").string(),
                               "--system-root", SOURCE_ROOT "/demo/system", "--catalog", url});
        ShownItem menu;
        runUntil(queue, [&] {
            return !panel.layoutUpdates.empty() && (menu = panel.menu("com.ob.quorvel")).has(found);
        });
        return outline(menu);
    }

    MacConfiguration configuration() {
        const std::filesystem::path system = SOURCE_ROOT "/demo/system";
        return {{AppScannerService::rootsOfVolume(system),
                 url,
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

    /// How many colours the screen shows, above the toolkit's icon at its lower edge. The picture is there
    /// for whoever changes a window.
    int photograph(const std::string& title) const {
        const char* const album = std::getenv("QUORVEL_PICTURES");
        const auto picture = (album ? std::filesystem::path(album) : folder.path) / (title + ".png");
        return std::stoi(run({"convert", "x:root", "-crop", "1000x600+0+0", "-write", picture.string(),
                              "-format", "%k", "info:-"})
                             .output);
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
            toolkit::runUntil([&] { return photograph(title) > 10; });
            EXPECT_TRUE(toolkit::press(button, window)) << button;
            [window performClose:nil];
            toolkit::runUntil([&] { return photograph("no window") == 1; });
        }
        EXPECT_EQ(toolkit::openedURLs(),
                  std::vector<std::string>{"https://www.orbisto.example/terms/quorvel"});
        EXPECT_EQ(textFrom([[NSPasteboard generalPasteboard] stringForType:NSPasteboardTypeString]),
                  folder.read("storage/error.log"));
        EXPECT_EQ(folder.read("storage/ignored_versions.json"), "{}");
    }

    TemporaryFolder folder;
    Process catalog{{PROGRAM_FOLDER "/quorvel-catalog", "--data", SOURCE_ROOT "/demo/catalog.json"}};
    const std::string url = catalog.readLine();
    std::shared_ptr<FakePath> path = std::make_shared<FakePath>();
    FakeLoginItem loginItem;
};

/// In a child, because Quit ends the process.
TEST_F(MacProgramTest, showsItsMenuAndItsWindowsAndDoesWhatIsChosen) {
    const std::string expected = menuInAPanel();
    const auto story = [&] {
        toolkit::start();
        MainQueue user;
        user.post([&] {
            waitFor(found);
            EXPECT_EQ(menuText(), expected);
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
