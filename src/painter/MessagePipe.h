#pragma once

#include <QSocketNotifier>
#include <functional>
#include <string>

#include "platform/painterprotocol/PainterMessages.h"

namespace quorvel::painter {

/// The painter's end of the socket to the program. Owned by the entry, on the main thread.
class MessagePipe {
public:
    /// `requested` runs for each request; `ended` once, with an empty text when the program has closed its
    /// end, else with what is wrong as a sentence.
    MessagePipe(int socket, std::function<void(const Request&)> requested,
                std::function<void(const std::string&)> ended);

    void send(const Event& event) const;
    /// Whether the program has sent something that was not read yet.
    bool isWaiting() const;

private:
    void readSome();
    void end(const std::string& reason);

    int socket;
    std::function<void(const Request&)> requested;
    std::function<void(const std::string&)> ended;
    bool saidHello = false;
    std::string input;
    QSocketNotifier notifier;
};

}  // namespace quorvel::painter
