#pragma once

#include <gtest/gtest.h>
#include <memory>

#include "platform/linux/bus/SessionBus.h"
#include "support/FakePanel.h"
#include "support/PrivateBus.h"

namespace quorvel {

/// The program's side and a panel's, in one loop on a session bus of their own.
class BusFixture : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(bus.connect());
        panel = std::make_unique<FakePanel>(queue);
    }

    PrivateBus daemon;
    EventQueue queue;
    SessionBus bus{queue};
    std::unique_ptr<FakePanel> panel;
};

}  // namespace quorvel
