#pragma once

#include <QSystemTrayIcon>
#include <cstdint>
#include <functional>

#include "painter/PaintedMenu.h"
#include "platform/PainterMessages.h"

namespace quorvel::painter {

/// The status item in the tray of an X display. Owned by the painter, and hidden with this object.
class PaintedTrayIcon {
public:
    explicit PaintedTrayIcon(std::function<void(std::uint64_t item)> chosen);

    /// False when there is no tray. Once in a tray, it goes with it and comes again with the next.
    bool show(const ShowTrayIcon& request);

private:
    void openMenu();

    PaintedMenu menu;
    QSystemTrayIcon icon;
};

}  // namespace quorvel::painter
