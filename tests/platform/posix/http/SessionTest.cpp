#include <atomic>
#include <dlfcn.h>
#include <functional>
#include <memory>
#include <netdb.h>
#include <semaphore>
#include <string_view>
#include <thread>

#include "platform/posix/http/SessionFixture.h"

namespace {

std::binary_semaphore lookUpStarted{0}, lookUpMayEnd{0};
std::atomic<bool> lookUpEnded = false;

}  // namespace

/// Stands before the system's, and finds no end for one name.
extern "C" int getaddrinfo(const char* name, const char* service, const addrinfo* hints, addrinfo** found) {
    static const auto next = reinterpret_cast<decltype(&getaddrinfo)>(dlsym(RTLD_NEXT, "getaddrinfo"));
    if (name == nullptr || std::string_view(name) != "lost.example") return next(name, service, hints, found);
    lookUpStarted.release();
    (void)lookUpMayEnd.try_acquire_for(std::chrono::seconds(20));
    lookUpEnded = true;
    lookUpEnded.notify_one();
    return EAI_AGAIN;
}

namespace quorvel {
namespace {

const Reply silent{.pieces = {}, .then = Then::stall};

TEST(Session, completesEachRequestOnceOnItsOwnThreadAlsoThatOfACompletion) {
    constexpr int each = 20;
    ScriptedServer server(std::vector<Reply>(each * 2, ScriptedServer::answer("{}")));
    std::atomic<int> completed = 0;
    CurlSession session;
    const std::function<void(bool)> send = [&](bool isFirst) {
        session.dataTask(post(server.url("/")),
                         [&, isFirst, caller = std::this_thread::get_id()](const HttpOutcome& outcome) {
                             const bool isElsewhere = std::this_thread::get_id() != caller;
                             if (text(outcome) == "200 {}" && isElsewhere == isFirst) ++completed;
                             if (isFirst) send(false);
                         });
    };
    for (int turn = 0; turn < each; ++turn)
        send(true);
    EXPECT_TRUE(session.finish(std::chrono::seconds(30)));
    EXPECT_EQ(completed, each * 2);
    EXPECT_EQ(server.requests().size(), each * 2);
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
        lookUpStarted.acquire();
        EXPECT_FALSE(session.finish(std::chrono::milliseconds(50)));
        send(server.url("/"));
    }
    EXPECT_FALSE(lookUpEnded);
    lookUpMayEnd.release();
    lookUpEnded.wait(false);
    lookUpEnded = false;
    EXPECT_FALSE(*owned);
    EXPECT_EQ(owned.use_count(), 1);
}

}  // namespace
}  // namespace quorvel
