#pragma once

#include <algorithm>
#include <memory>
#include <stdlib.h>
#include <string>
#include <vector>

#include "support/Process.h"

namespace quorvel {

/// A virtual display and a session bus, which the environment of this process names while it lives, and the
/// tools to use them by hand. A panel, or a tray, is started by the test.
class VirtualDesktop {
public:
    VirtualDesktop() {
        for (const char* tool : {"Xvfb", "xfce4-panel", "trayer", "xdotool", "xclip", "import"}) {
            if (run({"which", tool}).status != 0) {
                reason = std::string(tool) + " is not installed";
                return;
            }
        }
        // Ends by itself should the test be killed.
        constexpr const char* tell =
            "printf '%s\\n' \"$DISPLAY\" \"$DBUS_SESSION_BUS_ADDRESS\" \"$HOME\"; exec sleep 115";
        desktop = std::make_unique<Process>(
            std::vector<std::string>{SOURCE_ROOT "/tools/virtual-desktop", "sh", "-c", tell});
        setenv("DISPLAY", desktop->readLine().c_str(), 1);
        setenv("DBUS_SESSION_BUS_ADDRESS", desktop->readLine().c_str(), 1);
        home = desktop->readLine();
        if (home.empty()) throw std::runtime_error("no virtual desktop: " + desktop->finish().errors);
    }
    ~VirtualDesktop() {
        unsetenv("DISPLAY");
        unsetenv("DBUS_SESSION_BUS_ADDRESS");
    }

    const std::string& reasonToSkip() const { return reason; }

    /// Hosts status items at the left end of the screen's upper edge.
    std::unique_ptr<Process> startPanel() const {
        return start(
            {"HOME=" + home, "XDG_CONFIG_HOME=" + home + "/.config", "xfce4-panel", "--disable-wm-check"});
    }

    /// Shows the icons of X clients at the same place, on a dark ground, and knows nothing of the session
    /// bus.
    static std::unique_ptr<Process> startTray() {
        return start({"trayer", "--edge", "top", "--align", "left", "--widthtype", "request", "--heighttype",
                      "pixel", "--height", "26", "--transparent", "true", "--alpha", "0", "--tint",
                      "0x202020"});
    }

    static std::unique_ptr<Process> start(std::vector<std::string> words) {
        words.insert(words.begin(), "/usr/bin/env");
        return std::make_unique<Process>(std::move(words));
    }

    /// Runs a tool to its end.
    static Process::Result run(std::vector<std::string> words) { return start(std::move(words))->finish(); }

    /// The visible window with exactly that title; empty when there is none.
    static std::string windowNamed(const std::string& title) {
        return firstFound("--name", "^" + title + "$");
    }

    /// Any visible window of the painter, an icon in a tray too.
    static std::string paintedWindow() { return firstFound("--class", "^quorvel$"); }

    /// Also into a menu, which never has the focus.
    static void type(const std::string& window, const std::vector<std::string>& keys) {
        for (const auto& key : keys)
            run({"xdotool", "key", "--window", window, key});
    }

    /// The process that shows the window; 0 when the window is gone.
    static pid_t ownerOf(const std::string& window) {
        const auto owner = run({"xdotool", "getwindowpid", window}).output;
        return owner.empty() ? 0 : std::stoi(owner);
    }

    /// In pixels from the upper left corner of the window, or of the screen when there is none.
    static void click(int x, int y, const std::string& window = "") {
        std::vector<std::string> words{"xdotool", "mousemove"};
        if (!window.empty()) words.insert(words.end(), {"--window", window});
        words.insert(words.end(), {std::to_string(x), std::to_string(y), "click", "1"});
        run(words);
    }

    /// Whether the panel's left end, where the first status item goes, is more than background.
    static bool showsIcon() {
        const auto colours = run({"import", "-silent", "-window", "root", "-crop", "26x26+0+0", "-depth", "8",
                                  "-format", "%k", "info:-"})
                                 .output;
        return !colours.empty() && colours != "1";
    }

    /// Whether the panel's left end shows anything white.
    static bool showsWhite() {
        return run({"import", "-silent", "-window", "root", "-crop", "26x26+0+0", "-format", "%[fx:maxima]",
                    "info:-"})
                   .output == "1";
    }

    /// Whether the panel's plugin has a menu open beside the place of its icons.
    static bool showsPanelMenu() {
        const auto windows = run({"xdotool", "search", "--onlyvisible", "--class", "wrapper-2.0"}).output;
        return std::ranges::count(windows, '\n') > 1;
    }

private:
    static std::string firstFound(const std::string& property, const std::string& pattern) {
        const auto found = run({"xdotool", "search", "--onlyvisible", property, pattern}).output;
        return found.substr(0, found.find('\n'));
    }

    std::string reason;
    std::string home;
    std::unique_ptr<Process> desktop;
};

}  // namespace quorvel
