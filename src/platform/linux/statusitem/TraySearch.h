#pragma once

#include <cstddef>
#include <memory>

#include "platform/Queue.h"
#include "platform/linux/statusitem/TrayItem.h"

namespace quorvel {

/// Decides when a status item that no panel hosts looks for a tray: three times within a minute, in which a
/// session has started what it will start, and then never again, so that nothing wakes up for it. Owned by
/// the status item. Main thread.
class TraySearch {
public:
    TraySearch(Queue& mainQueue, TrayItem& trayItem);

    /// Whether a panel hosts the item from now on; each absence of a host is searched anew.
    void hostsChanged(bool isHosted);

private:
    void lookLater();
    void look();

    Queue& queue;
    TrayItem& item;
    std::size_t looks = 0;
    /// What waits holds it weakly; replaced when that is no longer meant.
    std::shared_ptr<int> absence;
};

}  // namespace quorvel
