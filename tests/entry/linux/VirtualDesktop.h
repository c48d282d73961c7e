#pragma once

#include <list>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "support/Process.h"
#include "support/ScopedVariable.h"
#include "support/TemporaryFolder.h"

namespace quorvel {

/// A virtual display and a session bus, which the environment of this process names while it lives, and the
/// tools to use them by hand. A panel, or a tray, is started by the test.
class VirtualDesktop {
public:
    VirtualDesktop() {
        const auto tools =
            run({"which", "Xvfb", "xfce4-panel", "trayer", "xdotool", "import", "weston", "pgrep"});
        if (tools.status != 0) {
            reason = "of the tools that it needs, only these are installed:\n" + tools.output;
            return;
        }
        // Ends by itself should the test be killed.
        constexpr const char* script =
            "printf '%s\\n' \"$DISPLAY\" \"$DBUS_SESSION_BUS_ADDRESS\" \"$HOME\"; exec sleep 115";
        desktop = std::make_unique<Process>(
            std::vector<std::string>{SOURCE_ROOT "/tools/virtual-desktop", "sh", "-c", script});
        environment.emplace_back("DISPLAY", desktop->readLine());
        environment.emplace_back("DBUS_SESSION_BUS_ADDRESS", desktop->readLine());
        home = desktop->readLine();
        if (home.empty()) throw std::runtime_error("no virtual desktop: " + desktop->finish().errors);
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

    /// A Wayland compositor that fills the screen. What is started afterwards is its client.
    std::unique_ptr<Process> startCompositor(const TemporaryFolder& folder) {
        environment.emplace_back("XDG_RUNTIME_DIR", folder.path.string());
        folder.write("weston.ini",
                     "[shell]\npanel-position=none\nstartup-animation=none\n"
                     "background-color=0xff305070\n");
        auto compositor = start({"weston", "--backend=x11-backend.so", "--use-pixman", "--width=1000",
                                 "--height=700", "--idle-time=0", "--socket=wayland-test",
                                 "--config=" + folder.path.string() + "/weston.ini",
                                 "--log=" + folder.path.string() + "/weston.log"});
        environment.emplace_back("WAYLAND_DISPLAY", "wayland-test");
        environment.emplace_back("QT_QPA_PLATFORM", "wayland");
        return compositor;
    }

    /// Takes the display from under its programs.
    void endDisplay() const {
        const auto server = run({"pgrep", "-x", "-P", std::to_string(desktop->id()), "Xvfb"}).output;
        kill(std::stoi(server), SIGTERM);
    }

    /// The visible window with exactly that title; empty when there is none.
    static std::string windowNamed(const std::string& title) {
        return windowWith("--name", "^" + title + "$");
    }
    /// Any visible window of the painter, an icon in a tray too.
    static std::string paintedWindow() { return windowWith("--class", "^quorvel$"); }

    /// In pixels from the upper left corner of the screen.
    static void click(int x, int y) {
        run({"xdotool", "mousemove", std::to_string(x), std::to_string(y), "click", "1"});
    }

    /// Into a window that may have the focus, or into the menu that has the keyboard for itself.
    static void press(std::vector<std::string> keys, const std::string& window = "") {
        keys.insert(keys.begin(), "key");
        if (!window.empty()) keys.insert(keys.begin(), {"windowfocus", "--sync", window});
        keys.insert(keys.begin(), "xdotool");
        run(std::move(keys));
    }

    /// Whether anything has exactly this colour for five pixels in all directions: no text, no line of an
    /// icon.
    static bool shows(const std::string& colour) {
        return run({"convert", "x:root", "-fill", "black", "+opaque", colour, "-fill", "white", "-opaque",
                    colour, "-colorspace", "Gray", "-morphology", "Erode", "Square:5", "-format",
                    "%[fx:maxima]", "info:-"})
                   .output == "1";
    }

    /// What ImageMagick's format says of the place at the screen's upper left, where the first icon goes.
    static std::string lookOfIcon(const std::string& format) {
        return run({"import", "-silent", "-window", "root", "-crop", "26x26+0+0", "-depth", "8", "-format",
                    format, "info:-"})
            .output;
    }

private:
    static std::unique_ptr<Process> start(std::vector<std::string> words) {
        words.insert(words.begin(), "/usr/bin/env");
        return std::make_unique<Process>(std::move(words));
    }

    static std::string windowWith(const std::string& property, const std::string& pattern) {
        const auto found = run({"xdotool", "search", "--onlyvisible", property, pattern}).output;
        return found.substr(0, found.find('\n'));
    }

    std::list<ScopedVariable> environment;
    std::string reason;
    std::string home;
    std::unique_ptr<Process> desktop;
};

}  // namespace quorvel
