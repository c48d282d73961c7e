#pragma once

#include <QColor>
#include <QObject>
#include <QSystemTrayIcon>
#include <cstdint>
#include <functional>

#include "painter/PaintedMenu.h"
#include "platform/painterprotocol/PainterMessages.h"

namespace quorvel::painter {

/// The status item in the tray of an X display. Owned by the painter, and hidden with this object.
class PaintedTrayIcon final : public QObject {
public:
    explicit PaintedTrayIcon(std::function<void(std::uint64_t item)> chosen);

    /// False when there is no tray. Once in a tray, it goes with it and comes again with the next.
    bool show(const ShowTrayIcon& request);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void openMenu();
    void adaptToTray();
    void paint();

    PaintedMenu menu;
    Image image;
    /// In which a template is drawn; trays are dark or light whatever the theme of windows is.
    QColor templateColor = Qt::black;
    QSystemTrayIcon icon;
};

}  // namespace quorvel::painter
