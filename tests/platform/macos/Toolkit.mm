#import "platform/macos/Toolkit.h"

#include <cmath>
#include <cstdlib>
#include <list>

#import "platform/macos/Kept.h"
#include "support/Process.h"

namespace quorvel::toolkit {

void start() {
    // Ends when its last client has gone, which a forked test may be.
    static Process display(
        {"/usr/bin/env", "Xvfb", "-displayfd", "1", "-screen", "0", "1000x700x24", "-terminate"});
    static NSAutoreleasePool* const pool = [] {
        setenv("DISPLAY", (":" + display.readLine()).c_str(), 1);
        NSAutoreleasePool* const outermost = [[NSAutoreleasePool alloc] init];
        // The arguments of a test are no documents to open.
        char name[] = "quorvel";
        char* arguments[] = {name, nullptr};
        [NSProcessInfo initializeWithArguments:arguments count:1 environment:environ];
        [NSApplication sharedApplication];
        return outermost;
    }();
    (void)pool;
}

/// A loop looks only after an event whether it is to end, and in a timer only once another timer has fired.
static void wakeLoop() {
    [NSApp postEvent:[NSEvent otherEventWithType:NSApplicationDefined
                                        location:NSZeroPoint
                                   modifierFlags:0
                                       timestamp:0
                                    windowNumber:0
                                         context:nil
                                         subtype:0
                                           data1:0
                                           data2:0]
             atStart:YES];
    [NSApp performSelector:@selector(description)
                withObject:nil
                afterDelay:0
                   inModes:[NSArray arrayWithObjects:NSDefaultRunLoopMode, NSModalPanelRunLoopMode, nil]];
}

void stop() {
    [NSApp stop:nil];
    wakeLoop();
}

void runUntil(const std::function<bool()>& condition) {
    while (!condition()) {
        const Pool pool;
        NSDate* const soon = [NSDate dateWithTimeIntervalSinceNow:0.02];
        NSEvent* const event = [NSApp nextEventMatchingMask:NSAnyEventMask
                                                  untilDate:soon
                                                     inMode:NSDefaultRunLoopMode
                                                    dequeue:YES];
        if (event != nil) [NSApp sendEvent:event];
    }
}

std::vector<std::string>& asked() {
    static std::vector<std::string> words;
    return words;
}

std::string outline(NSMenu* menu, const std::string& indent) {
    std::string text;
    for (NSMenuItem* item in [menu itemArray]) {
        if ([item isSeparatorItem]) {
            text += indent + "---\n";
            continue;
        }
        text += indent + ([item isEnabled] ? "" : "!") + ([item state] == NSOnState ? "(on) " : "");
        std::string title = textFrom([item attributedTitle] ? [[item attributedTitle] string] : [item title]);
        if (const auto end = title.find('\n'); end != std::string::npos) title.replace(end, 1, " | ");
        text += title + ([item image] ? " *" : "");
        if ([[item keyEquivalent] length] > 0) text += " ^" + textFrom([item keyEquivalent]);
        text += "\n";
        if ([item hasSubmenu]) text += outline([item submenu], indent + "  ");
    }
    return text;
}

bool choose(NSMenu* menu, const std::string& title) {
    for (NSMenuItem* item in [menu itemArray]) {
        if ([item hasSubmenu] && choose([item submenu], title)) return true;
        if ([item hasSubmenu] || ![item isEnabled] || !textFrom([item title]).starts_with(title)) continue;
        [menu performActionForItemAtIndex:[menu indexOfItem:item]];
        return true;
    }
    return false;
}

NSWindow* windowTitled(const std::string& title) {
    for (NSWindow* window in [NSApp windows])
        if (textFrom([window title]) == title) return window;
    return nil;
}

static NSButton* buttonIn(NSView* view, const std::string& title) {
    for (NSView* below in [view subviews]) {
        if ([below isKindOfClass:[NSButton class]] &&
            textFrom([static_cast<NSButton*>(below) title]) == title)
            return static_cast<NSButton*>(below);
        if (NSButton* const found = buttonIn(below, title)) return found;
    }
    return nil;
}

NSButton* buttonTitled(const std::string& title, NSWindow* window) {
    return buttonIn([window contentView], title);
}

void press(NSButton* button) {
    [button performClick:nil];
    wakeLoop();
}

namespace {

/// In pixels from the upper left corner of the screen.
NSRect onScreen(NSWindow* window, NSRect rect) {
    rect.origin = [window convertBaseToScreen:rect.origin];
    rect.origin.y = NSMaxY([[window screen] frame]) - NSMaxY(rect);
    return rect;
}

std::string number(CGFloat value) {
    return std::to_string(std::lround(value));
}

}  // namespace

void click(NSButton* button) {
    const NSRect place = onScreen([button window], [button convertRect:[button bounds] toView:nil]);
    static std::list<Process> pointers;
    // The toolkit looks for the release of the button only some time after its press.
    pointers.emplace_back(std::vector<std::string>{"/usr/bin/env", "xdotool", "mousemove",
                                                   number(NSMidX(place)), number(NSMidY(place)), "mousedown",
                                                   "1", "sleep", "0.15", "mouseup", "1"});
}

int coloursOf(NSWindow* window) {
    const NSRect place = onScreen(window, [[window contentView] frame]);
    const std::string size = number(NSWidth(place)) + "x" + number(NSHeight(place)) + "+" +
                             number(NSMinX(place)) + "+" + number(NSMinY(place));
    const auto picture = [&](std::vector<std::string> words) {
        words.insert(words.begin(), {"import", "-silent", "-window", "root", "-crop", size});
        return quorvel::run(std::move(words)).output;
    };
    const int count = std::stoi(picture({"-format", "%k", "info:-"}));
    // For whoever changes a window and looks at it.
    if (const char* const folder = std::getenv("QUORVEL_PICTURES"); folder != nullptr && count > 1)
        picture({std::string(folder) + "/" + textFrom([window title]) + ".png"});
    return count;
}

}  // namespace quorvel::toolkit
