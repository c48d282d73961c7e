#pragma once

#include <chrono>
#include <cstdint>
#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/linux/icons/IconMessages.h"
#include "platform/linux/process/ChildProcess.h"

struct sd_event;
struct sd_event_source;

namespace quorvel {

struct IconLimits {
    /// How long a decoder may take to raise its fence.
    std::chrono::milliseconds startTime = std::chrono::seconds(30);
    /// How long it may take over a picture.
    std::chrono::milliseconds pictureTime = std::chrono::seconds(10);
    /// How long pictures wait for more, to be shown together.
    std::chrono::milliseconds gathering = std::chrono::milliseconds(250);
    /// More decoders than this are not lost to pictures; none is decoded then any more.
    int mostLost = 32;
};

/// One run of quorvel-icons and the socket to it. Nothing here waits for it: a decoder that is late, or
/// answers what it was not asked, is ended. Owned by the bundle icons. Main thread.
class IconProcess {
public:
    /// Both run inside callbacks of the event loop or inside `decode`: they may neither throw nor destroy
    /// this object.
    struct Handlers {
        /// The picture in the file that was given last; none when there is none in it.
        std::function<void(std::optional<icons::Pixels>)> decoded;
        /// Runs once, last, with the reason as a sentence.
        std::function<void(std::string)> ended;
    };

    /// The error is a sentence.
    static std::expected<std::unique_ptr<IconProcess>, std::string> start(
        sd_event* loop, const std::vector<std::string>& command, const IconLimits& limits, Handlers handlers);

    /// Ends the decoder, which has nothing to lose; it is reaped as long as the loop runs.
    ~IconProcess();
    IconProcess(const IconProcess&) = delete;
    IconProcess& operator=(const IconProcess&) = delete;

    /// Asks for the picture in an open file, which can be closed afterwards. One at a time. False when the
    /// decoder has ended, as `ended` says or will say.
    bool decode(int file);
    /// Whether the decoder has raised its fence: until then, its end is not a picture's fault.
    bool isReady() const { return saidReady; }

private:
    struct Release {
        void operator()(sd_event_source* source) const;
    };
    using Source = std::unique_ptr<sd_event_source, Release>;

    IconProcess(ChildProcess process, const IconLimits& limits, Handlers handlers);
    bool watch(sd_event* loop);
    void expect(std::chrono::milliseconds within);
    void readAnswer();
    void take(const icons::Answer& answer);
    void end(std::string reason);

    IconLimits limits;
    Handlers handlers;
    ChildProcess process;
    Source socketSource;
    /// Runs while an answer is due.
    Source lateTimer;
    bool saidReady = false;
    bool isDecoding = false;
};

}  // namespace quorvel
