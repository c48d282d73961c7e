#import "platform/macos/CocoaStatusBar.h"

#import <AppKit/AppKit.h>

#import "platform/macos/CocoaImages.h"
#import "platform/macos/CocoaMenu.h"
#import "platform/macos/CocoaText.h"
#import "platform/macos/Kept.h"

namespace quorvel {

namespace {

/// A status item without a button shows neither image nor tool tip.
class CocoaStatusItem final : public StatusItem {
public:
    CocoaStatusItem()
        : item(Kept<NSStatusItem>::retaining(
              [[NSStatusBar systemStatusBar] statusItemWithLength:NSSquareStatusItemLength])) {}
    ~CocoaStatusItem() override { [[NSStatusBar systemStatusBar] removeStatusItem:item.get()]; }
    CocoaStatusItem(const CocoaStatusItem&) = delete;
    CocoaStatusItem& operator=(const CocoaStatusItem&) = delete;

    void setImage(std::shared_ptr<const Image> image) override {
        const Pool pool;
        [[item.get() button] setImage:cocoaImage(*image)];
    }
    void setToolTip(const std::string& text) override {
        const Pool pool;
        [[item.get() button] setToolTip:cocoaText(text)];
    }
    void setMenu(std::shared_ptr<const Menu> menu) override {
        const Pool pool;
        [item.get() setMenu:cocoaMenu(*menu)];
    }

private:
    const Kept<NSStatusItem> item;
};

}  // namespace

std::unique_ptr<StatusItem> CocoaStatusBar::makeStatusItem() {
    const Pool pool;
    return std::make_unique<CocoaStatusItem>();
}

}  // namespace quorvel
