#include <gtest/gtest.h>

#include "platform/AnnouncedPathMonitor.h"
#include "support/FakePathMonitor.h"
#include "support/FakeQueue.h"

namespace quorvel {
namespace {

TEST(AnnouncedPathMonitor, announcesItsFirstReportOrItsTimeoutOnce) {
    for (const bool reports : {true, false}) {
        FakeQueue queue;
        const auto path = std::make_shared<FakePath>();
        std::string events;
        AnnouncedPathMonitor monitor(std::make_unique<FakePathMonitor>(path), queue, std::chrono::seconds(1),
                                     [&] { events += "announced "; });
        monitor.start("label", [&](PathStatus) { events += "reported "; });
        queue.advance(std::chrono::milliseconds(999));
        EXPECT_EQ(events, "");
        if (reports) path->report(PathStatus::unsatisfied);
        queue.advance(std::chrono::milliseconds(1));
        EXPECT_EQ(events, reports ? "reported announced " : "announced ");
        path->report(PathStatus::satisfied);
        queue.advance(std::chrono::seconds(1));
        EXPECT_EQ(events, reports ? "reported announced reported " : "announced reported ");
        monitor.cancel();
        path->report(PathStatus::unsatisfied);
        EXPECT_TRUE(events.ends_with("reported ")) << "nothing more";
    }
}

}  // namespace
}  // namespace quorvel
