#include <cerrno>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <systemd/sd-bus.h>
#include <utility>
#include <vector>

#include "platform/linux/bus/BusCallback.h"
#include "platform/linux/bus/BusMessage.h"
#include "platform/linux/desktop/DesktopWorkspace.h"
#include "platform/posix/process/DetachedProgram.h"
#include "support/FakePanel.h"
#include "support/PrivateBus.h"

namespace quorvel {
namespace {

/// The portal and the file manager of a desktop, on the panel's connection.
class FakeServices {
public:
    explicit FakeServices(sd_bus* bus) : bus(bus) {
        offer(portal, "/org/freedesktop/portal/desktop", "org.freedesktop.portal.OpenURI");
        offer(fileManager, "/org/freedesktop/FileManager1", "org.freedesktop.FileManager1");
    }

    void come(const char* name) { require(sd_bus_request_name(bus, name, 0)); }

    bool refuses = false;
    std::vector<std::string> calls;

private:
    static const sd_bus_vtable* vtable() {
        static const sd_bus_vtable members[] = {
            SD_BUS_VTABLE_START(0),
            SD_BUS_METHOD("OpenURI", "ssa{sv}", "o", busCall<&FakeServices::openURI>,
                          SD_BUS_VTABLE_UNPRIVILEGED),
            SD_BUS_METHOD("ShowItems", "ass", "", busCall<&FakeServices::showItems>,
                          SD_BUS_VTABLE_UNPRIVILEGED),
            SD_BUS_VTABLE_END,
        };
        return members;
    }

    void offer(BusSlot& object, const char* path, const char* interface) {
        sd_bus_slot* slot = nullptr;
        require(sd_bus_add_object_vtable(bus, &slot, path, interface, vtable(), this));
        object.reset(slot);
    }

    int openURI(sd_bus_message* call) {
        const char *parent = nullptr, *url = nullptr;
        require(sd_bus_message_read(call, "ss", &parent, &url));
        calls.push_back(url);
        return refuses ? -EACCES : sd_bus_reply_method_return(call, "o", "/request");
    }

    int showItems(sd_bus_message* call) {
        for (auto& url : readStrings(call))
            calls.push_back(std::move(url));
        return refuses ? -EACCES : sd_bus_reply_method_return(call, "");
    }

    sd_bus* bus;
    BusSlot portal, fileManager;
};

constexpr const char* portal = "org.freedesktop.portal.Desktop";
constexpr const char* fileManager = "org.freedesktop.FileManager1";
const std::string address = "mailto:help@example.com?subject=a&body=$(touch%20x);`b`'c'%0A";
const std::string trickyFile = "/srv/$(touch x)/-n \"q\" 'r' `b`;&\nöä/A%20.app";

using Starts = std::vector<std::vector<std::string>>;

class DesktopWorkspaceTest : public testing::Test {
protected:
    void SetUp() override {
        if (!daemon.reasonToSkip().empty()) GTEST_SKIP() << daemon.reasonToSkip();
        ASSERT_TRUE(bus.connect());
        panel = std::make_unique<FakePanel>(queue);
        services = std::make_unique<FakeServices>(panel->connection());
    }

    bool runsUntilStarted() {
        return runUntil(queue, [&] { return !started.empty(); });
    }

    PrivateBus daemon;
    EventQueue queue;
    SessionBus bus{queue};
    std::unique_ptr<FakePanel> panel;
    std::unique_ptr<FakeServices> services;
    Starts started;
    DesktopWorkspace workspace{bus, [this](const auto& arguments) { started.push_back(arguments); }};
};

TEST_F(DesktopWorkspaceTest, asksThePortalAndTheFileManagerWhereTheyAre) {
    services->come(portal);
    services->come(fileManager);
    workspace.openURL(address);
    workspace.selectFile(trickyFile);
    ASSERT_TRUE(runUntil(queue, [&] { return services->calls.size() == 2; }));
    EXPECT_EQ(services->calls,
              (std::vector<std::string>{address,
                                        "file:///srv/%24%28touch%20x%29/-n%20%22q%22%20%27r%27%20"
                                        "%60b%60%3B%26%0A%C3%B6%C3%A4/A%2520.app"}));
    // Answers come in the order of the calls: after a refusal, those before it have been seen.
    services->refuses = true;
    workspace.openURL("https://refused.example");
    ASSERT_TRUE(runsUntilStarted());
    EXPECT_EQ(started, (Starts{{"xdg-open", "https://refused.example"}}));
}

TEST_F(DesktopWorkspaceTest, startsAnOpenerWhereNobodyAnswersOrTheAnswerIsNo) {
    for (const bool isThere : {false, true}) {
        services->refuses = isThere;
        if (isThere) {
            services->come(portal);
            services->come(fileManager);
        }
        workspace.openURL(address);
        ASSERT_TRUE(runsUntilStarted()) << isThere;
        EXPECT_EQ(std::exchange(started, {}), (Starts{{"xdg-open", address}}));
        workspace.selectFile(trickyFile);
        ASSERT_TRUE(runsUntilStarted()) << isThere;
        EXPECT_EQ(std::exchange(started, {}),
                  (Starts{{"xdg-open", "/srv/$(touch x)/-n \"q\" 'r' `b`;&\nöä"}}));
    }
    EXPECT_EQ(services->calls.size(), 2U);
}

TEST_F(DesktopWorkspaceTest, startsAnOpenerAtOnceWithoutABus) {
    EventQueue otherQueue;
    SessionBus nowhere{otherQueue};
    DesktopWorkspace alone{nowhere, [this](const auto& arguments) { started.push_back(arguments); }};
    alone.openURL(address);
    EXPECT_EQ(started, (Starts{{"xdg-open", address}}));
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

}  // namespace
}  // namespace quorvel
