#include "painter/PaintedMenu.h"

#include <QApplication>
#include <QKeyEvent>
#include <QProxyStyle>
#include <QStyleOptionMenuItem>

namespace quorvel::painter {

namespace {

constexpr int iconSide = 16;

/// The desktop's own style, in which an item is as high as its title has lines. Menus ask for room for one,
/// and styles know no other: they place icon and title by the item's height, and shorten what is too long for
/// one line.
class LinesStyle final : public QProxyStyle {
public:
    QSize sizeFromContents(ContentsType type, const QStyleOption* option, const QSize& content,
                           const QWidget* widget) const override {
        const auto size = QProxyStyle::sizeFromContents(type, option, content, widget);
        const auto* const item = qstyleoption_cast<const QStyleOptionMenuItem*>(option);
        return type == CT_MenuItem && item ? size + QSize(0, moreLines(*item)) : size;
    }

    void drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                     const QWidget* widget) const override {
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

private:
    /// In pixels.
    static int moreLines(const QStyleOptionMenuItem& item) {
        return static_cast<int>(item.text.count(QChar::LineSeparator)) * item.fontMetrics.lineSpacing();
    }

    /// Leaves of a selected item its colours, and of one with a submenu no second arrow.
    static void makeTransparent(QStyleOptionMenuItem& item) {
        item.menuItemType = QStyleOptionMenuItem::Normal;
        if (!item.state.testFlag(State_Selected)) return;
        item.state.setFlag(State_Selected, false);
        const QColor color = item.palette.color(QPalette::HighlightedText);
        for (const auto role : {QPalette::Text, QPalette::WindowText, QPalette::ButtonText})
            item.palette.setColor(role, color);
    }
};

QStyle* menuStyle() {
    static auto* const style = [] {
        auto* const made = new LinesStyle;
        made->setParent(QApplication::instance());
        return made;
    }();
    return style;
}

/// Of a line feed a style makes a space, but it breaks the line where a line separator stands.
QString titleOf(const MenuContent::Item& item) {
    return QString::fromStdString(item.title)
        .replace(u'&', QStringLiteral("&&"))
        .replace(u'\n', QChar::LineSeparator);
}

QIcon iconFrom(const std::vector<std::uint8_t>& png) {
    QPixmap picture;
    picture.loadFromData(png.data(), static_cast<uint>(png.size()), "PNG");
    // The file may hold more pixels than points.
    if (picture.width() > iconSide) picture.setDevicePixelRatio(picture.width() / double{iconSide});
    return {picture};
}

}  // namespace

PaintedMenu::PaintedMenu(std::function<void(std::uint64_t)> onChoice) : chosen(std::move(onChoice)) {
    setWindowTitle(QStringLiteral("Quorvel"));
    setAccessibleName(windowTitle());
    setStyle(menuStyle());
    installEventFilter(this);
}

void PaintedMenu::setContent(const MenuContent& content) {
    actionsWithKeys.clear();
    clear();
    qDeleteAll(findChildren<QMenu*>(Qt::FindDirectChildrenOnly));
    fill(*this, content.items);
}

void PaintedMenu::fill(QMenu& menu, const std::vector<MenuContent::Item>& items) {
    for (const auto& item : items) {
        if (item.isSeparator) {
            menu.addSeparator();
            continue;
        }
        QAction* const action = add(menu, item);
        if (!item.submenu) continue;
        auto* const submenu = new QMenu(&menu);
        submenu->setAccessibleName(action->text());
        submenu->setStyle(menuStyle());
        submenu->installEventFilter(this);
        fill(*submenu, *item.submenu);
        action->setMenu(submenu);
    }
}

QAction* PaintedMenu::add(QMenu& menu, const MenuContent::Item& item) {
    QAction* const action = menu.addAction(titleOf(item));
    action->setEnabled(item.isEnabled);
    action->setCheckable(item.state != MenuItem::State::none);
    action->setChecked(item.state == MenuItem::State::on);
    if (item.picture) action->setIcon(iconFrom(*item.picture));
    action->setIconVisibleInMenu(true);
    if (!item.keyEquivalent.empty()) {
        action->setShortcut(
            QKeySequence(QStringLiteral("Ctrl+") + QString::fromStdString(item.keyEquivalent)));
        action->setShortcutVisibleInContextMenu(true);
        actionsWithKeys.append(action);
    }
    connect(action, &QAction::triggered, this, [this, number = item.number] { chosen(number); });
    return action;
}

/// Qt shows a key in a menu that belongs to no window, but does not listen to it.
bool PaintedMenu::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() != QEvent::KeyPress) return QMenu::eventFilter(watched, event);
    const QKeySequence pressed(static_cast<QKeyEvent*>(event)->keyCombination());
    for (QAction* const action : actionsWithKeys) {
        if (action->shortcut() != pressed || !action->isEnabled()) continue;
        close();
        action->trigger();
        return true;
    }
    return QMenu::eventFilter(watched, event);
}

}  // namespace quorvel::painter
