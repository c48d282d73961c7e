#pragma once

#include <functional>
#include <string>
#include <utility>

#include "platform/StatusBar.h"
#include "platform/linux/bus/SessionBus.h"
#include "platform/linux/icons/IconProvider.h"

namespace quorvel {

/// The panel of a Linux desktop, for the one status item of the program. The connection is made before the
/// item; the icons may be null.
class StatusNotifierBar final : public StatusBar {
public:
    explicit StatusNotifierBar(SessionBus& sessionBus, IconProvider* menuIcons = nullptr,
                               std::function<void(std::string activationToken)> onToken = {})
        : bus(sessionBus), icons(menuIcons), tokenGiven(std::move(onToken)) {}

    /// One at a time: hosts look for a program's item at one path only.
    std::unique_ptr<StatusItem> makeStatusItem() override;

private:
    SessionBus& bus;
    IconProvider* icons;
    std::function<void(std::string)> tokenGiven;
};

}  // namespace quorvel
