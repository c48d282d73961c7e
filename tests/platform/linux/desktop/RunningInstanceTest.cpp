#include <gtest/gtest.h>
#include <thread>

#include "platform/linux/desktop/RunningInstance.h"
#include "support/FakePanel.h"
#include "support/PrivateBus.h"

namespace quorvel {
namespace {

constexpr const char* busName = "com.example.Program";
constexpr const char* path = "/com/example/Program";
constexpr const char* interface = "org.freedesktop.Application";

class RunningInstanceTest : public testing::Test {
protected:
    void SetUp() override {
        if (!daemon.reasonToSkip().empty()) GTEST_SKIP() << daemon.reasonToSkip();
        ASSERT_TRUE(bus.connect());
        ASSERT_EQ(first.claim(), RunningInstance::Claim::first);
        first.onRequest([this](const RunningInstance::Request& request) {
            requests.push_back(request.action + '|' + request.activationToken);
        });
    }

    PrivateBus daemon;
    EventQueue queue;
    SessionBus bus{queue};
    RunningInstance first{bus, busName};
    std::vector<std::string> requests;
};

TEST_F(RunningInstanceTest, takesWhatASecondStartAsksFor) {
    std::vector<bool> answers;
    std::jthread second([&] {
        EventQueue otherQueue;
        SessionBus otherBus(otherQueue);
        RunningInstance other(otherBus, busName);
        const bool isSecond = otherBus.connect() && other.claim() == RunningInstance::Claim::another;
        for (const auto& request :
             {RunningInstance::Request{"", ""}, {"", "token"}, {"about", ""}, {"about", "t"}})
            answers.push_back(isSecond && other.ask(request));
    });
    ASSERT_TRUE(runUntil(queue, [&] { return requests.size() >= 4; }));
    second.join();
    EXPECT_EQ(answers, std::vector<bool>(4, true));
    EXPECT_EQ(requests, (std::vector<std::string>{"|", "|token", "about|", "about|t"}));
}

/// Desktops differ in what they tell and may tell anything.
TEST_F(RunningInstanceTest, findsTheTokenAmongWhatADesktopTells) {
    FakePanel desktop(queue);
    const auto activate = [&](const char* types, auto... arguments) {
        const auto reply = desktop.call(busName, path, interface, "Activate", types, arguments...);
        return sd_bus_message_is_method_error(reply.get(), nullptr) == 0;
    };
    EXPECT_TRUE(activate("a{sv}", 0));
    EXPECT_TRUE(activate("a{sv}", 1, "activation-token", "s", "wayland"));
    EXPECT_TRUE(activate("a{sv}", 2, "other", "(is)", 7, "x", "desktop-startup-id", "s", "x11"));
    EXPECT_TRUE(activate("a{sv}", 2, "activation-token", "u", 7U, "desktop-startup-id", "s", "x11"));
    EXPECT_FALSE(activate("s", "no platform data"));
    const auto reply = desktop.call(busName, path, interface, "ActivateAction", "sava{sv}", "about", 1, "i",
                                    5, 1, "activation-token", "s", "t");
    EXPECT_FALSE(sd_bus_message_is_method_error(reply.get(), nullptr));
    ASSERT_TRUE(runUntil(queue, [&] { return requests.size() >= 5; }));
    EXPECT_EQ(requests, (std::vector<std::string>{"|", "|wayland", "|x11", "|x11", "about|t"}));
}

}  // namespace
}  // namespace quorvel
