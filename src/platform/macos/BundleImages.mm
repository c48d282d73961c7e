#import "platform/macos/BundleImages.h"

#import "platform/macos/CocoaImages.h"
#import "platform/macos/CocoaText.h"
#import "platform/macos/Kept.h"

namespace quorvel {

namespace {

std::optional<Image> imageOrNone(NSImage* image) {
    return image != nil ? std::optional(imageFrom(image)) : std::nullopt;
}

}  // namespace

std::optional<Image> BundleImages::imageNamed(const std::string& name) const {
    const Pool pool;
    return imageOrNone([NSImage imageNamed:cocoaText(name)]);
}

std::optional<Image> BundleImages::systemSymbol(const std::string& name) const {
    const Pool pool;
    return imageOrNone([NSImage imageWithSystemSymbolName:cocoaText(name)
                                 accessibilityDescription:@"Quorvel"]);
}

}  // namespace quorvel
