#include <atomic>
#include <functional>
#include <future>
#include <memory>
#include <thread>

#include "platform/posix/http/SessionFixture.h"

namespace quorvel {
namespace {

const Reply silent{.pieces = {}, .then = Then::stall};

TEST(Session, completesEachRequestOnceOnItsOwnThreadAlsoThatOfACompletion) {
    constexpr int first = 20, count = 2 * first;
    ScriptedServer server(std::vector<Reply>(count, ScriptedServer::answer("{}")));
    std::vector<std::atomic<int>> completions(count);
    CurlSession session;
    const std::function<void(int)> send = [&](int index) {
        const bool isFirst = index < first;
        session.dataTask(post(server.url("/")), [&, isFirst, index, caller = std::this_thread::get_id()](
                                                    const HttpOutcome& outcome) {
            const bool isElsewhere = std::this_thread::get_id() != caller;
            if (text(outcome) == "200 {}" && isElsewhere == isFirst)
                ++completions[static_cast<std::size_t>(index)];
            if (isFirst) send(index + first);
        });
    };
    {
        std::vector<std::future<void>> callers;
        for (int caller = 0; caller < 4; ++caller) {
            callers.push_back(std::async(std::launch::async, [&, caller] {
                for (int index = caller; index < first; index += 4)
                    send(index);
            }));
        }
    }
    EXPECT_TRUE(session.finish(std::chrono::seconds(30)));
    for (const auto& completed : completions)
        EXPECT_EQ(completed, 1) << "request " << &completed - completions.data();
    EXPECT_EQ(server.requests().size(), completions.size());
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
