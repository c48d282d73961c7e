#include <csignal>
#include <gtest/gtest.h>
#include <stdlib.h>

#include "platform/linux/process/Worker.h"
#include "support/EventLoop.h"

namespace quorvel {
namespace {

using std::chrono::milliseconds;
using Lines = std::vector<std::string>;

/// Workers that are shell scripts; a message is a line.
class WorkerTest : public testing::Test {
protected:
    std::expected<std::shared_ptr<Worker>, std::string> start(const Lines& command) {
        const Worker::Settings settings{
            .command = command,
            .passesOn = [](std::string_view variable) { return !variable.starts_with("SECRET="); },
            .messageSize = [](std::string_view received) { return received.find('\n') + 1; },
            .maxMessageSize = 100,
            .maxUnsent = 1'000'000};
        return Worker::start(queue, settings,
                             {[this](const std::string& message) {
                                  messages.push_back(message);
                                  if (andThen) andThen();
                              },
                              [this](const std::string& why) { reasons.push_back(why); }});
    }
    void run(const std::string& script) {
        messages.clear();
        reasons.clear();
        worker = start({"/bin/sh", "-c", script}).value();
    }
    /// Until the worker is reaped: what it said, and why it ended.
    void expectEnd(const Lines& expectedMessages, const Lines& expectedReasons) {
        ASSERT_TRUE(
            runUntil(queue, [&] { return reasons.size() >= expectedReasons.size() && childProcess() < 0; }));
        EXPECT_EQ(messages, expectedMessages);
        EXPECT_EQ(reasons, expectedReasons);
    }

    EventQueue queue;
    std::shared_ptr<Worker> worker;
    Lines messages, reasons;
    std::function<void()> andThen;
};

TEST_F(WorkerTest, bringsEachMessageAndThenTheReasonOfItsEnd) {
    struct Row {
        std::string script;
        Lines messages;
        const char* reason = "It ended.";
    };
    const std::string longest(99, 'x');
    const Row rows[] = {
        {"printf 'one\\ntwo\\nthr' >&0", {"one\n", "two\n"}},
        {"printf one >&0; printf '\\n' >&0; kill -9 $$", {"one\n"}},
        {"read word; echo $word >&0", {"word\n"}},
        {"echo $SECRET$PUBLIC >&0", {"public\n"}},
        {"grep -c 'SigBlk:.0*$' /proc/self/status >&0", {"1\n"}},
        {"printf " + longest + "x >&0; echo >&0", {longest + "x\n"}},
        {"printf " + longest + "xx >&0; exec sleep 1000", {}, Worker::protocolBroken},
    };
    queue.onSignal(SIGUSR1, [] {});  // which the main queue blocks, and a worker does not
    setenv("SECRET", "secret", 1);
    setenv("PUBLIC", "public", 1);
    for (const auto& [script, expected, reason] : rows) {
        SCOPED_TRACE(script);
        run(script);
        worker->send("word\n");
        worker->send("word\n");
        expectEnd(expected, {reason});
        worker->send("nobody reads this\n");
        EXPECT_FALSE(worker->sendFile(0));
    }
    EXPECT_EQ(start({SOURCE_ROOT "/none"}).error(),
              "Could not start " SOURCE_ROOT "/none: No such file or directory.");
}

TEST_F(WorkerTest, endsAWorkerThatIsLateOrDoesNotRead) {
    andThen = [this] { worker->expectMessage(milliseconds(1)); };
    run("echo one >&0; exec sleep 1000");
    expectEnd({"one\n"}, {"It did not answer in time."});

    andThen = nullptr;
    run("exec sleep 1000");
    for (int count = 0; count < 4; ++count)
        worker->send(std::string(500'000, 'x'));
    expectEnd({}, {"It does not read its messages."});

    run("exec 3<&0; head -c 900000 <&3 | wc -c >&3");
    worker->send(std::string(900'000, 'x'));
    expectEnd({"900000\n"}, {"It ended."});
}

TEST_F(WorkerTest, hearsNothingMoreOfAWorkerThatWasEndedOrLetGo) {
    andThen = [this] { worker->end("Enough."); };
    run("printf 'one\\ntwo\\n' >&0; exec sleep 1000");
    expectEnd({"one\n"}, {"Enough."});

    andThen = [this] { worker.reset(); };
    run("printf 'one\\ntwo\\n' >&0; read end");
    expectEnd({"one\n"}, {});
}

}  // namespace
}  // namespace quorvel
