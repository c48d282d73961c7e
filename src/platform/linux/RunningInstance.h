#pragma once

#include <functional>
#include <string>

#include "platform/linux/BusSlot.h"
#include "platform/linux/SessionBus.h"

struct sd_bus_message;

namespace quorvel {

/// Makes sure that a session has one running instance of the program: the first owns a name on the session
/// bus, and takes there what a later start asks for. Speaks the interface org.freedesktop.Application, so
/// that a desktop can ask too. Owned by an entry; main thread.
class RunningInstance {
public:
    /// `busName` is what the first instance owns; its object has the path made of the same words.
    RunningInstance(SessionBus& bus, std::string busName);

    enum class Claim {
        first,    ///< this process is the session's instance
        another,  ///< there is one already
        unknown,  ///< without a bus nobody can tell
    };

    /// Waits for the bus to answer.
    Claim claim();

    /// Asks the other instance to carry out an action, or with an empty name to show itself. False when it
    /// did not answer within a few seconds.
    bool ask(const std::string& action);

    /// What to do when a later start, or the desktop, asks for an action; an empty name asks this instance to
    /// show itself.
    void onAction(std::function<void(const std::string&)> handler);

    /// Called by the bus.
    int activate(sd_bus_message* message);
    int activateAction(sd_bus_message* message);

private:
    SessionBus& bus;
    const std::string busName;
    const std::string objectPath;
    std::function<void(const std::string&)> actionHandler;
    BusSlot object;
};

}  // namespace quorvel
