#pragma once

#import <AppKit/AppKit.h>

#include "platform/Window.h"

/// The views of a window. What a function returns is autoreleased.
namespace quorvel {

NSTextField* cocoaLabel(const Label& label);
NSButton* cocoaButton(const Button& button, id target, SEL action);
/// A scroll view around an `NSTextView`.
NSScrollView* cocoaTextView(const TextView& view);
/// A scroll view around an `NSTableView`.
NSScrollView* cocoaTable(const TableView& view);
/// A cell's content.
NSTextField* cocoaCell(const std::string& text, const Font& font);

}  // namespace quorvel
