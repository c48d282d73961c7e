#include <filesystem>
#include <gtest/gtest.h>
#include <iostream>
#include <iterator>

#include "entry/linux/DesktopProgramFixture.h"
#include "support/PrivateBus.h"

namespace quorvel {
namespace {

/// The real program, on a session bus of its own.
class ThousandChecks : public DesktopProgramFixture {
protected:
    std::filesystem::path process() const { return "/proc/" + std::to_string(program->id()); }

    std::ptrdiff_t count(const char* what) const {
        return std::distance(std::filesystem::directory_iterator(process() / what), {});
    }

    long privateKilobytes() const {
        const auto status = TemporaryFolder::contentOf(process() / "status");
        const std::string name = "RssAnon:";
        return std::stol(status.substr(status.find(name) + name.size()));
    }

    void check(int times) {
        for (int time = 0; time < times; ++time) {
            const auto seen = panel->layoutUpdates.size();
            choose(panel->menu(item).named("Check for Updates"));
            // A menu when the check starts, another when it has ended.
            ASSERT_TRUE(comesTrue([&] { return panel->layoutUpdates.size() >= seen + 2; }));
        }
    }

    PrivateBus daemon;
};

TEST_F(ThousandChecks, leaveNothingBehind) {
    watchSession();
    panel->come();
    startCatalog();
    start();
    menuWith(found);
    check(100);
    const auto descriptors = count("fd"), threads = count("task");
    const auto before = privateKilobytes();
    check(900);
    // The last answer may still be under way, and one connection is kept open for a while.
    EXPECT_TRUE(comesTrue([&] { return count("fd") <= descriptors + 1; }));
    EXPECT_EQ(count("task"), threads);
    // The heap settles within two thousand checks, some 180 kB higher.
    EXPECT_LE(privateKilobytes(), before + 256);
    std::cout << before << " kB of its own before, " << privateKilobytes() << " after\n";
}

}  // namespace
}  // namespace quorvel
