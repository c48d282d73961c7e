#pragma once

#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace quorvel {

/// In points; the origin is at the bottom left of the window's content.
struct Frame {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;

    bool operator==(const Frame&) const = default;
};

enum class FontRole { system, boldSystem, monospaced };
enum class ColorRole { label, secondaryLabel, tertiaryLabel };

struct Font {
    FontRole role = FontRole::system;
    double points = 13;

    bool operator==(const Font&) const = default;
};

/// A centred text on one line that nobody edits.
struct Label {
    Frame frame;
    std::string text;
    Font font;
    ColorRole color = ColorRole::label;
};

struct Button {
    enum class Style {
        rounded,
        link,  ///< no border; underlined, in the link colour
    };

    Frame frame;
    std::string title;
    Style style = Style::rounded;
};

/// A read-only text that scrolls up and down and grows with its window.
struct TextView {
    Frame frame;
    Font font;
    double inset = 0;
    std::string text;
};

/// A table that grows with its window; its rows are asked for when they are shown.
struct TableView {
    struct Column {
        std::string identifier;
        std::string title;
        double width = 0;
    };

    Frame frame;
    double rowHeight = 0;
    Font font;
    std::vector<Column> columns;
};

using View = std::variant<Label, Button, TextView, TableView>;

/// A window as a value, centred on the screen. Where it is resizable, its text view or table stretches.
struct WindowContent {
    std::string title;
    double width = 0;
    double height = 0;
    bool isResizable = false;
    std::vector<View> views;
};

/// The rows of a table as they are at this moment: for each row, its texts in the order of the columns.
using TableRows = std::vector<std::vector<std::string>>;

/// What a window asks of whoever made it, and the events that it reports. Main thread.
class WindowDelegate {
public:
    virtual ~WindowDelegate() = default;
    virtual void buttonPressed(const std::string& title) = 0;
    virtual TableRows tableRows() { return {}; }
};

/// A window on the screen, made by a `WindowServer`; closed by its user, shown again by `show`. Main thread.
class Window {
public:
    virtual ~Window() = default;
    /// Shows the window, or what there is of it, in front of everything else.
    virtual void show() = 0;
    /// Replaces the whole text of the window's text view.
    virtual void setText(const std::string& text) = 0;
    /// Asks for the table's rows anew.
    virtual void reloadTable() = 0;
};

}  // namespace quorvel
