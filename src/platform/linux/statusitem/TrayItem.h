#pragma once

#include <cstddef>
#include <functional>
#include <memory>

#include "platform/Queue.h"
#include "platform/StatusBar.h"

namespace quorvel {

/// A status item that can stand in the tray of an X display. It keeps its values whether or not it is shown.
/// Main thread.
class TrayItem : public StatusItem {
public:
    /// Looks for a tray and shows the item there. `missing` runs at most once, later, when there is none or
    /// the item could not be kept in it.
    virtual void show(std::function<void()> missing) = 0;
    virtual void hide() = 0;
};

/// Decides when a status item that no panel hosts looks for a tray: three times within a minute, in which a
/// session has started what it will start, and then never again, so that nothing wakes up for it. Owned by
/// the status item. Main thread.
class TraySearch {
public:
    TraySearch(Queue& mainQueue, TrayItem& trayItem);

    /// Whether a panel hosts the item from now on; each absence of a host starts a new search.
    void hostsChanged(bool isHosted);

private:
    void searchLater();
    void search();

    Queue& queue;
    TrayItem& item;
    std::size_t searches = 0;
    /// Held weakly by what waits, and replaced with each change of the hosts: then it does nothing.
    std::shared_ptr<int> absence;
};

}  // namespace quorvel
