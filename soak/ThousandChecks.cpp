#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iostream>
#include <iterator>

#include "entry/linux/DesktopProgramFixture.h"
#include "support/PrivateBus.h"

namespace quorvel {
namespace {

/// What a process holds, by /proc.
struct Holdings {
    explicit Holdings(pid_t process) {
        const auto folder = "/proc/" + std::to_string(process);
        descriptors = count(folder + "/fd");
        threads = count(folder + "/task");
        std::ifstream status(folder + "/status");
        for (std::string line; std::getline(status, line);) {
            if (line.starts_with("RssAnon:")) privateKilobytes = std::stol(line.substr(8));
        }
    }

    std::ptrdiff_t descriptors, threads;
    long privateKilobytes = 0;

private:
    static std::ptrdiff_t count(const std::string& folder) {
        return std::distance(std::filesystem::directory_iterator(folder), {});
    }
};

/// The real program, on a session bus of its own.
class ThousandChecks : public DesktopProgramFixture {
protected:
    PrivateBus daemon;
};

TEST_F(ThousandChecks, leaveNothingBehind) {
    watchSession();
    panel->come();
    startCatalog();
    start();
    menuWith(found);
    const auto checkUntil = [&](std::ptrdiff_t count) {
        const auto reported = [&] {
            return std::ranges::count(recordedMessages(),
                                      "instance_running trigger=manual apps=35 updates=15");
        };
        for (auto number = reported(); number < count; ++number) {
            const auto seen = panel->layoutUpdates.size();
            choose(panel->menu(item).named("Check for Updates"));
            // A menu when the check starts, another when it has ended.
            ASSERT_TRUE(comesTrue([&] { return panel->layoutUpdates.size() >= seen + 2; }));
        }
        ASSERT_TRUE(comesTrue([&] { return reported() == count; }));
    };
    checkUntil(100);
    const Holdings before(program->id());
    checkUntil(1000);
    // The last answer may still be under way, and one connection is kept open for a while.
    EXPECT_TRUE(comesTrue([&] { return Holdings(program->id()).descriptors <= before.descriptors + 1; }));
    const Holdings after(program->id());
    EXPECT_EQ(after.threads, before.threads);
    // The heap settles within two thousand checks, some 180 kB higher.
    EXPECT_LE(after.privateKilobytes, before.privateKilobytes + 256);
    std::cout << before.privateKilobytes << " kB of its own before, " << after.privateKilobytes << " after\n";
}

}  // namespace
}  // namespace quorvel
