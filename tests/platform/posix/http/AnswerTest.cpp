#include "platform/posix/http/SessionFixture.h"
#include "support/Texts.h"

namespace quorvel {
namespace {

/// {"a":1}, and twenty thousand times "x".
const std::string zip("\037\213\010\0\0\0\0\0\002\003\253VJT\2622\254\005\0\257\254\033V\007\0\0\0", 27);
const std::string bomb(
    "\037\213\010\0\0\0\0\0\002\003\355\3011\001\0\0\0\302\240\332\213o\015\017\240\0\0\0\0\0\0"
    "\0\0\0\0\0\0\0\0\0\0\0\0x0\003GeA N\0\0",
    54);

std::string whole(const std::string& body, const std::string& headers = "") {
    return ScriptedServer::answer(body, headers).pieces.front();
}

std::string coded(const std::string& coding, const std::string& body) {
    return whole(body, "Content-Encoding: " + coding + "\r\n");
}

TEST(Answer, isWholeOrAnErrorThatNamesTheHost) {
    const std::string ok = "HTTP/1.1 200 OK\r\n", chunked = ok + "Transfer-Encoding: chunked\r\n\r\n";
    const std::string lost =
        "connectionLost: The connection to HOST was lost before the answer was complete.";
    const std::string notHttp = "badServerResponse: HOST sent an answer that is not HTTP/1.";
    const struct {
        const char* name;
        std::string answer, expected;
    } rows[] = {
        {"whole", whole("{}"), "200 {}"},
        {"a redirect is an answer like any other",
         "HTTP/1.1 307 Temporary Redirect\r\nLocation: http://localhost/\r\n"
         "Content-Length: 2\r\n\r\nno",
         "307 no"},
        {"interim answers are passed over",
         "HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 103 Hints\r\nA: b\r\n\r\n" + ok +
             "Content-Length: 2\r\n\r\n{}",
         "200 {}"},
        {"chunked, with a trailer", chunked + "2\r\n{}\r\n0\r\nHTTP/1.1 404: x\r\n\r\n", "200 {}"},
        {"gzip", coded("gzip", zip), "200 {\"a\":1}"},
        {"nothing at all", "", lost},
        {"half a head", ok + "Content-Le", lost},
        {"half a body", ok + "Content-Length: 9\r\n\r\n{}", "200 " + lost},
        {"chunks without their end", chunked + "2\r\n{}\r\n", "200 " + lost},
        {"damaged gzip", coded("gzip", "not gzip at all"),
         "200 badServerResponse: HOST sent a compressed answer that cannot be read."},
        {"HTTP/0.9", "<html>hello</html>", notHttp},
        {"a head without end", ok + repeated(9000, "Header: with a value of some length\r\n"),
         "badServerResponse: HOST sent headers without end."},
        {"as long as allowed", whole(std::string(1000, 'x')), "200 " + std::string(1000, 'x')},
        {"announced too long", whole(std::string(1001, 'x')),
         "dataLengthExceedsMaximum: HOST sent an answer longer than 1000 bytes."},
        {"a gzip bomb", coded("gzip", bomb),
         "200 dataLengthExceedsMaximum: HOST sent an answer longer than 1000 bytes."},
    };
    CurlSession session({.moreAuthorities = {}, .maxAnswer = 1000});
    for (const auto& [name, answer, expected] : rows) {
        ScriptedServer server({{.pieces = {answer}, .then = Then::close}});
        EXPECT_EQ(exchange(session, post(server.url("/"))), withHost(expected, server.host())) << name;
        EXPECT_EQ(server.requests().size(), 1u) << name;
    }
}

}  // namespace
}  // namespace quorvel
