#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/StatusBar.h"
#include "platform/linux/bus/BusSlot.h"
#include "platform/linux/bus/SessionBus.h"
#include "platform/linux/statusitem/DBusMenu.h"
#include "platform/linux/statusitem/IconTheme.h"

struct sd_bus_vtable;

namespace quorvel {

/// The status item on the session bus, for the panels that host such items (`org.kde.StatusNotifierItem`). It
/// asks for its place whenever a panel's watcher comes: at the start, late at login, after a panel's restart.
/// Without a bus it is there and nobody sees it. Main thread.
class StatusNotifierItem final : public StatusItem {
public:
    static constexpr const char* path = "/StatusNotifierItem";

    /// Takes what a panel gives along with a click, for what the click opens.
    using TokenHandler = std::function<void(std::string activationToken)>;

    StatusNotifierItem(SessionBus& sessionBus, IconTheme iconTheme, IconProvider* menuIcons,
                       TokenHandler tokenGiven = {});
    StatusNotifierItem(const StatusNotifierItem&) = delete;
    StatusNotifierItem& operator=(const StatusNotifierItem&) = delete;

    void setImage(const Image& newImage) override;
    void setToolTip(const std::string& text) override;
    void setMenu(std::shared_ptr<const Menu> newMenu) override;

private:
    static const sd_bus_vtable* vtable();

    int category(sd_bus_message* reply);
    int identifier(sd_bus_message* reply);
    int title(sd_bus_message* reply);
    int status(sd_bus_message* reply);
    int windowId(sd_bus_message* reply);
    int iconThemePath(sd_bus_message* reply);
    int iconName(sd_bus_message* reply);
    int iconPixmap(sd_bus_message* reply);
    int noText(sd_bus_message* reply);
    int noPixmap(sd_bus_message* reply);
    int toolTip(sd_bus_message* reply);
    int itemIsMenu(sd_bus_message* reply);
    int menuPath(sd_bus_message* reply);
    int provideActivationToken(sd_bus_message* call);

    void publish();
    int watching(sd_bus_message* reply);
    int watcherChanged(sd_bus_message* signal);
    void registerItem();
    void emit(const char* signal);

    SessionBus& bus;
    IconTheme theme;
    DBusMenu menu;
    TokenHandler tokenGiven;
    Image image;
    /// Where hosts find the image, and under which name; both empty when the icon theme has none.
    std::string themePath, themeName;
    std::string toolTipText;
    BusSlot objectSlot, watcherSlot;
};

}  // namespace quorvel
