#include "platform/posix/http/SessionFixture.h"

namespace quorvel {
namespace {

/// {"a":1}, and twenty thousand times "x".
const std::string zip("\037\213\010\0\0\0\0\0\002\003\253VJT\2622\254\005\0\257\254\033V\007\0\0\0", 27);
const std::string bomb(
    "\037\213\010\0\0\0\0\0\002\003\355\3011\001\0\0\0\302\240\332\213o\015\017\240\0\0\0\0\0\0"
    "\0\0\0\0\0\0\0\0\0\0\0\0x0\003GeA N\0\0",
    54);

Reply coded(const std::string& coding, const std::string& body) {
    return ScriptedServer::answer(body, "Content-Encoding: " + coding + "\r\n");
}

Reply bytesThenClose(std::string bytes) {
    return {.pieces = {std::move(bytes)}, .then = Then::close};
}

struct AnswerCase {
    const char* name;
    Reply reply;
    /// HOST stands for the server's address.
    std::string expected;
};

std::vector<AnswerCase> answerCases() {
    const std::string ok = "HTTP/1.1 200 OK\r\n";
    const std::string lost =
        "connectionLost: The connection to HOST was lost before the answer was complete.";
    const std::string notHttp = "badServerResponse: HOST sent an answer that is not HTTP/1.";
    const std::string damaged = "200 badServerResponse: HOST sent a compressed answer that cannot be read.";
    return {
        {"whole", ScriptedServer::answer("{}"), "200 {}"},
        {"204", bytesThenClose("HTTP/1.1 204 No Content\r\n\r\n"), "204 "},
        {"an error status keeps its body",
         bytesThenClose("HTTP/1.1 404 Not Found\r\nContent-Length: 2\r\n\r\nno"), "404 no"},
        // A redirect is an answer like any other.
        {"a redirect that keeps the method, to another host",
         bytesThenClose("HTTP/1.1 307 Temporary Redirect\r\nLocation: http://localhost/\r\n"
                        "Content-Length: 0\r\n\r\n"),
         "307 "},
        {"interim answers are passed over",
         bytesThenClose("HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 103 Hints\r\nA: b\r\n\r\n" + ok +
                        "Content-Length: 2\r\n\r\n{}"),
         "200 {}"},
        {"chunked, with a trailer",
         bytesThenClose(ok + "Transfer-Encoding: chunked\r\n\r\n2\r\n{}\r\n0\r\nHTTP/1.1 404: x\r\n\r\n"),
         "200 {}"},
        {"gzip", coded("gzip", zip), "200 {\"a\":1}"},
        {"nothing at all", bytesThenClose(""), lost},
        {"half a status line", bytesThenClose("HTTP/1.1 2"), lost},
        {"half a head", bytesThenClose(ok + "Content-Le"), lost},
        {"an interim answer alone", bytesThenClose("HTTP/1.1 100 Continue\r\n\r\n"), lost},
        {"half a body", bytesThenClose(ok + "Content-Length: 9\r\n\r\n{}"), "200 " + lost},
        {"chunks without their end", bytesThenClose(ok + "Transfer-Encoding: chunked\r\n\r\n2\r\n{}\r\n"),
         "200 " + lost},
        {"a chunk whose size is no number",
         bytesThenClose(ok + "Transfer-Encoding: chunked\r\n\r\nzz\r\n{}\r\n0\r\n\r\n"), "200 " + lost},
        // The body is whole as HTTP has it; its reader finds the JSON cut.
        {"one byte less of gzip", coded("gzip", zip.substr(0, zip.size() - 1)), "200 {\"a\":1}"},
        {"damaged gzip", coded("gzip", "not gzip at all"), damaged},
        {"a coding that nobody knows", coded("rot13", "x"), damaged},
        {"HTTP/0.9", bytesThenClose("<html>hello</html>"), notHttp},
        {"a head without end",
         bytesThenClose(ok +
                        [] {
                            std::string lines;
                            for (int i = 0; i < 9000; ++i)
                                lines += "Header: with a value of some length\r\n";
                            return lines;
                        }()),
         "badServerResponse: HOST sent headers without end."},
        {"a header line without end", bytesThenClose(ok + "Header: " + std::string(400'000, 'x')),
         "badServerResponse: HOST sent headers without end."},
        {"as long as allowed", ScriptedServer::answer(std::string(1000, 'x')),
         "200 " + std::string(1000, 'x')},
        {"announced too long", ScriptedServer::answer(std::string(1001, 'x')),
         "dataLengthExceedsMaximum: HOST sent an answer longer than 1000 bytes."},
        {"too long in chunks",
         bytesThenClose(ok + "Transfer-Encoding: chunked\r\n\r\n3e9\r\n" + std::string(1001, 'x') +
                        "\r\n0\r\n\r\n"),
         "200 dataLengthExceedsMaximum: HOST sent an answer longer than 1000 bytes."},
        {"a gzip bomb", coded("gzip", bomb),
         "200 dataLengthExceedsMaximum: HOST sent an answer longer than 1000 bytes."},
    };
}

TEST(Answer, isWholeOrAnErrorThatNamesTheHost) {
    CurlSession session({.moreAuthorities = {}, .maxAnswer = 1000});
    for (const auto& [name, reply, expected] : answerCases()) {
        ScriptedServer server({reply});
        EXPECT_EQ(exchange(session, post(server.url("/"))), withHost(expected, server.host())) << name;
        EXPECT_EQ(server.requests().size(), 1u) << name;
    }
}

}  // namespace
}  // namespace quorvel
