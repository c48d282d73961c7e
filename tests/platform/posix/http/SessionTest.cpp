#include <atomic>
#include <dlfcn.h>
#include <functional>
#include <future>
#include <memory>
#include <netdb.h>
#include <string_view>
#include <thread>

#include "platform/posix/http/SessionFixture.h"

namespace {

std::promise<void> lookUpStarted, lookUpMayEnd;
std::atomic<bool> lookUpEnded = false;

}  // namespace

/// Stands before the system's, and finds no end for one name.
extern "C" int getaddrinfo(const char* name, const char* service, const addrinfo* hints, addrinfo** found) {
    static const auto next = reinterpret_cast<decltype(&getaddrinfo)>(dlsym(RTLD_NEXT, "getaddrinfo"));
    if (name == nullptr || std::string_view(name) != "lost.example") return next(name, service, hints, found);
    lookUpStarted.set_value();
    lookUpMayEnd.get_future().wait_for(std::chrono::seconds(20));
    lookUpEnded = true;
    return EAI_AGAIN;
}

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

TEST(Session, destroyedWithRequestsUnderWayWaitsForNothingAndDropsTheirCompletions) {
    ScriptedServer server({silent, silent});
    const auto owned = std::make_shared<bool>(false);
    {
        CurlSession session;
        EXPECT_TRUE(session.finish(std::chrono::seconds(0))) << "nothing was sent";
        const auto send = [&](const std::string& url) {
            session.dataTask(post(url), [owned](const HttpOutcome&) { *owned = true; });
        };
        send(server.url("/"));
        send("http://lost.example");
        ASSERT_TRUE(server.waitForRequests(1));
        lookUpStarted.get_future().wait();
        EXPECT_FALSE(session.finish(std::chrono::milliseconds(50)));
        send(server.url("/"));
    }
    EXPECT_FALSE(lookUpEnded);
    lookUpMayEnd.set_value();
    EXPECT_FALSE(*owned);
    EXPECT_EQ(owned.use_count(), 1);
}

}  // namespace
}  // namespace quorvel
