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
        const auto offer = [&](BusSlot& object, const char* name, const char* path, const char* interface) {
            require(sd_bus_request_name(bus, name, 0));
            require(sd_bus_add_object_vtable(bus, OutPtr(object), path, interface, vtable, this));
        };
        offer(portal, "org.freedesktop.portal.Desktop", "/org/freedesktop/portal/desktop",
              "org.freedesktop.portal.OpenURI");
        offer(fileManager, "org.freedesktop.FileManager1", "/org/freedesktop/FileManager1",
              "org.freedesktop.FileManager1");
    }

    bool refuses = false;
    Texts calls;

private:
    static const sd_bus_vtable vtable[];

    int openURI(sd_bus_message* call) {
        const char *parent = nullptr, *url = nullptr;
        require(sd_bus_message_read(call, "ss", &parent, &url));
        calls.push_back(url);
        return refuses ? -EACCES : sd_bus_reply_method_return(call, "o", "/request");
    }

    int showItems(sd_bus_message* call) {
        for (auto& url : readTexts(call))
            calls.push_back(std::move(url));
        return refuses ? -EACCES : sd_bus_reply_method_return(call, "");
    }

    BusSlot portal, fileManager;
};

const sd_bus_vtable FakeServices::vtable[] = {
    SD_BUS_VTABLE_START(0),
    busMethod<&FakeServices::openURI>("OpenURI", "ssa{sv}", "o"),
    busMethod<&FakeServices::showItems>("ShowItems", "ass", ""),
    SD_BUS_VTABLE_END,
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
    EXPECT_EQ(services.calls, (Texts{address, trickyURL}));
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

class RunningInstanceTest : public BusFixture {
protected:
    void SetUp() override {
        BusFixture::SetUp();
        ASSERT_EQ(first.claim(), RunningInstance::Claim::first);
        first.onRequest([this](const RunningInstance::Request& request) {
            requests.push_back(request.action + '|' + request.activationToken);
        });
    }

    static constexpr const char* busName = "com.example.Program";
    RunningInstance first{bus, busName};
    Texts requests;
};

TEST_F(RunningInstanceTest, handlesWhatASecondStartAsksFor) {
    std::vector<bool> answers;
    const auto second = std::async(std::launch::async, [&] {
        EventQueue otherQueue;
        SessionBus otherBus(otherQueue);
        RunningInstance other(otherBus, busName);
        EXPECT_EQ(other.claim(), RunningInstance::Claim::unknown) << "without a bus";
        EXPECT_FALSE(other.ask({}));
        const bool isSecond = otherBus.connect() && other.claim() == RunningInstance::Claim::another;
        for (const auto& request :
             {RunningInstance::Request{"", ""}, {"", "token"}, {"about", ""}, {"about", "t"}})
            answers.push_back(isSecond && other.ask(request));
    });
    ASSERT_TRUE(runUntil(queue, [&] { return requests.size() >= 4; }));
    second.wait();
    EXPECT_EQ(answers, std::vector<bool>(4, true));
    EXPECT_EQ(requests, (Texts{"|", "|token", "about|", "about|t"}));
}

/// Desktops differ in what they send and may send anything.
TEST_F(RunningInstanceTest, findsTheTokenAmongWhatADesktopSends) {
    const auto ask = [&](const char* method, const char* types, auto... arguments) {
        return panel->call(busName, "/com/example/Program", "org.freedesktop.Application", method, types,
                           arguments...);
    };
    const char *token = "activation-token", *older = "desktop-startup-id";
    EXPECT_EQ(ask("Activate", "a{sv}", 0), "");
    EXPECT_EQ(ask("Activate", "a{sv}", 1, token, "s", "wayland"), "");
    EXPECT_EQ(ask("Activate", "a{sv}", 2, token, "s", "wayland", older, "s", "x11"), "");
    EXPECT_EQ(ask("Activate", "a{sv}", 2, "other", "(is)", 7, "x", older, "s", "x11"), "");
    EXPECT_EQ(ask("Activate", "a{sv}", 2, token, "u", 7U, older, "s", "x11"), "");
    EXPECT_EQ(ask("Activate", "s", "no platform data"), SD_BUS_ERROR_INVALID_ARGS);
    EXPECT_EQ(ask("ActivateAction", "sava{sv}", "about", 1, "i", 5, 1, token, "s", "t"), "");
    ASSERT_TRUE(runUntil(queue, [&] { return requests.size() >= 6; }));
    EXPECT_EQ(requests, (Texts{"|", "|wayland", "|wayland", "|x11", "|x11", "about|t"}));
}

class AutostartEntryTest : public testing::Test {
protected:
    AutostartEntry entryFor(std::vector<std::string> command) const {
        return {folder.path / "autostart", std::move(command)};
    }

    TemporaryFolder folder;
    const std::filesystem::path file = "autostart/com.ob.quorvel.desktop";
};

TEST_F(AutostartEntryTest, namesTheProgramAsDesktopEntriesQuoteIt) {
    const std::vector<std::pair<std::string, std::string>> rows{
        {"/opt/My Apps/quorvel", R"("/opt/My Apps/quorvel")"},
        {"/a\"b$c`d", R"("/a\\"b\\$c\\`d")"},
        {"/100%/x", R"("/100%%/x")"},
        {R"(/a\b)", R"("/a\\\\b")"},
        {"/a\nb", R"("/a\nb")"},
    };
    for (const auto& [program, expected] : rows) {
        EXPECT_TRUE(entryFor({program, "--data-dir", "/a b"}).registerItem());
        EXPECT_EQ(folder.read(file),
                  "[Desktop Entry]\nType=Application\nName=Quorvel\n"
                  "Comment=Tells which installed applications have newer versions\n"
                  "Icon=com.ob.quorvel\nTerminal=false\nExec=" +
                      expected + " \"--data-dir\" \"/a b\"\n");
    }
}

TEST_F(AutostartEntryTest, isSwitchedOffByTheDesktopForGoodButHereUntilItIsRegisteredAgain) {
    for (const std::string line : {"Hidden=true", "X-GNOME-Autostart-enabled=false"}) {
        const std::string off = "[Desktop Entry]\nExec=other\n" + line + "\n";
        folder.write(file, off);
        EXPECT_FALSE(entryFor({"/usr/bin/quorvel"}).registerItem()) << line;
        EXPECT_EQ(folder.read(file), off);
    }
    auto entry = entryFor({"/usr/bin/quorvel"});
    EXPECT_TRUE(entry.unregisterItem());
    EXPECT_TRUE(entry.unregisterItem());
    EXPECT_FALSE(std::filesystem::exists(folder.path / file));
    EXPECT_TRUE(entry.registerItem());
}

}  // namespace
}  // namespace quorvel
