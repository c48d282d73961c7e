#import "platform/macos/Toolkit.h"

#include <cstdlib>

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

void wakeLoop() {
    [NSApp postEvent:[[[NSEvent alloc] init] autorelease] atStart:YES];
    [NSApp performSelector:@selector(description)
                withObject:nil
                afterDelay:0
                   inModes:@[ NSDefaultRunLoopMode, NSModalPanelRunLoopMode ]];
}

std::vector<std::string>& openedURLs() {
    static std::vector<std::string> urls;
    return urls;
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

bool press(const std::string& title, NSWindow* window) {
    for (NSView* view in [[window contentView] subviews]) {
        if (![view isKindOfClass:[NSButton class]]) continue;
        NSButton* const button = static_cast<NSButton*>(view);
        if (textFrom([button title]) != title) continue;
        [button performClick:nil];
        wakeLoop();
        return true;
    }
    return false;
}

}  // namespace quorvel::toolkit
