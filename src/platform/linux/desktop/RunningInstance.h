#pragma once

#include <functional>
#include <string>

#include "platform/linux/bus/SessionBus.h"

namespace quorvel {

/// Makes sure that a session has one running instance of the program: the first owns a name on the session
/// bus, and is asked there for what a later start wants. Speaks the interface org.freedesktop.Application, so
/// that a desktop can ask too. Owned by an entry; main thread.
class RunningInstance {
public:
    /// `busName` is what the first instance owns; its object has the path made of the same words.
    RunningInstance(SessionBus& bus, std::string busName);

    enum class Claim {
        first,    ///< this process is the session's instance
        another,  ///< there is one already
        unknown,  ///< without a bus nobody can know
    };

    /// Waits for the bus to answer.
    Claim claim();

    struct Request {
        /// Empty when this instance is asked to show itself.
        std::string action;
        /// Proves to the desktop that its user asked for what is shown then; empty when there is no proof.
        std::string activationToken;
    };

    /// Asks the other instance. False when it did not answer within a few seconds.
    bool ask(const Request& request);

    /// What to do when a later start, or the desktop, asks.
    void onRequest(std::function<void(const Request&)> handler);

private:
    static const sd_bus_vtable vtable[];

    int activate(sd_bus_message* message);
    int activateAction(sd_bus_message* message);
    void post(Request request);

    SessionBus& bus;
    const std::string busName;
    const std::string objectPath;
    std::function<void(const Request&)> handler;
    BusSlot object;
};

}  // namespace quorvel
