#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/FileDescriptor.h"
#include "platform/linux/EventQueue.h"

namespace quorvel {

/// A program that belongs to the running one: beside it in a build folder, else in ../libexec/quorvel.
std::string helperProgram(const std::string& name);

/// One run of a helper program that is sent messages over a socket, its standard input, and answers there.
/// Nothing here waits for it, and it is reaped as long as the queue runs. The handlers run on the queue and
/// hear nothing once this object is gone, so that a worker is replaced by making another. Main thread.
class Worker : public std::enable_shared_from_this<Worker> {
public:
    struct Settings {
        std::vector<std::string> command;
        /// Which variables of this program's environment, each "NAME=value", the worker gets too.
        bool (*passesOn)(std::string_view variable) = nullptr;
        /// The size of the first message in what was received; 0 while it is not there as a whole.
        std::size_t (*messageSize)(std::string_view received) = nullptr;
        /// In bytes. A worker ends that sends a longer message, or does not read so much that was sent.
        std::size_t maxMessageSize = 0;
        std::size_t maxUnsent = 0;
        /// How long the first message may take.
        std::chrono::milliseconds startTimeout = std::chrono::seconds(30);
    };
    struct Handlers {
        std::function<void(const std::string& message)> received;
        /// Runs once, after all messages, with the reason as a sentence.
        std::function<void(const std::string& reason)> ended;
    };

    /// Why a worker ends whose message does not fit.
    static constexpr const char* protocolBroken = "It broke the protocol.";

    /// The error is a sentence.
    static std::expected<std::shared_ptr<Worker>, std::string> start(EventQueue& queue, Settings settings,
                                                                     Handlers handlers);

    /// Queues bytes for a worker that does not read them yet.
    void send(std::string_view bytes);
    /// Sends one byte along with an open file, which can be closed afterwards. False when the worker takes
    /// none, of which `ended` will say why.
    bool sendFile(int file);
    /// Ends the worker unless it sends a message within this time.
    void expectMessage(std::chrono::milliseconds timeout);
    /// Kills the worker and drops what it sent last. A worker that is only let go sees its input end.
    void end(const std::string& reason);

private:
    Worker(EventQueue& queue, Settings settings, Handlers handlers);
    std::optional<std::string> launch();
    bool watch();
    void readSome();
    void writeSome();
    void handleLater();
    void handleNext();
    void stop(const std::string& reason);

    EventQueue& queue;
    const Settings settings;
    const Handlers handlers;
    /// Names the process without ever meaning another one that got its number.
    FileDescriptor process;
    /// None once the worker has ended.
    FileDescriptor socket;
    EventSource socketSource;
    /// Runs while a message is expected.
    EventSource timer;
    std::string input;
    std::string output;
    /// Set until `ended` has run.
    std::optional<std::string> endReason;
};

}  // namespace quorvel
