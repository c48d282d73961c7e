#include <zlib.h>

#include "http/SessionFixture.h"

namespace quorvel {
namespace {

/// `plain` as gzip, or as a bare deflate stream.
std::string compressed(const std::string& plain, bool bare = false) {
    z_stream stream{};
    deflateInit2(&stream, Z_BEST_COMPRESSION, Z_DEFLATED, bare ? -MAX_WBITS : MAX_WBITS + 16, 8,
                 Z_DEFAULT_STRATEGY);
    std::string input = plain;
    std::string output(deflateBound(&stream, input.size()), '\0');
    stream.next_in = reinterpret_cast<unsigned char*>(input.data());
    stream.avail_in = static_cast<uInt>(input.size());
    stream.next_out = reinterpret_cast<unsigned char*>(output.data());
    stream.avail_out = static_cast<uInt>(output.size());
    deflate(&stream, Z_FINISH);
    output.resize(stream.total_out);
    deflateEnd(&stream);
    return output;
}

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
    const std::string damaged = "200 badServerResponse: HOST sent a compressed answer that is damaged.";
    const std::string zip = compressed("{\"a\":1}");
    const std::string half = zip.substr(0, zip.size() / 2);
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
        {"gzip under its old name", coded("X-Gzip", zip), "200 {\"a\":1}"},
        {"two gzip members", coded("gzip", zip + zip), "200 {\"a\":1}{\"a\":1}"},
        {"bare deflate", coded("deflate", compressed("{}", true)), "200 {}"},
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
        {"half a gzip stream", coded("gzip", half), "200 " + lost},
        {"one byte less of gzip", coded("gzip", zip.substr(0, zip.size() - 1)), "200 " + lost},
        {"damaged gzip", coded("gzip", "not gzip at all"), damaged},
        {"rubbish after gzip", coded("gzip", zip + "rubbish"), damaged},
        {"a coding nobody asked for", coded("br", "x"),
         "200 badServerResponse: HOST sent an answer in a coding that was not asked for."},
        {"two codings", coded("gzip, gzip", zip),
         "200 badServerResponse: HOST sent an answer in a coding that was not asked for."},
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
        {"a gzip bomb", coded("gzip", compressed(std::string(500'000, 'x'))),
         "200 dataLengthExceedsMaximum: HOST sent an answer longer than 1000 bytes."},
    };
}

TEST(Answer, isWholeOrAnErrorThatNamesTheHost) {
    CurlSession session({.moreAuthorities = {}, .longestAnswer = 1000});
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
