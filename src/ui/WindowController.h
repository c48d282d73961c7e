#pragma once

#include <memory>
#include <utility>

#include "platform/Desktop.h"
#include "platform/Window.h"

namespace quorvel {

/// Owns one window from its first showing to the end of the program. Made by `makeWindowController`.
/// Main thread.
class WindowController : public WindowDelegate {
public:
    /// Shows the same window again when its user has closed it.
    void showWindow() { window->show(); }

    /// The window as it is when it is made.
    virtual WindowContent makeContentView() const = 0;

protected:
    std::unique_ptr<Window> window;

private:
    template <typename Controller, typename... Arguments>
    friend std::shared_ptr<Controller> makeWindowController(WindowServer& server, Arguments&&... arguments);
};

/// Makes a controller and its window, which holds the controller weakly.
template <typename Controller, typename... Arguments>
std::shared_ptr<Controller> makeWindowController(WindowServer& server, Arguments&&... arguments) {
    auto controller = std::make_shared<Controller>(std::forward<Arguments>(arguments)...);
    WindowController& base = *controller;
    base.window = server.makeWindow(base.makeContentView(), controller);
    return controller;
}

}  // namespace quorvel
