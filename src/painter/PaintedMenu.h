#pragma once

#include <QMenu>
#include <cstdint>
#include <functional>

#include "platform/painterprotocol/MenuContent.h"

namespace quorvel::painter {

/// A menu of the program as widgets: every text as it is, no letter of it underlined. Owned by whatever shows
/// it.
class PaintedMenu final : public QMenu {
public:
    explicit PaintedMenu(std::function<void(std::uint64_t item)> chosen);

    /// Also while it is open, where it then changes in its place.
    void setContent(const MenuContent& content);

    /// Where the pointer is; on Wayland, where no program knows that, as a window without a frame where the
    /// compositor places it.
    void popUp();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void closeWithFocus();
    void fill(QMenu& menu, const std::vector<MenuContent::Item>& items);
    QAction* add(QMenu& menu, const MenuContent::Item& item);

    std::function<void(std::uint64_t)> chosen;
    QList<QAction*> actionsWithKeys;
};

}  // namespace quorvel::painter
