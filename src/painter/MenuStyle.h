#pragma once

#include <QProxyStyle>

class QStyleOptionMenuItem;

namespace quorvel::painter {

/// A Wayland compositor takes a window for a menu only right after a click or a key in the window that it
/// belongs to, and closes it at once otherwise.
bool menusNeedInput();

/// The desktop's own style, in which an item of a menu is as high as its title has lines. Menus ask for room
/// for one, and styles know no other: they place icon and title by the item's height, and shorten what is too
/// long for one line. Set for the whole application, since a menu asks its style for sizes before it can be
/// given one of its own.
class MenuStyle final : public QProxyStyle {
public:
    int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                  QStyleHintReturn* returned) const override;
    QSize sizeFromContents(ContentsType type, const QStyleOption* option, const QSize& content,
                           const QWidget* widget) const override;
    void drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                     const QWidget* widget) const override;
};

}  // namespace quorvel::painter
