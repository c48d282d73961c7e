#pragma once

#include <memory>
#include <optional>
#include <string>

#include "support/Process.h"
#include "support/ScopedVariable.h"
#include "support/TemporaryFolder.h"

namespace quorvel {

/// A session bus of the test's own, on which anybody may own any name. While it lives it is the session bus
/// of this process.
class PrivateBus {
public:
    PrivateBus() {
        const auto configuration = folder.write(
            "bus.conf", "<busconfig><type>session</type><listen>unix:dir=" + folder.path.string() +
                            "</listen><policy context=\"default\"><allow send_destination=\"*\"/>"
                            "<allow receive_sender=\"*\"/><allow own=\"*\"/></policy></busconfig>");
        start({"/usr/bin/env", "dbus-daemon", "--config-file=" + configuration.string(), "--print-address",
               "--nofork"});
        variable.emplace("DBUS_SESSION_BUS_ADDRESS", address);
    }

    const std::string& reasonToSkip() const { return reason; }

    /// Ends the bus under its clients.
    void end() { daemon.reset(); }

    std::string address;

private:
    void start(std::vector<std::string> command) {
        daemon = std::make_unique<Process>(std::move(command));
        address = daemon->readLine();
        constexpr int notFound = 127;
        if (!address.empty()) return;
        const auto result = daemon->finish();
        if (result.status != notFound) throw std::runtime_error("dbus-daemon: " + result.errors);
        reason = "dbus-daemon is not installed";
    }

    TemporaryFolder folder;
    std::unique_ptr<Process> daemon;
    std::optional<ScopedVariable> variable;
    std::string reason;
};

}  // namespace quorvel
