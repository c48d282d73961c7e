#include <QTest>
#include <array>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <sys/socket.h>
#include <unistd.h>

#include "painter/MessagePipe.h"

namespace quorvel::painter {
namespace {

/// How a painter that is sent this ends, and how many requests it has heard before.
TEST(MessagePipeTest, endsWithAReasonAtWhatItDoesNotUnderstand) {
    const std::string hello = encode(Request(Hello{})) + "\n", hide = encode(Request(HideTrayIcon{})) + "\n";
    const std::string other = "The program does not begin with a hello of this version.";
    struct Row {
        const char* name;
        std::string sent, reason;
        int heard;
    };
    const Row rows[] = {
        {"nothing more", hello + hide, "", 2},
        {"half a request", hello + hide.substr(0, 9), "", 1},
        {"no hello", hide, other, 0},
        {"another hello", hello + hide + hello, other, 2},
        {"of a newer version", "[\"hello\",[1000]]\n", other, 0},
        {"no request", hello + "\n" + hide, "The program's message does not fit the protocol.", 1}};
    for (const auto& [name, sent, reason, heard] : rows) {
        std::array<int, 2> ends{};
        ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()), 0);
        int requests = 0;
        std::optional<std::string> ended;
        MessagePipe pipe(
            ends[0], [&](const Request&) { ++requests; }, [&](const std::string& why) { ended = why; });
        ASSERT_EQ(write(ends[1], sent.data(), sent.size()), static_cast<ssize_t>(sent.size()));
        shutdown(ends[1], SHUT_WR);
        EXPECT_TRUE(QTest::qWaitFor([&] { return ended.has_value(); })) << name;
        EXPECT_EQ(ended, reason) << name;
        EXPECT_EQ(requests, heard) << name;
        close(ends[0]);
        close(ends[1]);
    }
}

}  // namespace
}  // namespace quorvel::painter
