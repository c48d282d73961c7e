#pragma once

#include <memory>
#include <string_view>
#include <vector>

#include "platform/linux/bus/SessionBus.h"
#include "platform/linux/statusitem/MenuLayout.h"

namespace quorvel {

/// A menu on the session bus for the hosts of status items (`com.canonical.dbusmenu`, version 3). A new menu
/// is announced once, as a whole, and nothing is filled in when the host is about to show it: hosts differ in
/// whether they ask then. Pictures that come later are announced as changes of their items. Main thread.
class DBusMenu {
public:
    static constexpr char path[] = "/MenuBar";

    DBusMenu(SessionBus& sessionBus, IconProvider* icons);
    DBusMenu(const DBusMenu&) = delete;
    DBusMenu& operator=(const DBusMenu&) = delete;

    void setMenu(std::shared_ptr<const Menu> menu);

private:
    static const sd_bus_vtable vtable[];

    int getLayout(sd_bus_message* call);
    int getGroupProperties(sd_bus_message* call);
    int getProperty(sd_bus_message* call);
    int event(sd_bus_message* call);
    int eventGroup(sd_bus_message* call);
    int aboutToShow(sd_bus_message* call);
    int aboutToShowGroup(sd_bus_message* call);
    MenuLayout::Id readItem(sd_bus_message* call) const;
    void handle(MenuLayout::Id id, std::string_view eventName);
    void announce(const std::vector<BundleIcon>& arrived);

    SessionBus& bus;
    IconProvider* icons;
    MenuLayout layout;
    std::shared_ptr<const IconProvider::Arrival> arrival;
    BusSlot objectSlot;
};

}  // namespace quorvel
