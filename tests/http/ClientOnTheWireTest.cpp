#include "api/OrbistoAPIService.h"
#include "http/SessionFixture.h"
#include "platform/linux/EventQueue.h"

namespace quorvel {
namespace {

constexpr const char* agent = "User-Agent: Quorvel/1.4.2 (macOS 14.2.1)\r\n";

/// The real client, session and main queue against one server.
class Client {
public:
    explicit Client(const ScriptedServer& server)
        : service(session, queue, {{"com.ob.quorvel", "1.4.2"}, {14, 2, 1}}, server.url("/v1")) {}

    /// Runs the main queue until the operation's completion has come; gives "ok" or the error.
    template <typename Operation>
    std::string run(Operation operation) {
        std::string outcome;
        operation(service, [&](const auto& result) {
            outcome += result ? "ok" : description(result.error());
            queue.quit();
        });
        queue.run();
        return outcome;
    }

private:
    EventQueue queue;
    CurlSession session;
    OrbistoAPIService service;
};

/// An operation of the client as its callers use it, and what it puts on the wire.
struct Operation {
    const char* name;
    std::function<std::string(Client&)> run;
    std::string path, headers, body;
    /// How often the server sees it when the first answer never comes.
    std::size_t sendings;

    std::string bytes(const ScriptedServer& server) const {
        return "POST " + path + " HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(server.port()) + "\r\n" +
               headers + agent +
               "Accept-Encoding: gzip, deflate\r\nContent-Length: " + std::to_string(body.size()) +
               "\r\n\r\n" + body;
    }
};

std::string autoMatch(Client& client) {
    return client.run([](auto& service, auto done) {
        service.autoMatch({"Ä \"B\"/\n", "Editor"}, {"com.example.a", ""}, done);
    });
}

std::string registerInstance(Client& client) {
    return client.run(
        [](auto& service, auto done) { service.registerInstance({"1.4.2", "macOS 14.2.1"}, done); });
}

std::string sendInstallEvent(Client& client) {
    return client.run([](auto& service, auto done) { service.sendInstallEvent(done); });
}

std::string track(Client& client) {
    return client.run([](auto& service, auto done) {
        service.post("/qvl/tracking",
                     {48213, "instance", "success", "first_install", "version: 1.4.2\nos: macOS 14.2.1"},
                     done);
    });
}

const std::vector<Operation>& operations() {
    static const std::string json = "Content-Type: application/json\r\nX-ClientId: linkcode48r7vt\r\n";
    static const std::vector<Operation> all{
        {"auto-match", autoMatch, "/v1/apps/auto-match-collection", json,
         R"({"secret":"Rk7vQm2XtLp9Wc4NbZs8Hy3JdGf6Ua5E","titles":["Ä \"B\"/\n","Editor"],)"
         R"("bundle_ids":["com.example.a",""]})",
         2},
        {"registration", registerInstance, "/v1/qvl/instance", json,
         R"({"version":"1.4.2","os":"macOS 14.2.1"})", 1},
        {"install event", sendInstallEvent, "/v1/event/app/64734/install", "X-ClientId: q8t2kzm5ravx7hwe\r\n",
         "", 1},
        {"tracking event", track, "/v1/qvl/tracking", json,
         R"({"instance_id":48213,"source":"instance","status":"success","message":"first_install",)"
         R"("backtrace":"version: 1.4.2\nos: macOS 14.2.1"})",
         1},
    };
    return all;
}

/// An answer that every operation but the registration takes for a success, and one that it takes, too.
const Reply matches = ScriptedServer::answer(R"({"success":true,"data":[]})");
const Reply identity = ScriptedServer::answer(R"({"success":true,"data":{"id":48213}})");

const Reply& answerTo(const Operation& operation) {
    return operation.body.starts_with(R"({"version")") ? identity : matches;
}

TEST(ClientOnTheWire, sendsTheseBytesAndNoOthers) {
    for (const auto& operation : operations()) {
        ScriptedServer server({answerTo(operation)});
        Client client(server);
        EXPECT_EQ(operation.run(client), "ok") << operation.name;
        EXPECT_EQ(server.requests(), std::vector<std::string>{operation.bytes(server)}) << operation.name;
    }
}

/// After a first chunk has opened a connection, the server answers nothing more on it.
TEST(ClientOnTheWire, repeatsAnUnansweredChunkOnceAndNothingElse) {
    for (const auto then : {Then::close, Then::reset}) {
        const Reply dies{.pieces = {}, .then = then, .pause = {}};
        for (const auto& operation : operations()) {
            for (const bool diesAgain : {false, true}) {
                ScriptedServer server({matches, dies, diesAgain ? dies : answerTo(operation), matches});
                Client client(server);
                ASSERT_EQ(autoMatch(client), "ok");
                const bool isRescued = operation.sendings > 1 && !diesAgain;
                EXPECT_EQ(operation.run(client).substr(0, 14), isRescued ? "ok" : "The connection")
                    << operation.name;
                std::vector<std::string> expected(operation.sendings, operation.bytes(server));
                expected.insert(expected.begin(), operations().front().bytes(server));
                EXPECT_EQ(server.requests(), expected) << operation.name;
            }
        }
    }
}

}  // namespace
}  // namespace quorvel
