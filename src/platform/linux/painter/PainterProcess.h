#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <expected>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/linux/process/ChildProcess.h"
#include "platform/painterprotocol/PainterMessages.h"

struct sd_event;
struct sd_event_source;

namespace quorvel {

struct PainterLimits {
    /// How long a painter may take to say hello.
    std::chrono::milliseconds helloTime = std::chrono::seconds(30);
    /// A painter that ends twice within this time is not started a third time.
    std::chrono::milliseconds restartPause = std::chrono::seconds(5);
    /// Bytes that wait for a painter which does not read.
    std::size_t mostWaiting = 2 * painter::maxRequestSize;
};

/// One run of the painter program and the socket to it, which is the program's standard input. Nothing here
/// waits for the painter. Owned by the painter channel. Main thread.
class PainterProcess {
public:
    /// Both run inside callbacks of the event loop or inside `send`: they may neither throw nor destroy this
    /// object.
    struct Handlers {
        std::function<void(painter::Event)> event;
        /// Runs once, last, with the reason as a sentence.
        std::function<void(std::string)> ended;
    };

    /// The error is a sentence. The painter must say hello, in this version of the protocol, before all else.
    static std::expected<std::unique_ptr<PainterProcess>, std::string> start(
        sd_event* loop, const std::vector<std::string>& command, const PainterLimits& limits,
        Handlers handlers);

    /// The painter sees its input end and ends by itself; it is reaped as long as the loop runs.
    ~PainterProcess();
    PainterProcess(const PainterProcess&) = delete;
    PainterProcess& operator=(const PainterProcess&) = delete;

    /// Whether it has come as far as its hello, which it says once it has a display.
    bool hasSaidHello() const { return saidHello; }

    /// Queues a line, given without its line feed.
    void send(const std::string& line);

private:
    struct Release {
        void operator()(sd_event_source* source) const;
    };
    using Source = std::unique_ptr<sd_event_source, Release>;

    PainterProcess(ChildProcess process, const PainterLimits& limits, Handlers handlers);
    bool isEnded() const { return process.socket() < 0; }
    bool watch(sd_event* loop);
    void ready(std::uint32_t events);
    void readSome();
    void takeLines();
    void take(painter::Event event);
    void writeSome();
    void end(std::string reason);

    PainterLimits limits;
    Handlers handlers;
    ChildProcess process;
    Source socketSource;
    Source helloTimer;
    bool saidHello = false;
    std::string input;
    std::string output;
    std::size_t sent = 0;
};

}  // namespace quorvel
