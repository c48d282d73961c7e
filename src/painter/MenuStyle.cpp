#include "painter/MenuStyle.h"

#include <QGuiApplication>
#include <QStyleOptionMenuItem>

namespace quorvel::painter {

namespace {

/// In pixels.
int moreLines(const QStyleOptionMenuItem& item) {
    return static_cast<int>(item.text.count(QChar::LineSeparator)) * item.fontMetrics.lineSpacing();
}

/// Draws neither the background of a selected item, but keeps its colours, nor a second submenu arrow.
void makeTransparent(QStyleOptionMenuItem& item) {
    item.menuItemType = QStyleOptionMenuItem::Normal;
    if (!item.state.testFlag(QStyle::State_Selected)) return;
    item.state.setFlag(QStyle::State_Selected, false);
    const QColor color = item.palette.color(QPalette::HighlightedText);
    for (const auto role : {QPalette::Text, QPalette::WindowText, QPalette::ButtonText})
        item.palette.setColor(role, color);
}

}  // namespace

bool menusNeedInput() {
    return QGuiApplication::platformName().startsWith(QLatin1String("wayland"));
}

int MenuStyle::styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                         QStyleHintReturn* returned) const {
    // An hour: a submenu opens by a click or a key, which do not wait, and not by standing on its item.
    if (hint == SH_Menu_SubMenuPopupDelay && menusNeedInput()) return 3'600'000;
    return QProxyStyle::styleHint(hint, option, widget, returned);
}

QSize MenuStyle::sizeFromContents(ContentsType type, const QStyleOption* option, const QSize& content,
                                  const QWidget* widget) const {
    const auto size = QProxyStyle::sizeFromContents(type, option, content, widget);
    const auto* const item = qstyleoption_cast<const QStyleOptionMenuItem*>(option);
    return type == CT_MenuItem && item ? size + QSize(0, moreLines(*item)) : size;
}

void MenuStyle::drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                            const QWidget* widget) const {
    const auto draw = [&](const QStyleOption& some) {
        QProxyStyle::drawControl(element, &some, painter, widget);
    };
    const auto* const item = qstyleoption_cast<const QStyleOptionMenuItem*>(option);
    if (element != CE_MenuItem || !item || moreLines(*item) == 0) return draw(*option);
    auto part = *item;
    part.text.clear();
    part.icon = {};
    draw(part);
    makeTransparent(part);
    part.rect.setHeight(item->rect.height() - moreLines(*item));
    part.rect.moveCenter(item->rect.center());
    part.icon = item->icon;
    draw(part);
    part.icon = {};
    part.rect.translate(0, -moreLines(*item) / 2);
    for (const QString& line : item->text.split(QChar::LineSeparator)) {
        part.text = line;
        draw(part);
        part.rect.translate(0, item->fontMetrics.lineSpacing());
    }
}

}  // namespace quorvel::painter
