#import "platform/macos/CocoaPasteboard.h"

#import <AppKit/AppKit.h>

#import "platform/macos/CocoaText.h"
#import "platform/macos/Kept.h"

namespace quorvel {

void CocoaPasteboard::setText(const std::string& text) {
    const Pool pool;
    NSPasteboard* const pasteboard = [NSPasteboard generalPasteboard];
    [pasteboard clearContents];
    [pasteboard setString:cocoaText(text) forType:NSPasteboardTypeString];
}

}  // namespace quorvel
