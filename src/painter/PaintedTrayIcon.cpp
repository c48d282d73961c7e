#include "painter/PaintedTrayIcon.h"

#include <QApplication>
#include <QScreen>
#include <algorithm>
#include <utility>

#include "painter/Looks.h"

namespace quorvel::painter {

namespace {

QImage imageOf(const Bitmap& bitmap) {
    return QImage(bitmap.rgba.data(), bitmap.width, bitmap.height, bitmap.width * 4, QImage::Format_RGBA8888)
        .copy();
}

QIcon iconFrom(const Image& image, const QColor& templateColor) {
    QIcon icon;
    for (const auto& bitmap : image.bitmaps) {
        if (bitmap.rgba.empty()) continue;
        QImage picture = imageOf(bitmap);
        if (image.isTemplate) {
            QImage painted(picture.size(), QImage::Format_ARGB32);
            painted.fill(templateColor.rgb());
            painted.setAlphaChannel(picture.convertToFormat(QImage::Format_Alpha8));
            picture = std::move(painted);
        }
        icon.addPixmap(QPixmap::fromImage(picture));
    }
    return icon;
}

/// Qt puts an icon on the session bus where it finds a host for it there, for which this program has an item
/// of its own.
bool isOnDisplay() {
    return std::ranges::any_of(QApplication::topLevelWidgets(),
                               [](const QWidget* widget) { return widget->inherits("QSystemTrayIconSys"); });
}

}  // namespace

PaintedTrayIcon::PaintedTrayIcon(std::function<void(std::uint64_t)> chosen) : menu(std::move(chosen)) {
    icon.setContextMenu(&menu);
    QObject::connect(&icon, &QSystemTrayIcon::activated, &menu, [this](auto reason) {
        if (reason == QSystemTrayIcon::Trigger) openMenu();
    });
}

bool PaintedTrayIcon::show(const ShowTrayIcon& request) {
    menu.setContent(request.menu);
    icon.setIcon(iconFrom(request.image, QApplication::palette().color(QPalette::WindowText)));
    icon.setToolTip(lineFrom(request.toolTip));
    if (icon.isVisible()) return true;
    if (!QSystemTrayIcon::isSystemTrayAvailable()) return false;
    icon.show();
    return isOnDisplay();
}

/// Beside the icon: above it when it is at the lower edge of its screen.
void PaintedTrayIcon::openMenu() {
    const QRect place = icon.geometry();
    const QScreen* const screen = QGuiApplication::screenAt(place.center());
    const bool isBelow = screen != nullptr && place.center().y() > screen->geometry().center().y();
    const int y = isBelow ? place.top() - menu.sizeHint().height() : place.bottom() + 1;
    menu.popup({place.left(), y});
}

}  // namespace quorvel::painter
