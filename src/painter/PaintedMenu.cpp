#include "painter/PaintedMenu.h"

#include <QApplication>
#include <QCursor>
#include <QKeyEvent>
#include <QWindow>

#include "painter/MenuStyle.h"

namespace quorvel::painter {

namespace {

constexpr int iconSide = 16;

/// Styles draw a line feed as a space, but break the line at a line separator.
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
    installEventFilter(this);
}

void PaintedMenu::popUp() {
    if (menusNeedInput()) setWindowFlags(Qt::Window | Qt::FramelessWindowHint);
    closeWithFocus();
    popup(QCursor::pos());
    activateWindow();
}

/// An ordinary window learns of a click elsewhere in no other way.
void PaintedMenu::closeWithFocus() {
    connect(qGuiApp, &QGuiApplication::applicationStateChanged, this, [this](Qt::ApplicationState state) {
        if (state == Qt::ApplicationInactive) close();
    });
    connect(qGuiApp, &QGuiApplication::focusWindowChanged, this, [this](const QWindow* focused) {
        if (focused && focused != windowHandle() && !QApplication::activePopupWidget()) close();
    });
}

void PaintedMenu::setContent(const MenuContent& content) {
    const auto selected = actions().indexOf(activeAction());
    actionsWithKeys.clear();
    clear();
    qDeleteAll(findChildren<QMenu*>(Qt::FindDirectChildrenOnly));
    fill(*this, content.items);
    // A menu whose pictures arrive while it is open stays at its item.
    if (selected >= 0 && selected < actions().size()) setActiveAction(actions().at(selected));
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
