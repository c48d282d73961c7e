#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>
#include <string>

#include "platform/Queue.h"
#include "platform/Window.h"

/// What the program asks of the desktop around it, each as narrow as its users need it. Main thread.
namespace quorvel {

class WindowServer {
public:
    virtual ~WindowServer() = default;
    /// Nothing is on the screen before `Window::show`. The delegate is held weakly.
    virtual std::unique_ptr<Window> makeWindow(WindowContent content,
                                               std::weak_ptr<WindowDelegate> delegate) = 0;
};

class Alerts {
public:
    virtual ~Alerts() = default;
    /// Shows an alert with an OK button, or brings the one that shows these texts to the front. `dismissed`
    /// runs once, when that is over or no alert could be shown: later, or before this returns where alerts
    /// are modal.
    virtual void runAlert(const std::string& messageText, const std::string& informativeText,
                          Task dismissed) = 0;
};

class Pasteboard {
public:
    virtual ~Pasteboard() = default;
    /// Replaces what is on the general pasteboard by a plain text.
    virtual void setText(const std::string& text) = 0;
};

class Workspace {
public:
    virtual ~Workspace() = default;
    /// Opens an address with the user's own program for it; an address that is none is disregarded.
    virtual void openURL(const std::string& url) = 0;
    /// In bytes. A longer address may be opened by nobody, and nobody says so.
    virtual std::size_t maxURLSize() const = 0;
    /// Shows a file or folder, selected, in the file manager.
    virtual void selectFile(const std::filesystem::path& path) = 0;
};

/// Whether this program opens when the user logs in.
class LoginItem {
public:
    virtual ~LoginItem() = default;
    /// False where the platform has no such thing; nothing offers it then.
    virtual bool isOffered() const = 0;
    /// True on success.
    virtual bool registerItem() = 0;
    virtual bool unregisterItem() = 0;
};

class Application {
public:
    virtual ~Application() = default;
    /// Ends the program's event loop; the program then ends with success.
    virtual void terminate() = 0;
};

}  // namespace quorvel
