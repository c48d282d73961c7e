#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <fstream>
#include <memory>
#include <optional>
#include <stdlib.h>
#include <string>
#include <utility>
#include <vector>

#include "support/Process.h"
#include "support/TemporaryFolder.h"

namespace quorvel {

/// A virtual display and a session bus, which the environment of this process names while it lives, and the
/// tools to use them by hand. A panel, or a tray, is started by the test.
class VirtualDesktop {
public:
    VirtualDesktop() {
        for (const char* tool : {"Xvfb", "xfce4-panel", "trayer", "xdotool", "xclip", "import", "weston"}) {
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
        for (const char* variable : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM", "XDG_RUNTIME_DIR"})
            unsetenv(variable);
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

    /// A Wayland compositor that fills the screen. What is started afterwards is its client, until the test
    /// ends.
    static std::unique_ptr<Process> startCompositor(const TemporaryFolder& folder) {
        setenv("XDG_RUNTIME_DIR", folder.path.c_str(), 1);
        folder.write("weston.ini",
                     "[shell]\npanel-position=none\nstartup-animation=none\n"
                     "background-color=0xff305070\n");
        auto compositor = start({"weston", "--backend=x11-backend.so", "--use-pixman", "--width=1000",
                                 "--height=700", "--idle-time=0", "--socket=wayland-test",
                                 "--config=" + folder.path.string() + "/weston.ini",
                                 "--log=" + folder.path.string() + "/weston.log"});
        setenv("WAYLAND_DISPLAY", "wayland-test", 1);
        setenv("QT_QPA_PLATFORM", "wayland", 1);
        return compositor;
    }

    /// The uppermost point that has exactly this colour for five pixels in all directions: of no text, and of
    /// no line of an icon.
    static std::optional<std::pair<int, int>> placeOf(const std::string& colour) {
        const auto found = run({"convert",
                                "x:root",
                                "-fill",
                                "black",
                                "+opaque",
                                colour,
                                "-fill",
                                "white",
                                "-opaque",
                                colour,
                                "-colorspace",
                                "Gray",
                                "-morphology",
                                "Erode",
                                "Square:5",
                                "-define",
                                "identify:locate=maximum",
                                "-define",
                                "identify:limit=1",
                                "info:-"})
                               .output;
        int brightness = 0, x = 0, y = 0;
        const auto place = found.find("Gray: ");
        if (place == std::string::npos ||
            std::sscanf(found.c_str() + place, "Gray: %d (%*f) %d,%d", &brightness, &x, &y) != 3 ||
            brightness == 0)
            return std::nullopt;
        return std::pair(x, y);
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

    static std::ptrdiff_t windowsNamed(const std::string& title) {
        return std::ranges::count(
            run({"xdotool", "search", "--onlyvisible", "--name", "^" + title + "$"}).output, '\n');
    }

    /// Takes the display from under its programs.
    void endDisplay() const { kill(childOf(desktop->id(), "Xvfb"), SIGTERM); }

    /// The child that runs the program of this name; 0 when there is none.
    static pid_t childOf(pid_t parent, const std::string& program) {
        const auto number = std::to_string(parent);
        std::ifstream children("/proc/" + number + "/task/" + number + "/children");
        for (pid_t child = 0; children >> child;) {
            if (TemporaryFolder::contentOf("/proc/" + std::to_string(child) + "/comm") == program + '\n')
                return child;
        }
        return 0;
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
