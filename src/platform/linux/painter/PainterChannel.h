#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/Desktop.h"
#include "platform/linux/EventQueue.h"
#include "platform/linux/icons/IconProvider.h"
#include "platform/linux/process/Worker.h"
#include "platform/linux/statusitem/TrayItem.h"
#include "platform/painterprotocol/PainterMessages.h"

namespace quorvel {

/// The windows, alerts, pasteboard and, where no panel does, the status item of the program, put on the
/// screen by a painter that is started when it is first needed. All that is shown is kept here as values: a
/// painter that ends while it still shows something is replaced, once within `restartPause`, and sent
/// everything again; when that one ends too, the windows count as closed, the alerts as dismissed, and the
/// next request tries anew. An alert that is shown already comes to the front instead of a second one with
/// the same texts. Owned by the entry, on the main queue.
class PainterChannel final : public WindowServer, public Alerts, public Pasteboard {
public:
    explicit PainterChannel(EventQueue& queue,
                            std::vector<std::string> command = {helperProgram("quorvel-painter")});
    ~PainterChannel() override;
    PainterChannel(const PainterChannel&) = delete;
    PainterChannel& operator=(const PainterChannel&) = delete;

    std::unique_ptr<Window> makeWindow(WindowContent content,
                                       std::weak_ptr<WindowDelegate> delegate) override;
    void runAlert(const std::string& messageText, const std::string& informativeText,
                  Task dismissed) override;
    void setText(const std::string& text) override;

    /// One at a time; `icons` may be null.
    std::unique_ptr<TrayItem> makeTrayItem(IconProvider* icons);
    /// Opens the menu of the tray item where the pointer is, whether or not the item is shown.
    void popUpMenu();

    /// `lost` runs once, later, when a painter finds no display after an earlier one had found it. Known only
    /// when one is started anew, as when what it showed has gone with the display.
    void onDisplayLost(Task lost) { displayLost = std::move(lost); }

    /// What the desktop gave along with the user's last action, for the next window, alert or menu.
    void setActivationToken(std::string token) { activationToken = std::move(token); }

private:
    static constexpr std::chrono::seconds restartPause{5};

    class RemoteWindow;
    class RemoteTrayItem;
    struct Alert {
        std::string messageText, informativeText;
        /// One for each time that it was asked for.
        std::vector<Task> dismissed;
    };

    bool isNeeded() const;
    bool startIfNeeded();
    void sendAll();
    void send(painter::Request request);

    void ended(const std::string& reason);
    void giveUp();
    void loseTrayIcon();

    void received(const std::string& line);
    void handle(const painter::Hello&) {}
    void handle(const painter::WindowClosed& closed);
    void handle(const painter::ButtonPressed& pressed);
    void handle(const painter::AlertDismissed& dismissed);
    void handle(const painter::PasteboardLost& lost);
    void handle(const painter::TrayIconMissing& missing);
    void handle(const painter::MenuItemChosen& chosen);
    void handle(const painter::MenuClosed& closed);

    EventQueue& queue;
    const std::vector<std::string> command;

    std::uint64_t lastNumber = 0;
    std::map<std::uint64_t, RemoteWindow*> windows;
    std::map<std::uint64_t, Alert> alerts;
    /// As long as this text is what the pasteboard holds.
    std::optional<painter::SetPasteboard> pasteboard;
    RemoteTrayItem* trayItem = nullptr;
    std::string activationToken;

    std::optional<std::chrono::steady_clock::time_point> lastRestart;
    bool hadDisplay = false;
    Task displayLost;
    std::shared_ptr<Worker> worker;
    /// Whether the present painter has come as far as its hello, which it says once it has a display.
    bool saidHello = false;
    /// Held weakly by the windows, the tray item and queued tasks.
    std::shared_ptr<PainterChannel> self{this, [](PainterChannel*) {}};
};

}  // namespace quorvel
