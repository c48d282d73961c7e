#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>
#include <string>
#include <unistd.h>

#include "platform/linux/bus/SessionBus.h"
#include "platform/linux/statusitem/StatusNotifierBar.h"
#include "support/FakePanel.h"
#include "support/PrivateBus.h"

namespace quorvel {

/// The program's side and a panel's, in one loop on a bus of their own.
class StatusItemFixture : public testing::Test {
protected:
    void SetUp() override {
        if (!daemon.reasonToSkip().empty()) GTEST_SKIP() << daemon.reasonToSkip();
        setenv("XDG_DATA_HOME", icons.path.c_str(), 1);
        setenv("XDG_DATA_DIRS", icons.path.c_str(), 1);
        const auto connected = bus.connect();
        ASSERT_TRUE(connected) << connected.error();
        const char* own = nullptr;
        ASSERT_GE(sd_bus_get_unique_name(bus.connection(), &own), 0);
        name = own;
        panel = std::make_unique<FakePanel>(queue);
    }

    /// The item, registered with the panel.
    void start() {
        panel->come();
        item = bar.makeStatusItem();
        ASSERT_TRUE(registered(1));
    }

    bool registered(std::size_t count) {
        return runUntil(queue, [&] { return panel->registrations.size() >= count; });
    }

    /// What the program sent before this call has reached the panel after it.
    void settle() { panel->textProperty(name, "Id"); }

    TemporaryFolder icons;
    PrivateBus daemon;
    EventQueue queue;
    SessionBus bus{queue};
    StatusNotifierBar bar{bus};
    std::unique_ptr<FakePanel> panel;
    std::unique_ptr<StatusItem> item;
    /// By which the panel calls the item.
    std::string name;
};

}  // namespace quorvel
