#pragma once

#include <functional>
#include <gtest/gtest.h>
#include <list>
#include <memory>
#include <string>
#include <vector>

#include "support/FakePanel.h"
#include "support/Process.h"
#include "support/ScopedVariable.h"
#include "support/TemporaryFolder.h"

namespace quorvel {

/// The real status-item program with the sample applications and a real catalog, watched on the session bus
/// that the environment names; its files are in the test's folder.
class DesktopProgramFixture : public testing::Test {
protected:
    using Words = std::vector<std::string>;

    DesktopProgramFixture();

    /// Makes `panel`, for which the session bus must be there.
    void watchSession() { panel = std::make_unique<FakePanel>(queue); }
    void startCatalog();

    Words command() const;
    /// Of a program that is started while the first one runs.
    int statusOfSecondStart(const Words& options = {}) const;

    /// Starts the program, behind the words of another if it needs one; it has a menu afterwards.
    void start(const Words& before = {});

    bool comesTrue(const std::function<bool()>& condition) { return runUntil(queue, condition); }

    /// The newest menu once `condition` holds for it, or once it has an item of that label.
    ShownItem menuWhere(const std::function<bool(const ShownItem& root)>& condition);
    ShownItem menuWith(const std::string& label);
    void choose(const ShownItem& chosen) { EXPECT_TRUE(panel->click(item, chosen.id)); }
    void choose(const std::string& label) { choose(menuWith(label).named(label)); }

    /// What the catalog was asked, in order: tracking events by their message, others by their path.
    Words recordedMessages() const;
    std::string log() const { return folder.read("storage/error.log"); }

    static constexpr const char* item = "com.ob.quorvel";
    static constexpr const char* found = "New Versions Available (15)";

    TemporaryFolder folder;
    std::list<ScopedVariable> environment;
    EventQueue queue;
    std::unique_ptr<FakePanel> panel;
    std::unique_ptr<Process> catalog, program;
    std::string url;
};

}  // namespace quorvel
