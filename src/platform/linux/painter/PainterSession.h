#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/linux/EventQueue.h"
#include "platform/linux/painter/PainterProcess.h"
#include "platform/linux/statusitem/MenuLayout.h"
#include "platform/painterprotocol/PainterMessages.h"

namespace quorvel {

/// All that should be on the screen, as values, and the painter that puts it there. Owned by the painter
/// channel. On the main queue.
class PainterSession : public std::enable_shared_from_this<PainterSession> {
public:
    PainterSession(EventQueue& queue, std::vector<std::string> command, const PainterLimits& limits);

    /// Windows go by the number that `addWindow` gives them, until they are removed.
    std::uint64_t addWindow(WindowContent content, std::weak_ptr<WindowDelegate> delegate);
    void removeWindow(std::uint64_t number);
    void showWindow(std::uint64_t number);
    void setText(std::uint64_t number, const std::string& text);
    void reloadTable(std::uint64_t number);

    void runAlert(const std::string& messageText, const std::string& informativeText, Task dismissed);
    void setPasteboard(std::string text);

    void addStatusItem(IconProvider* icons);
    void removeStatusItem();
    void setStatusImage(const Image& image);
    void setStatusToolTip(const std::string& text);
    void setStatusMenu(std::shared_ptr<const Menu> menu);
    void showTrayIcon(std::function<void()> missing);
    void hideTrayIcon();
    void popUpMenu();

    void onDisplayLost(Task lost) { displayLost = std::move(lost); }
    void setActivationToken(std::string token) { activationToken = std::move(token); }

private:
    struct ScreenWindow {
        WindowContent content;
        std::weak_ptr<WindowDelegate> delegate;
        std::uint64_t showing = 0;
        std::optional<painter::Placement> placement;
        bool isShown = false;
    };
    struct ScreenAlert {
        std::string messageText, informativeText;
        /// One for each time that it was asked for.
        std::vector<Task> dismissed;
    };

    /// What the status item shows, wherever it is shown.
    struct ScreenStatusItem {
        Image image;
        std::string toolTip;
        std::shared_ptr<const Menu> menu;
        /// The menu's items by their numbers, while the menu is in a tray or open.
        MenuLayout numbers;
        std::shared_ptr<const IconProvider::Arrival> arrival;
    };
    struct TrayIcon {
        std::uint64_t showing = 0;
        std::function<void()> missing;
    };

    bool isNeeded() const;
    bool start();
    template <typename Argument>
    std::function<void(Argument)> posting(void (PainterSession::*take)(const Argument&));

    void sendAll();
    void send(const painter::Request& request);
    void leaveOut(const painter::Request& request);
    void sendWindow(std::uint64_t number);
    void sendAlert(std::uint64_t number);
    void sendTrayIcon();
    void sendPopUp();

    bool isMenuUsed() const { return trayIcon || popUp; }
    void useMenu();
    void releaseMenu();
    void sendMenu();
    void loseTrayIcon();

    void ended(const std::string& reason);
    void noticeDisplay(bool isThere);
    void giveUp();

    void received(const painter::Event& event);
    void take(const painter::Hello&) {}
    void take(const painter::WindowClosed& closed);
    void take(const painter::ButtonPressed& pressed);
    void take(const painter::AlertDismissed& dismissed);
    void take(const painter::PasteboardLost& lost);
    void take(const painter::TrayIconMissing& missing);
    void take(const painter::MenuItemChosen& chosen);
    void take(const painter::MenuClosed& closed);

    EventQueue& queue;
    const std::vector<std::string> command;
    const PainterLimits limits;

    std::uint64_t lastNumber = 0;
    std::map<std::uint64_t, ScreenWindow> windows;
    std::map<std::uint64_t, ScreenAlert> alerts;
    /// As long as this text is what the pasteboard holds.
    std::optional<painter::SetPasteboard> pasteboard;
    std::optional<ScreenStatusItem> status;
    std::optional<TrayIcon> trayIcon;
    /// The number of the menu that is open at the pointer. It goes with its painter.
    std::optional<std::uint64_t> popUp;
    std::string activationToken;

    /// Counts the painters, so that nothing counts that a replaced one said.
    std::uint64_t runs = 0;
    std::optional<std::chrono::steady_clock::time_point> lastRestart;
    bool hadDisplay = false;
    Task displayLost;
    std::unique_ptr<PainterProcess> process;
};

}  // namespace quorvel
