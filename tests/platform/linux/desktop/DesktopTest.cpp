#include <cerrno>
#include <future>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <utility>
#include <vector>

#include "platform/linux/desktop/AutostartEntry.h"
#include "platform/linux/desktop/DesktopWorkspace.h"
#include "platform/linux/desktop/RunningInstance.h"
#include "platform/posix/process/DetachedProgram.h"
#include "support/BusFixture.h"

namespace quorvel {
namespace {

using Texts = std::vector<std::string>;

/// The portal and the file manager of a desktop.
class FakeServices {
public:
    explicit FakeServices(sd_bus* bus) {
        for (const char* const name : {"org.freedesktop.portal.Desktop", "org.freedesktop.FileManager1"})
            require(sd_bus_request_name(bus, name, 0));
        const auto called = [](sd_bus_message* call, void* self, sd_bus_error*) {
            return static_cast<FakeServices*>(self)->answer(call);
        };
        require(sd_bus_add_filter(bus, OutPtr(filter), called, this));
    }

    bool refuses = false;
    Texts calls;

private:
    int answer(sd_bus_message* call) {
        const bool opens =
            sd_bus_message_is_method_call(call, "org.freedesktop.portal.OpenURI", "OpenURI") > 0;
        if (!opens && sd_bus_message_is_method_call(call, "org.freedesktop.FileManager1", "ShowItems") <= 0)
            return 0;
        if (opens) readText(call);  // of the window that asks
        for (const auto& url : opens ? Texts{readText(call)} : readTexts(call))
            calls.push_back(sd_bus_message_get_path(call) + (' ' + url));
        return refuses ? -EACCES : sd_bus_reply_method_return(call, "");
    }

    BusSlot filter;
};

const std::string address = "mailto:help@example.com?subject=a&body=$(touch%20x);`b`'c'%0A";
const std::string trickyFile = "/srv/$(touch x)/-n \"q\" 'r' `b`;&\nöä/A%20.app";
const std::string trickyURL =
    "file:///srv/%24%28touch%20x%29/-n%20%22q%22%20%27r%27%20%60b%60%3B%26%0A%C3%B6%C3%A4/A%2520.app";

using DesktopTest = BusFixture;

TEST_F(DesktopTest, opensByThePortalAndTheFileManagerOrElseStartsAnOpener) {
    std::vector<Texts> started;
    const auto start = [&](const auto& arguments) { started.push_back(arguments); };
    const std::vector<Texts> openers{{"xdg-open", address},
                                     {"xdg-open", "/srv/$(touch x)/-n \"q\" 'r' `b`;&\nöä"}};
    const auto openBoth = [&](SessionBus& on) {
        started.clear();
        DesktopWorkspace workspace(on, start);
        workspace.openURL(address);
        workspace.selectFile(trickyFile);
    };
    SessionBus nowhere(queue);
    openBoth(nowhere);
    EXPECT_EQ(started, openers) << "at once, without a bus";
    openBoth(bus);
    EXPECT_TRUE(runUntil(queue, [&] { return started.size() >= 2; }));
    EXPECT_EQ(started, openers) << "nobody answers";

    FakeServices services(panel->connection());
    openBoth(bus);
    ASSERT_TRUE(runUntil(queue, [&] { return services.calls.size() == 2; }));
    EXPECT_EQ(services.calls, (Texts{"/org/freedesktop/portal/desktop " + address,
                                     "/org/freedesktop/FileManager1 " + trickyURL}));
    // Answers come in the order of the calls: after a refusal, those before it have been seen.
    services.refuses = true;
    DesktopWorkspace(bus, start).openURL("https://refused.example");
    ASSERT_TRUE(runUntil(queue, [&] { return !started.empty(); }));
    EXPECT_EQ(started, (std::vector<Texts>{{"xdg-open", "https://refused.example"}}));
}

TEST(DetachedProgram, handsEachArgumentOverAsItIsAndLeavesNoZombie) {
    const TemporaryFolder folder;
    const std::string result = (folder.path / "result").string();
    EventQueue queue;
    SessionBus bus(queue);
    const std::string longest(DesktopWorkspace(bus, {}).maxURLSize(), 'a');
    ASSERT_EQ(mkfifo(result.c_str(), 0600), 0);
    ASSERT_TRUE(
        startDetached({"sh", "-c", "printf '%s|' \"$@\" >\"$0\"", result, address, trickyFile, "", longest}));
    // Reading waits for the writer.
    EXPECT_EQ(TemporaryFolder::contentOf(result), address + "|" + trickyFile + "||" + longest + "|");
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "a child is left";
    EXPECT_EQ(errno, ECHILD);
}

/// Desktops differ in what they send along and may send anything.
TEST_F(DesktopTest, theRunningInstanceHearsWhatALaterStartOrTheDesktopAsksFor) {
    const std::string name = "com.example.Program";
    Texts requests;
    RunningInstance first(bus, name);
    ASSERT_EQ(first.claim(), RunningInstance::Claim::first);
    first.onRequest(
        [&](const auto& request) { requests.push_back(request.action + '|' + request.activationToken); });
    const auto second = std::async(std::launch::async, [&] {
        EventQueue otherQueue;
        SessionBus otherBus(otherQueue);
        RunningInstance other(otherBus, name);
        EXPECT_EQ(other.claim(), RunningInstance::Claim::unknown) << "without a bus";
        EXPECT_FALSE(other.ask({}));
        EXPECT_TRUE(otherBus.connect() && other.claim() == RunningInstance::Claim::another);
        EXPECT_TRUE(other.ask({"", ""}) && other.ask({"about", "t"}));
    });
    ASSERT_TRUE(runUntil(queue, [&] { return requests.size() == 2; }));
    second.wait();

    const auto ask = [&](const char* method, const char* types, auto... arguments) {
        return panel->call(name, "/com/example/Program", "org.freedesktop.Application", method, types,
                           arguments...);
    };
    const char *token = "activation-token", *older = "desktop-startup-id";
    EXPECT_EQ(ask("Activate", "a{sv}", 2, token, "s", "wayland", older, "s", "x11"), "");
    EXPECT_EQ(ask("Activate", "a{sv}", 2, token, "(is)", 7, "x", older, "s", "x11"), "");
    EXPECT_EQ(ask("ActivateAction", "sava{sv}", "about", 1, "i", 5, 1, token, "s", "t"), "");
    runWhatIsReady(queue);
    EXPECT_EQ(requests, (Texts{"|", "about|t", "|wayland", "|x11", "about|t"}));
}

TEST(AutostartEntry, namesTheProgramAsDesktopEntriesQuoteIt) {
    const TemporaryFolder folder;
    const std::pair<std::string, std::string> rows[] = {
        {"/opt/My Apps/quorvel", R"("/opt/My Apps/quorvel")"},
        {"/a\"b$c`d", R"("/a\\"b\\$c\\`d")"},
        {"/100%/x", R"("/100%%/x")"},
        {R"(/a\b)", R"("/a\\\\b")"},
    };
    for (const auto& [program, expected] : rows) {
        AutostartEntry entry(folder.path / "autostart", {program, "--data-dir", "/a b"});
        EXPECT_TRUE(entry.registerItem());
        EXPECT_EQ(TemporaryFolder::contentOf(entry.file),
                  "[Desktop Entry]\nType=Application\nName=Quorvel\n"
                  "Comment=Tells which installed applications have newer versions\n"
                  "Icon=com.ob.quorvel\nTerminal=false\nExec=" +
                      expected + " \"--data-dir\" \"/a b\"\n");
    }
}

TEST(AutostartEntry, isSwitchedOffByTheDesktopForGoodButHereUntilItIsRegisteredAgain) {
    const TemporaryFolder folder;
    AutostartEntry entry(folder.path, {"/usr/bin/quorvel"});
    for (const std::string line : {"Hidden=true", "X-GNOME-Autostart-enabled=false"}) {
        const std::string off = "[Desktop Entry]\nExec=other\n" + line + "\n";
        folder.write(entry.file, off);
        EXPECT_FALSE(entry.registerItem()) << line;
        EXPECT_EQ(TemporaryFolder::contentOf(entry.file), off);
    }
    EXPECT_TRUE(entry.unregisterItem());
    EXPECT_TRUE(entry.unregisterItem());
    EXPECT_FALSE(std::filesystem::exists(entry.file));
    EXPECT_TRUE(entry.registerItem());
}

}  // namespace
}  // namespace quorvel
