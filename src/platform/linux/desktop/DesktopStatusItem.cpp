#include "platform/linux/desktop/DesktopStatusItem.h"

#include <utility>

namespace quorvel {

DesktopStatusItem::DesktopStatusItem(SessionBus& bus, std::unique_ptr<StatusItem> onPanel,
                                     std::unique_ptr<TrayItem> inTray, bool mayHaveTray)
    : panelItem(std::move(onPanel)), trayItem(std::move(inTray)) {
    if (!mayHaveTray) return;
    search.emplace(bus.queue(), *trayItem);
    hosts.emplace(bus, [this](bool areThere) { search->hostsChanged(areThere); });
}

void DesktopStatusItem::setImage(const Image& image) {
    panelItem->setImage(image);
    trayItem->setImage(image);
}

void DesktopStatusItem::setToolTip(const std::string& text) {
    panelItem->setToolTip(text);
    trayItem->setToolTip(text);
}

void DesktopStatusItem::setMenu(std::shared_ptr<const Menu> menu) {
    panelItem->setMenu(menu);
    trayItem->setMenu(std::move(menu));
}

}  // namespace quorvel
