#pragma once

#include <functional>

#include "platform/StatusBar.h"

namespace quorvel {

/// A status item that can stand in the tray of an X display. It keeps what it is told whether or not it is
/// shown. Main thread.
class TrayItem : public StatusItem {
public:
    /// Looks for a tray and shows the item there. `missing` runs at most once, later, when there is none or
    /// the item could not be kept in it.
    virtual void show(std::function<void()> missing) = 0;
    virtual void hide() = 0;
};

}  // namespace quorvel
