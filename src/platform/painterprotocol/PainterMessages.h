#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "platform/Image.h"
#include "platform/Window.h"
#include "platform/painterprotocol/MenuContent.h"

/// The messages between the program and its painter: one a line, in UTF-8 JSON, as its name and the list of
/// its fields, `["setText",[1,"text"]]`; each side's `Hello` first. Requests go to the painter, events come
/// from it. Numbers are given out by the program and mean nothing to the painter.
namespace quorvel::painter {

inline constexpr std::uint64_t protocolVersion = 5;
/// In bytes, without the line feed. A longer line is not read.
inline constexpr std::size_t maxRequestSize = 16 * 1024 * 1024;
/// Events are small; the bound keeps a faulty painter from filling the program's memory.
inline constexpr std::size_t maxEventSize = 1024 * 1024;

struct Hello {
    std::uint64_t version = protocolVersion;
};

/// Where the user left a window's content, in the painter's own coordinates, which the program only keeps.
struct Placement {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;

    bool operator==(const Placement&) const = default;
};

/// Shows the window in front of everything else, or brings what there is of it up to date and to the front.
struct ShowWindow {
    std::uint64_t window = 0;
    /// Distinguishes this showing from earlier ones, so that a `WindowClosed` that crosses it means the right
    /// one.
    std::uint64_t showing = 0;
    WindowContent content;
    TableRows rows;
    std::optional<Placement> placement;
    /// Proves to the desktop that its user asked for this window; empty when the desktop gave none.
    std::string activationToken;
};

struct CloseWindow {
    std::uint64_t window = 0;
};

struct SetText {
    std::uint64_t window = 0;
    std::string text;
};

struct SetRows {
    std::uint64_t window = 0;
    TableRows rows;
};

/// Shows the alert, or brings the one of this number to the front.
struct RunAlert {
    std::uint64_t alert = 0;
    std::string messageText;
    std::string informativeText;
    std::string activationToken;
};

struct SetPasteboard {
    std::uint64_t content = 0;
    std::string text;
};

/// Shows the status item in the tray of the X display, or brings what is shown of it up to date. Answered by
/// `TrayIconMissing` where there is no tray.
struct ShowTrayIcon {
    /// Distinguishes this showing from earlier ones, so that an answer which crosses another request means
    /// the right one.
    std::uint64_t showing = 0;
    Image image;
    std::string toolTip;
    MenuContent menu;
};

struct HideTrayIcon {};

/// Opens the menu where the pointer is, in place of one that is open. Ends with `MenuClosed`.
struct PopUpMenu {
    std::uint64_t popUp = 0;
    MenuContent menu;
    std::string activationToken;
};

/// What the menu shows from now on, if it is still open.
struct SetMenu {
    std::uint64_t popUp = 0;
    MenuContent menu;
};

using Request = std::variant<Hello, ShowWindow, CloseWindow, SetText, SetRows, RunAlert, SetPasteboard,
                             ShowTrayIcon, HideTrayIcon, PopUpMenu, SetMenu>;

struct WindowClosed {
    std::uint64_t window = 0;
    std::uint64_t showing = 0;
    Placement placement;
};

struct ButtonPressed {
    std::uint64_t window = 0;
    std::string title;
};

struct AlertDismissed {
    std::uint64_t alert = 0;
};

/// Another program has put something on the pasteboard.
struct PasteboardLost {
    std::uint64_t content = 0;
};

/// There is no tray; the painter does not wait for one. Once the icon is in a tray, it follows its tray when
/// that is started again.
struct TrayIconMissing {
    std::uint64_t showing = 0;
};

struct MenuItemChosen {
    std::uint64_t item = 0;
};

/// Comes after the choice that closed the menu.
struct MenuClosed {
    std::uint64_t popUp = 0;
};

using Event = std::variant<Hello, WindowClosed, ButtonPressed, AlertDismissed, PasteboardLost,
                           TrayIconMissing, MenuItemChosen, MenuClosed>;

/// The line without its line feed; malformed UTF-8 in it has become U+FFFD.
std::string encode(const Request& request);
std::string encode(const Event& event);

/// None for a line that is not, as a whole, one such message.
std::optional<Request> decodeRequest(std::string_view line);
std::optional<Event> decodeEvent(std::string_view line);

}  // namespace quorvel::painter
