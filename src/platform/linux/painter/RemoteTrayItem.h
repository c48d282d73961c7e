#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "platform/linux/painter/PainterChannel.h"
#include "platform/linux/statusitem/MenuLayout.h"

namespace quorvel {

/// The status item as the program holds it, in the tray and with its menu where the pointer is.
class PainterChannel::RemoteTrayItem final : public TrayItem {
public:
    RemoteTrayItem(PainterChannel& owner, IconProvider* icons) : channel(owner.self), layout(icons) {
        owner.trayItem = this;
        if (icons) arrival = icons->onArrival([this](const auto&) { sendMenu(); });
    }
    ~RemoteTrayItem() override {
        hide();
        if (const auto owner = channel.lock()) owner->trayItem = nullptr;
    }
    RemoteTrayItem(const RemoteTrayItem&) = delete;
    RemoteTrayItem& operator=(const RemoteTrayItem&) = delete;

    void setImage(std::shared_ptr<const Image> newImage) override {
        image = std::move(newImage);
        sendIcon();
    }
    void setToolTip(const std::string& text) override {
        toolTip = text;
        sendIcon();
    }
    void setMenu(std::shared_ptr<const Menu> newMenu) override {
        menu = std::move(newMenu);
        if (!isMenuUsed()) return;
        layout.setMenu(menu);
        sendMenu();
    }
    void show(std::function<void()> whenMissing) override {
        missing = std::move(whenMissing);
        open(showing, &RemoteTrayItem::sendIcon);
    }
    void hide() override {
        if (!showing) return;
        close(showing);
        send(painter::HideTrayIcon{});
    }
    void popUpMenu() {
        if (menu) open(popUp, &RemoteTrayItem::sendPopUp);
    }

    void sendIcon() {
        if (showing) send(painter::ShowTrayIcon{*showing, *image, toolTip, layout.content()});
    }
    void sendPopUp() {
        if (popUp) send(painter::PopUpMenu{*popUp, layout.content(), ""});
    }
    void choose(std::uint64_t item) const {
        if (!isMenuUsed() || !std::in_range<MenuLayout::Id>(item)) return;
        // Held here: the action itself may bring the menu that takes the place of this one.
        if (const auto target = layout.target(static_cast<MenuLayout::Id>(item))) target->menuAction();
    }
    void close(std::optional<std::uint64_t>& place) {
        place.reset();
        // A menu that nobody shows costs nothing.
        if (!isMenuUsed()) layout.setMenu(nullptr);
    }

    /// The numbers under which it is in the tray, and its menu is open at the pointer; that one goes with its
    /// painter.
    std::optional<std::uint64_t> showing, popUp;
    std::function<void()> missing;

private:
    bool isMenuUsed() const { return showing || popUp; }
    void open(std::optional<std::uint64_t>& place, void (RemoteTrayItem::*sendPlace)()) {
        const auto owner = channel.lock();
        if (!owner) return;
        if (!isMenuUsed()) layout.setMenu(menu);
        place = ++owner->lastNumber;
        if (!owner->startIfNeeded()) (this->*sendPlace)();
    }
    void sendMenu() {
        sendIcon();
        if (popUp) send(painter::SetMenu{*popUp, layout.content()});
    }
    void send(painter::Request request) const {
        if (const auto owner = channel.lock()) owner->send(std::move(request));
    }

    const std::weak_ptr<PainterChannel> channel;
    std::shared_ptr<const Image> image = std::make_shared<Image>();
    std::string toolTip;
    std::shared_ptr<const Menu> menu;
    /// The menu's items by their numbers, while the menu is in a tray or open.
    MenuLayout layout;
    std::shared_ptr<const IconProvider::Arrival> arrival;
};

}  // namespace quorvel
