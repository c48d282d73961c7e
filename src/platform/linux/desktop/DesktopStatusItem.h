#pragma once

#include <memory>
#include <optional>

#include "platform/StatusBar.h"
#include "platform/linux/bus/SessionBus.h"
#include "platform/linux/statusitem/StatusNotifierHosts.h"
#include "platform/linux/statusitem/TrayItem.h"
#include "platform/linux/statusitem/TraySearch.h"

namespace quorvel {

/// The one status item that the user sees: on the session bus for a panel, or else in a tray, never in both.
/// Main thread.
class DesktopStatusItem final : public StatusItem {
public:
    /// `trayItem` is shown only where the program knows of a display that may have a tray.
    DesktopStatusItem(SessionBus& bus, std::unique_ptr<StatusItem> panelItem,
                      std::unique_ptr<TrayItem> trayItem, bool mayHaveTray);

    void setImage(const Image& image) override;
    void setToolTip(const std::string& text) override;
    void setMenu(std::shared_ptr<const Menu> menu) override;

private:
    std::unique_ptr<StatusItem> panelItem;
    std::unique_ptr<TrayItem> trayItem;
    std::optional<TraySearch> search;
    std::optional<StatusNotifierHosts> hosts;
};

}  // namespace quorvel
