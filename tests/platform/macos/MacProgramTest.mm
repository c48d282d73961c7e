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

namespace quorvel {
namespace {

const std::string found = "New Versions Available (15)";

/// As `toolkit::outline` tells a menu.
std::string outline(const ShownItem& menu, const std::string& indent = "") {
    std::string text;
    for (const auto& item : menu.children) {
        const auto has = [&](const std::string& property, const std::string& value) {
            const auto place = item.properties.find(property);
            return place != item.properties.end() && place->second == value;
        };
        if (has("type", "separator")) {
            text += indent + "---\n";
            continue;
        }
        auto label = item.properties.at("label");
        for (std::size_t at = 0; (at = label.find("__", at)) != std::string::npos; ++at)
            label.erase(at, 1);
        if (const auto end = label.find('\n'); end != std::string::npos) label.replace(end, 1, " | ");
        text +=
            indent + (has("enabled", "false") ? "!" : "") + (has("toggle-state", "1") ? "(on) " : "") + label;
        text += item.properties.contains("icon-data") ? " *" : "";
        if (item.properties.contains("shortcut")) text += " ^q";
        text += "\n" + outline(item, indent + "  ");
    }
    return text;
}

class MacProgramTest : public testing::Test {
protected:
    MacProgramTest()
        : catalog({PROGRAM_FOLDER "/quorvel-catalog", "--data", SOURCE_ROOT "/demo/catalog.json"}),
          url(catalog.readLine()) {}

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

    static NSMenu* menu() { return [[toolkit::statusItems() lastObject] menu]; }
    static std::string menuText() { return toolkit::outline(menu()); }

    static void waitFor(const std::string& words) {
        toolkit::runUntil([&] { return menuText().contains(words); });
    }

    void chooseFromTheMenu() const {
        // Whose menu goes while it is at work.
        toolkit::choose(menu(), "Ignore This Version");
        EXPECT_TRUE(menuText().contains("New Versions Available (14)"));
        EXPECT_FALSE(menuText().contains("(on)"));
        toolkit::choose(menu(), "Open at Login");
        toolkit::choose(menu(), "Color Icon");
        EXPECT_TRUE(menuText().contains("(on) Open at Login\n  (on) Color Icon\n"));
        EXPECT_EQ(loginItem.requests, std::vector<std::string>{"register"});
        toolkit::choose(menu(), "Try Orbisto Hub app");
    }

    void openTheWindows() const {
        const struct {
            std::string item, title, button;
        } rows[] = {{"About", "About Quorvel", "Terms of Use"},
                    {"Show Error Log", "Error Log", "Copy"},
                    {"Ignored Versions", "Ignored Versions", "Reset All"}};
        for (const auto& [item, title, button] : rows) {
            SCOPED_TRACE(title);
            toolkit::choose(menu(), item);
            NSWindow* const window = toolkit::windowTitled(title);
            ASSERT_TRUE(window);
            toolkit::runUntil([&] { return toolkit::coloursOf(window) > 10; });
            toolkit::press(toolkit::buttonTitled(button, window));
            [window performClose:nil];
            toolkit::runUntil([&] { return toolkit::coloursOf(window) == 1; });
        }
        EXPECT_EQ(textFrom([[NSPasteboard generalPasteboard] stringForType:NSPasteboardTypeString]),
                  folder.read("storage/error.log"));
        EXPECT_EQ(folder.read("storage/ignored_versions.json"), "{}");
    }

    /// While one check runs, no other can be started; it goes on beside the alert that says so.
    void dismissAnAlert() const {
        MainQueue user;
        bool wasShown = false;
        user.post([&] {
            toolkit::runUntil([] { return [NSApp modalWindow] != nil; });
            wasShown = true;
            waitFor("(15)");
            toolkit::click(toolkit::buttonTitled("OK", [NSApp modalWindow]));
        });
        toolkit::choose(menu(), "Check for Updates");
        EXPECT_TRUE(menuText().contains("(14)"));
        toolkit::choose(menu(), "Check for Updates");
        EXPECT_TRUE(wasShown);
        EXPECT_FALSE([NSApp modalWindow]);
    }

    TemporaryFolder folder;
    Process catalog;
    std::string url;
    std::shared_ptr<FakePath> path = std::make_shared<FakePath>();
    FakeLoginItem loginItem;
};

/// In a child, because Quit ends the process.
TEST_F(MacProgramTest, showsWhatAPanelShowsAndDoesWhatIsChosen) {
    const auto expected = menuInAPanel();
    const auto story = [&] {
        toolkit::start();
        MainQueue user;
        user.post([&] {
            waitFor(found);
            EXPECT_EQ(menuText(), expected);
            chooseFromTheMenu();
            openTheWindows();
            EXPECT_EQ(toolkit::asked(),
                      (std::vector<std::string>{"open https://hub.orbisto.example/",
                                                "open https://www.orbisto.example/terms/quorvel"}));
            dismissAnAlert();
            if (HasFailure()) forkedChild::end();
            toolkit::choose(menu(), "Quit");
        });
        runMacProgram(configuration());
    };
    EXPECT_EXIT(story(), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace quorvel
