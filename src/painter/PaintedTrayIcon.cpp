#include "painter/PaintedTrayIcon.h"

#include <QApplication>
#include <QEvent>
#include <QScreen>
#include <QTimer>
#include <utility>

#include "painter/Style.h"

namespace quorvel::painter {

namespace {

QImage imageOf(const Bitmap& bitmap) {
    return QImage(bitmap.rgba.data(), bitmap.width, bitmap.height, qsizetype{4} * bitmap.width,
                  QImage::Format_RGBA8888)
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

/// The window in the tray. Without one Qt has put the icon on the session bus, where it found a host for it:
/// there the program has an item of its own.
QWidget* windowInTray() {
    for (QWidget* const widget : QApplication::topLevelWidgets()) {
        if (widget->inherits("QSystemTrayIconSys")) return widget;
    }
    return nullptr;
}

/// Whether what the corners of `place` show is dark; the icon does not reach into them.
bool isDark(QScreen& screen, const QRect& place) {
    const QRect local = place.translated(-screen.geometry().topLeft());
    const QImage ground = screen.grabWindow(0, local.x(), local.y(), local.width(), local.height()).toImage();
    if (ground.isNull()) return false;
    const int right = ground.width() - 1, bottom = ground.height() - 1;
    int brightness = 0;
    for (const QPoint corner : {QPoint(0, 0), QPoint(right, 0), QPoint(0, bottom), QPoint(right, bottom)})
        brightness += qGray(ground.pixel(corner)) / 4;
    constexpr int middle = 128;
    return brightness < middle;
}

}  // namespace

PaintedTrayIcon::PaintedTrayIcon(std::function<void(std::uint64_t)> chosen) : menu(std::move(chosen)) {
    icon.setContextMenu(&menu);
    connect(&icon, &QSystemTrayIcon::activated, this, [this](auto reason) {
        if (reason == QSystemTrayIcon::Trigger) openMenu();
    });
}

bool PaintedTrayIcon::show(const ShowTrayIcon& request) {
    menu.setContent(request.menu);
    image = request.image;
    paint();
    icon.setToolTip(lineFrom(request.toolTip));
    if (icon.isVisible()) return true;
    if (!QSystemTrayIcon::isSystemTrayAvailable()) return false;
    icon.show();
    QWidget* const window = windowInTray();
    if (window) window->installEventFilter(this);
    return window != nullptr;
}

void PaintedTrayIcon::paint() {
    icon.setIcon(iconFrom(image, templateColor));
}

bool PaintedTrayIcon::eventFilter(QObject* watched, QEvent* event) {
    // Once it is painted, its place is known.
    if (event->type() == QEvent::Paint) QTimer::singleShot(0, this, [this] { adaptToTray(); });
    return QObject::eventFilter(watched, event);
}

void PaintedTrayIcon::adaptToTray() {
    const QRect place = icon.geometry();
    QScreen* const screen = QGuiApplication::screenAt(place.center());
    if (screen == nullptr || place.isEmpty()) return;
    const QColor color = isDark(*screen, place) ? Qt::white : Qt::black;
    if (color == templateColor) return;
    templateColor = color;
    paint();
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
