#import "platform/macos/CocoaWorkspace.h"

#import <AppKit/AppKit.h>
#include <limits>

#import "platform/macos/CocoaText.h"
#import "platform/macos/Kept.h"

namespace quorvel {

void CocoaWorkspace::openURL(const std::string& url) {
    const Pool pool;
    NSURL* const address = [NSURL URLWithString:cocoaText(url)];
    if (address != nil) [[NSWorkspace sharedWorkspace] openURL:address];
}

/// The system names no limit.
std::size_t CocoaWorkspace::maxURLSize() const {
    return std::numeric_limits<std::size_t>::max();
}

void CocoaWorkspace::selectFile(const std::filesystem::path& path) {
    const Pool pool;
    [[NSWorkspace sharedWorkspace] selectFile:cocoaText(path.native()) inFileViewerRootedAtPath:@""];
}

}  // namespace quorvel
