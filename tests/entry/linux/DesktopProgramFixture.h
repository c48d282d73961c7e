#pragma once

#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

#include "support/FakePanel.h"
#include "support/Process.h"
#include "support/TemporaryFolder.h"

namespace quorvel {

/// The real status-item program with the sample applications and a real catalog, watched on the session bus
/// that the environment names; its files are in the test's folder.
class DesktopProgramFixture : public testing::Test {
protected:
    DesktopProgramFixture();

    /// Makes `panel`, for which the session bus must be there.
    void watchSession();
    void startCatalog(std::vector<std::string> options = {});
    /// At once, with the connections that it holds.
    void endCatalog();
    /// At the address that the program knows.
    void restartCatalog(std::vector<std::string> options = {});

    virtual std::vector<std::string> command() const;
    std::vector<std::string> commandWith(const std::vector<std::string>& options) const;

    /// Starts the program; its item is on the panel that the test plays afterwards.
    void start();
    bool waitForRegistration(std::size_t count);

    /// Like runUntil, also for what no event of the loop tells.
    bool comesTrue(const std::function<bool()>& condition);

    /// The newest menu once it has an item of that label.
    ShownMenu menuWith(const std::string& label);
    bool choose(const ShownItem& chosen) { return panel->click(item, chosen.id); }
    bool choose(const std::string& label) { return choose(menuWith(label).root.named(label)); }

    /// What the catalog was asked, in order: tracking events by their message, others by their path.
    std::vector<std::string> recordedMessages() const;
    std::string log() const { return folder.read("storage/error.log"); }

    TemporaryFolder folder;
    EventQueue queue;
    std::unique_ptr<FakePanel> panel;
    std::unique_ptr<Process> catalog;
    std::string url;
    std::unique_ptr<Process> program;
    /// The bus name under which the program's item is called.
    std::string item;
};

}  // namespace quorvel
