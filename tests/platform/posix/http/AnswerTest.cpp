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
    return {.pieces = {std::move(bytes)}, .then = Then::close, .pause = {}};
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
        {"without a body", ScriptedServer::answer(""), "200 "},
        {"204", bytesThenClose("HTTP/1.1 204 No Content\r\n\r\n"), "204 "},
        {"an error status keeps its body",
         bytesThenClose("HTTP/1.1 404 Not Found\r\nContent-Length: 2\r\n\r\nno"), "404 no"},
        // A redirect is an answer like any other: neither to a path nor to another host, to plain HTTP or in
        // a circle is it followed.
        {"a redirect to a path",
         bytesThenClose("HTTP/1.1 302 Found\r\nLocation: /\r\nContent-Length: 0\r\n\r\n"), "302 "},
        {"a redirect that keeps the method, to another host",
         bytesThenClose("HTTP/1.1 307 Temporary Redirect\r\nLocation: http://localhost/\r\n"
                        "Content-Length: 0\r\n\r\n"),
         "307 "},
        {"a redirect for ever",
         bytesThenClose("HTTP/1.1 308 Permanent Redirect\r\nLocation: file:///etc/passwd\r\n"
                        "Content-Length: 0\r\n\r\n"),
         "308 "},
        {"interim answers are passed over",
         bytesThenClose("HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 103 Hints\r\nA: b\r\n\r\n" + ok +
                        "Content-Length: 2\r\n\r\n{}"),
         "200 {}"},
        {"chunked, with a trailer",
         bytesThenClose(ok + "Transfer-Encoding: chunked\r\n\r\n2\r\n{}\r\n0\r\nHTTP/1.1 404: x\r\n\r\n"),
         "200 {}"},
        {"ended by the connection's end", bytesThenClose(ok + "\r\n{}"), "200 {}"},
        {"gzip", coded("gzip", zip), "200 {\"a\":1}"},
        {"gzip without a body", coded("gzip", ""), "200 "},
        {"nothing at all", bytesThenClose(""), lost},
        {"half a status line", bytesThenClose("HTTP/1.1 2"), lost},
        {"half a head", bytesThenClose(ok + "Content-Le"), lost},
        {"a head without its end", bytesThenClose(ok + "Content-Length: 2\r\n"), lost},
        {"an interim answer alone", bytesThenClose("HTTP/1.1 100 Continue\r\n\r\n"), lost},
        {"half a body", bytesThenClose(ok + "Content-Length: 9\r\n\r\n{}"), "200 " + lost},
        {"half a chunk", bytesThenClose(ok + "Transfer-Encoding: chunked\r\n\r\n9\r\n{}"), "200 " + lost},
        {"chunks without their end", bytesThenClose(ok + "Transfer-Encoding: chunked\r\n\r\n2\r\n{}\r\n"),
         "200 " + lost},
        {"a chunk whose size is no number",
         bytesThenClose(ok + "Transfer-Encoding: chunked\r\n\r\nzz\r\n{}\r\n0\r\n\r\n"), "200 " + lost},
        {"a chunk whose size is below zero",
         bytesThenClose(ok + "Transfer-Encoding: chunked\r\n\r\n-2\r\n{}\r\n0\r\n\r\n"), "200 " + lost},
        {"a chunk whose size is beyond 64 bits",
         bytesThenClose(ok + "Transfer-Encoding: chunked\r\n\r\nfffffffffffffffff\r\n{}\r\n0\r\n\r\n"),
         "200 " + lost},
        {"a chunk that is longer than its size",
         bytesThenClose(ok + "Transfer-Encoding: chunked\r\n\r\n1\r\n{}\r\n0\r\n\r\n"), "200 " + lost},
        // The body is whole as HTTP has it; its reader finds the JSON cut.
        {"one byte less of gzip", coded("gzip", zip.substr(0, zip.size() - 1)), "200 {\"a\":1}"},
        {"damaged gzip", coded("gzip", "not gzip at all"), damaged},
        {"a coding that nobody knows", coded("rot13", "x"), damaged},
        {"HTTP/0.9", bytesThenClose("<html>hello</html>"), notHttp},
        {"another protocol", bytesThenClose("SSH-2.0-server\r\n"), notHttp},
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
    for (const auto& [name, reply, pattern] : answerCases()) {
        ScriptedServer server({reply});
        std::string expected = pattern;
        const auto place = expected.find("HOST");
        if (place != std::string::npos)
            expected.replace(place, 4, "127.0.0.1:" + std::to_string(server.port()));
        EXPECT_EQ(text(exchange(session, post(server.url("/")))), expected) << name;
        EXPECT_EQ(server.requests().size(), 1u) << name;
    }
}

}  // namespace
}  // namespace quorvel
