#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/StatusBar.h"
#include "platform/linux/bus/SessionBus.h"
#include "platform/linux/statusitem/DBusMenu.h"
#include "platform/linux/statusitem/StatusNotifierWatcher.h"
#include "platform/linux/statusitem/TrayItem.h"

namespace quorvel {

/// The status item that the user sees: on the session bus for the panels that host such items
/// (`org.kde.StatusNotifierItem`), or else in a tray, never in both. Without a bus it is there and nobody
/// sees it. Main thread.
class StatusNotifierItem final : public StatusItem {
public:
    static constexpr const char* path = "/StatusNotifierItem";

    /// Runs on the queue with what a panel gives along with a click, for what the click opens.
    using TokenHandler = std::function<void(std::string activationToken)>;

    /// The item is shown in a tray only where there may be one. The icons and the handler may be null.
    StatusNotifierItem(SessionBus& sessionBus, IconProvider* menuIcons, std::unique_ptr<TrayItem> inTray,
                       bool mayHaveTray, TokenHandler onToken);
    StatusNotifierItem(const StatusNotifierItem&) = delete;
    StatusNotifierItem& operator=(const StatusNotifierItem&) = delete;

    void setImage(std::shared_ptr<const Image> newImage) override;
    void setToolTip(const std::string& text) override;
    void setMenu(std::shared_ptr<const Menu> newMenu) override;

private:
    static const sd_bus_vtable vtable[];

    int iconPixmap(sd_bus_message* reply);
    int toolTip(sd_bus_message* reply);
    int provideActivationToken(sd_bus_message* call);
    void emit(const char* signal);

    SessionBus& bus;
    DBusMenu menu;
    TokenHandler tokenGiven;
    std::shared_ptr<const Image> image = std::make_shared<Image>();
    /// Where hosts find the image, and under which name; both empty when the icon theme has none.
    std::string themePath, themeName;
    std::string toolTipText;
    BusSlot objectSlot;
    std::unique_ptr<TrayItem> trayItem;
    TraySearch traySearch;
    StatusNotifierWatcher watcher;
};

}  // namespace quorvel
