#pragma once

#include "platform/StatusBar.h"
#include "platform/linux/IconProvider.h"
#include "platform/linux/SessionBus.h"

namespace quorvel {

/// The panel of a Linux desktop, for the one status item of the program. The connection is made before the
/// item; `icons` may be null.
class StatusNotifierBar final : public StatusBar {
public:
    explicit StatusNotifierBar(SessionBus& sessionBus, IconProvider* menuIcons = nullptr)
        : bus(sessionBus), icons(menuIcons) {}

    /// One at a time: hosts look for a program's item at one path only.
    std::unique_ptr<StatusItem> makeStatusItem() override;

private:
    SessionBus& bus;
    IconProvider* icons;
    int itemCount = 0;
};

}  // namespace quorvel
