#include <atomic>
#include <future>
#include <memory>
#include <thread>

#include "platform/posix/http/SessionFixture.h"

namespace quorvel {
namespace {

const Reply silent{.pieces = {}, .then = Then::stall};

TEST(Session, completesEachRequestOnceOnItsOwnThread) {
    constexpr int count = 40;
    std::vector<Reply> script(count, ScriptedServer::answer("{}"));
    ScriptedServer server(script);
    std::vector<std::atomic<int>> completions(count);
    std::atomic<int> elsewhere = 0;
    CurlSession session;
    {
        std::vector<std::future<void>> callers;
        for (int caller = 0; caller < 4; ++caller) {
            callers.push_back(std::async(std::launch::async, [&, caller] {
                for (int index = caller; index < count; index += 4) {
                    const auto self = std::this_thread::get_id();
                    session.dataTask(post(server.url("/")), [&, index, self](HttpOutcome outcome) {
                        if (text(outcome) == "200 {}") ++completions[static_cast<std::size_t>(index)];
                        if (std::this_thread::get_id() != self) ++elsewhere;
                    });
                }
            }));
        }
    }
    EXPECT_TRUE(session.finish(std::chrono::seconds(30)));
    for (int index = 0; index < count; ++index)
        EXPECT_EQ(completions[static_cast<std::size_t>(index)], 1) << index;
    EXPECT_EQ(elsewhere, count);
    EXPECT_EQ(server.requests().size(), static_cast<std::size_t>(count));
}

TEST(Session, takesARequestFromACompletion) {
    ScriptedServer server({ScriptedServer::answer("1"), ScriptedServer::answer("2")});
    std::string second;
    CurlSession session;
    session.dataTask(post(server.url("/")), [&](const HttpOutcome&) {
        session.dataTask(post(server.url("/")), [&](const HttpOutcome& outcome) { second = text(outcome); });
    });
    EXPECT_TRUE(session.finish(std::chrono::seconds(30)));
    EXPECT_EQ(second, "200 2");
}

TEST(Session, finishGivesUpAfterItsBound) {
    ScriptedServer server({silent});
    CurlSession session;
    EXPECT_TRUE(session.finish(std::chrono::seconds(0))) << "nothing was sent";
    session.dataTask(post(server.url("/")), [](const HttpOutcome&) {});
    EXPECT_FALSE(session.finish(std::chrono::milliseconds(50)));
}

TEST(Session, destroyedWithRequestsUnderWayDropsTheirCompletions) {
    ScriptedServer server({silent, silent});
    const auto owned = std::make_shared<bool>(false);
    {
        CurlSession session;
        session.dataTask(post(server.url("/")), [owned](const HttpOutcome&) { *owned = true; });
        ASSERT_TRUE(server.waitForRequests(1));
        session.dataTask(post(server.url("/")), [owned](const HttpOutcome&) { *owned = true; });
    }
    EXPECT_FALSE(*owned);
    EXPECT_EQ(owned.use_count(), 1);
}

}  // namespace
}  // namespace quorvel
