#pragma once

#include <QTimer>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>

#include "platform/painterprotocol/PainterMessages.h"

namespace quorvel::painter {

class AlertBox;
class PaintedMenu;
class PaintedTrayIcon;
class PaintedWindow;

/// Puts on the screen what the program asks for and reports what the user did. It asks to be ended when for
/// `linger` it has shown nothing, no tray icon either, and no text of this process is on the clipboard:
/// another program that takes such a text asks this one for it, so that the text would end with the process.
/// Main thread.
class Painter {
public:
    Painter(std::chrono::milliseconds linger, std::function<void(const Event&)> report,
            std::function<void()> nothingToDo);
    ~Painter();
    Painter(const Painter&) = delete;
    Painter& operator=(const Painter&) = delete;

    void perform(const Request& request);

private:
    struct Shown {
        std::unique_ptr<PaintedWindow> window;
        std::uint64_t showing = 0;
    };

    void handle(const Hello&) {}
    void handle(const ShowWindow& request);
    void handle(const CloseWindow& request);
    void handle(const SetText& request);
    void handle(const SetRows& request);
    void handle(const RunAlert& request);
    void handle(const SetPasteboard& request);
    void handle(const ShowTrayIcon& request);
    void handle(const HideTrayIcon& request);
    void handle(const PopUpMenu& request);
    void handle(const SetMenu& request);
    void menuClosed(std::uint64_t number);
    std::unique_ptr<PaintedWindow> makeWindow(std::uint64_t number, const WindowContent& content);
    std::unique_ptr<AlertBox> makeAlert(const RunAlert& request);
    void clipboardChanged();
    bool isNeeded() const;
    void considerEnd();

    std::function<void(const Event&)> report;
    std::map<std::uint64_t, Shown> windows;
    std::map<std::uint64_t, std::unique_ptr<AlertBox>> alerts;
    std::unique_ptr<PaintedTrayIcon> trayIcon;
    struct {
        std::uint64_t number = 0;
        std::unique_ptr<PaintedMenu> menu;
    } popUp;
    /// The content that the program has put on the clipboard, as long as it is there.
    std::optional<std::uint64_t> pasteboard;
    QTimer end;
};

}  // namespace quorvel::painter
