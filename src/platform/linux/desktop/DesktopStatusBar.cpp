#include "platform/linux/desktop/DesktopStatusBar.h"

#include <cstdlib>
#include <string>
#include <string_view>
#include <utility>

#include "platform/linux/statusitem/StatusNotifierItem.h"

namespace quorvel {

namespace {

bool isSet(const char* variable) {
    const char* const value = getenv(variable);
    return value != nullptr && !std::string_view(value).empty();
}

/// Below a Wayland compositor an X display is there for old programs and has no tray that could be seen.
bool isOnXDisplay() {
    return isSet("DISPLAY") && !isSet("WAYLAND_DISPLAY");
}

}  // namespace

std::unique_ptr<StatusItem> DesktopStatusBar::makeStatusItem() {
    return std::make_unique<StatusNotifierItem>(
        bus, icons, painter.makeTrayItem(icons), isOnXDisplay(),
        [this](std::string token) { painter.setActivationToken(std::move(token)); });
}

}  // namespace quorvel
