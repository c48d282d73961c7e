#pragma once

#import <AppKit/AppKit.h>
#include <functional>
#include <string>
#include <vector>

#import "platform/macos/CocoaText.h"

/// What a test does in the place of the user, and sees of what the user would.
namespace quorvel::toolkit {

/// Connects to a display of the test's own; the first call of a process counts.
void start();
/// Serves the application's loop until `condition` holds.
void runUntil(const std::function<bool()>& condition);

/// A loop that was told to stop ends only with an event, and in a timer only once another timer has fired.
void wakeLoop();

/// What the status bar shows; nil for nothing.
NSStatusItem* statusItem();
/// What the workspace was asked to open.
std::vector<std::string>& openedURLs();

/// The menu as text, an item a line, submenus indented: "(on) " before a check mark, "!" before what is
/// disabled, " *" after what has an icon, the second line of a title after " | ", a key after " ^".
std::string outline(NSMenu* menu, const std::string& indent = "");
/// The user's choice of the first item, here or below, whose title begins so; false when there is none.
bool choose(NSMenu* menu, const std::string& title);

/// Nil when there is none.
NSWindow* windowTitled(const std::string& title);
/// The user's press of the button with that title; false when there is none.
bool press(const std::string& title, NSWindow* window);

}  // namespace quorvel::toolkit
