#pragma once

#include "platform/StatusBar.h"
#include "platform/linux/bus/SessionBus.h"
#include "platform/linux/icons/IconProvider.h"
#include "platform/linux/painter/PainterChannel.h"

namespace quorvel {

/// Where a Linux desktop shows the program's one status item: in a panel that hosts it on the session bus, or
/// in a tray of the X display. The connection is made before the item; `icons` may be null. Owned by the
/// entry. Main thread.
class DesktopStatusBar final : public StatusBar {
public:
    DesktopStatusBar(SessionBus& bus, PainterChannel& painter, IconProvider* icons = nullptr)
        : bus(bus), painter(painter), icons(icons) {}

    /// One at a time: hosts look for a program's item at one path only.
    std::unique_ptr<StatusItem> makeStatusItem() override;

private:
    SessionBus& bus;
    PainterChannel& painter;
    IconProvider* icons;
};

}  // namespace quorvel
