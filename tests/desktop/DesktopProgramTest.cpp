#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <sstream>

#include "support/FakePanel.h"
#include "support/PrivateBus.h"
#include "support/Process.h"
#include "support/TemporaryFolder.h"

namespace quorvel {
namespace {

/// The real status-item program with the sample applications, a real catalog, and a panel that the test plays
/// on a session bus of its own.
class DesktopProgramTest : public testing::Test {
protected:
    void SetUp() override {
        if (!daemon.reasonToSkip().empty()) GTEST_SKIP() << daemon.reasonToSkip();
        for (const char* variable : {"HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_DATA_DIRS"}) {
            setenv(variable, folder.path.c_str(), 1);
        }
        panel = std::make_unique<FakePanel>(queue);
        catalog.emplace(std::vector<std::string>{PROGRAM_FOLDER "/quorvel-catalog", "--data",
                                                 SOURCE_ROOT "/demo/catalog.json", "--record",
                                                 (folder.path / "record").string()});
        url = catalog->readLine();
    }

    std::vector<std::string> command() const {
        return {PROGRAM_FOLDER "/quorvel-demo", SOURCE_ROOT "/demo/system", url,
                (folder.path / "storage").string()};
    }

    /// Starts the program; its item is on the panel afterwards.
    void start() {
        const auto before = panel->registrations.size();
        program = std::make_unique<Process>(command());
        ASSERT_TRUE(waitForRegistration(before + 1));
    }

    bool waitForRegistration(std::size_t count) {
        const bool came = runUntil(queue, [&] { return panel->registrations.size() >= count; });
        if (came) item = panel->registrations.back().sender;
        return came;
    }

    /// The newest menu once it has an item of that label.
    ShownMenu menuWith(const std::string& label) {
        for (int turn = 0; turn < 20; ++turn) {
            const auto seen = panel->layoutUpdates.size();
            auto menu = panel->menu(item);
            for (const auto& entry : menu.root.children) {
                const auto found = entry.properties.find("label");
                if (found != entry.properties.end() && found->second == label) return menu;
            }
            if (!runUntil(queue, [&] { return panel->layoutUpdates.size() > seen; })) break;
        }
        ADD_FAILURE() << "no menu came with " << label;
        return {};
    }

    bool choose(const ShownItem& chosen) { return panel->click(item, chosen.id); }

    std::vector<std::string> recordedMessages() const {
        std::vector<std::string> messages;
        std::istringstream lines(folder.read("record"));
        for (std::string line; std::getline(lines, line);) {
            const auto record = nlohmann::json::parse(line);
            const auto body = nlohmann::json::parse(record.at("body").get<std::string>(), nullptr, false);
            const bool tracks = body.is_object() && body.contains("message");
            messages.push_back((tracks ? body.at("message") : record.at("path")).get<std::string>());
        }
        return messages;
    }

    TemporaryFolder folder;
    PrivateBus daemon;
    EventQueue queue;
    std::unique_ptr<FakePanel> panel;
    std::optional<Process> catalog;
    std::string url;
    std::unique_ptr<Process> program;
    /// The bus name under which the program's item is called.
    std::string item;
};

TEST_F(DesktopProgramTest, firstLaunchRegistersChecksAndFillsTheMenu) {
    panel->come();
    start();
    const auto menu = menuWith("New Versions Available (15)");
    const auto& updates = menu.root.named("New Versions Available (15)");
    ASSERT_EQ(updates.children.size(), 15U);
    EXPECT_EQ(updates.children.front().properties.at("label"), "Amberleaf (3.1.0 → 3.2.1)");
    for (const char* label : {"Check for Updates", "Settings", "Try Orbisto Hub app", "Go to Orbisto Website",
                              "Feedback", "About", "Quit"}) {
        EXPECT_NE(menu.root.named(label).id, -1) << label;
    }
    const auto messages = recordedMessages();
    ASSERT_GE(messages.size(), 4U);
    EXPECT_EQ(messages.front(), "/v1/qvl/instance");
    EXPECT_EQ(std::ranges::count(messages, "first_install"), 1);
    EXPECT_TRUE(folder.read("storage/error.log").contains("] Launch check completed in "));
}

TEST_F(DesktopProgramTest, anIgnoredVersionLeavesTheMenuAndStaysAwayAfterARestart) {
    panel->come();
    start();
    const auto menu = menuWith("New Versions Available (15)");
    const auto& update = menu.root.named("Amberleaf (3.1.0 → 3.2.1)");
    ASSERT_TRUE(choose(update.named("Ignore This Version")));
    menuWith("New Versions Available (14)");
    EXPECT_EQ(folder.read("storage/ignored_versions.json"),
              R"({"com.example.amberleaf":{"appName":"Amberleaf","version":"3.2.1"}})");

    ASSERT_TRUE(choose(panel->menu(item).root.named("Quit")));
    EXPECT_EQ(program->finish().status, 0);
    start();
    menuWith("New Versions Available (14)");
}

TEST_F(DesktopProgramTest, thePanelMayComeLateAndGoAndComeAgain) {
    program = std::make_unique<Process>(command());
    // The program owns its name on the bus before any panel is there.
    ASSERT_TRUE(runUntil(queue, [&] { return panel->sees("com.ob.quorvel.Demonstration"); }));
    panel->come();
    ASSERT_TRUE(waitForRegistration(1));
    menuWith("New Versions Available (15)");
    panel->leave();
    panel->come();
    ASSERT_TRUE(waitForRegistration(2));
    menuWith("New Versions Available (15)");
}

TEST_F(DesktopProgramTest, aSecondStartLeavesTheFirstAloneAndAsksIt) {
    panel->come();
    start();
    menuWith("New Versions Available (15)");
    EXPECT_EQ(Process(command()).finish().status, 0);
    EXPECT_EQ(panel->registrations.size(), 1U);

    auto quit = command();
    quit.push_back("quit");
    EXPECT_EQ(Process(std::move(quit)).finish().status, 0);
    EXPECT_EQ(program->finish().status, 0);
}

TEST_F(DesktopProgramTest, leavesAStorageFolderAloneWithWhichAnotherSessionWorks) {
    panel->come();
    start();
    menuWith("New Versions Available (15)");
    const std::string address = daemon.address;
    PrivateBus otherSession;
    const auto result = Process(command()).finish();
    setenv("DBUS_SESSION_BUS_ADDRESS", address.c_str(), 1);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.errors, "quorvel: It is running already, where this session cannot reach it.\n");
    program->signal(SIGKILL);
    program->finish();
    start();
}

TEST_F(DesktopProgramTest, aSettingIsCheckedInTheMenuAndInItsFile) {
    panel->come();
    start();
    const auto menu = menuWith("New Versions Available (15)");
    const auto& entry = menu.root.named("Open at Login");
    EXPECT_EQ(entry.properties.at("toggle-state"), "0");
    const auto seen = panel->layoutUpdates.size();
    ASSERT_TRUE(choose(entry));
    ASSERT_TRUE(runUntil(queue, [&] { return panel->layoutUpdates.size() > seen; }));
    EXPECT_EQ(panel->menu(item).root.named("Open at Login").properties.at("toggle-state"), "1");
    EXPECT_EQ(folder.read("storage/settings.json"), R"({"openAtLogin":true,"colorIcon":false})");
    EXPECT_TRUE(folder.read("autostart/com.ob.quorvel.desktop")
                    .contains("\nExec=\"" PROGRAM_FOLDER "/quorvel-demo\"\n"));
}

TEST_F(DesktopProgramTest, saysWhyAndChecksOnWithoutASessionBus) {
    daemon.end();
    setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere", 1);
    Process alone(command());
    // The log tells that the check ran to its end; a signal then ends the program.
    const auto isDone = [&] { return folder.read("storage/error.log").contains("Launch check completed"); };
    const std::function<void()> look = [&] { queue.postAfter(std::chrono::milliseconds(5), look); };
    look();
    ASSERT_TRUE(runUntil(queue, isDone));
    alone.signal(SIGTERM);
    const auto result = alone.finish();
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(result.errors.starts_with("quorvel: There is no session bus, so no status item:"))
        << result.errors;
    EXPECT_EQ(std::ranges::count(result.errors, '\n'), 1) << result.errors;
    EXPECT_TRUE(isDone());
}

}  // namespace
}  // namespace quorvel
