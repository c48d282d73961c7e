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
        daemon = std::make_unique<Process>(std::vector<std::string>{"/usr/bin/env", "dbus-daemon",
                                                                    "--config-file=" + configuration.string(),
                                                                    "--print-address", "--nofork"});
        address = daemon->readLine();
        if (address.empty()) throw std::runtime_error("no session bus: " + daemon->finish().errors);
        variable.emplace("DBUS_SESSION_BUS_ADDRESS", address);
    }

    /// Ends the bus under its clients.
    void end() { daemon.reset(); }

    std::string address;

private:
    TemporaryFolder folder;
    std::unique_ptr<Process> daemon;
    std::optional<ScopedVariable> variable;
};

}  // namespace quorvel
