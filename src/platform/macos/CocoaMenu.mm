#import "platform/macos/CocoaMenu.h"

#import "platform/macos/CocoaText.h"
#import "platform/macos/Kept.h"
#include "platform/macos/ToolkitCall.h"

/// An item's target, which the item holds weakly, and its represented object, which keeps the target alive.
@interface QVMenuAction : NSObject {
@public
    std::weak_ptr<quorvel::MenuTarget> target;
    std::shared_ptr<quorvel::MenuTarget> representedObject;
}
- (void)menuAction:(id)sender;
@end

@implementation QVMenuAction
- (void)menuAction:(id)sender {
    // The action may put another menu in the place of the one that is at work.
    [[[sender menu] retain] autorelease];
    [[self retain] autorelease];
    if (const auto alive = target.lock()) quorvel::runForToolkit([&] { alive->menuAction(); });
}
@end

namespace quorvel {

namespace {

constexpr CGFloat iconPoints = 16;

NSDictionary* attributes(NSFont* font, NSColor* color = nil) {
    return [NSDictionary
        dictionaryWithObjectsAndKeys:font, NSFontAttributeName, color, NSForegroundColorAttributeName, nil];
}

/// A plain title has one line.
NSAttributedString* titleWithLines(const MenuItem& item, const std::string& text) {
    const auto firstLine = item.detail.empty() ? text.size() : text.find('\n') + 1;
    NSMutableAttributedString* const title = [[[NSMutableAttributedString alloc]
        initWithString:cocoaText(text.substr(0, firstLine))
            attributes:attributes([NSFont menuFontOfSize:0])] autorelease];
    NSFont* const small = [NSFont systemFontOfSize:[NSFont smallSystemFontSize]];
    const Kept detail([[NSAttributedString alloc]
        initWithString:cocoaText(text.substr(firstLine))
            attributes:attributes(small, [NSColor secondaryLabelColor])]);
    [title appendAttributedString:detail.get()];
    return title;
}

NSImage* iconOf(const BundleIcon& icon) {
    NSImage* const image =
        [[[[NSWorkspace sharedWorkspace] iconForFile:cocoaText(icon.bundle)] copy] autorelease];
    [image setSize:NSMakeSize(iconPoints, iconPoints)];
    return image;
}

void setAction(NSMenuItem* shown, const MenuItem& item) {
    const Kept<QVMenuAction> action([[QVMenuAction alloc] init]);
    action.get()->target = item.target;
    action.get()->representedObject = item.representedObject;
    [shown setTarget:action.get()];
    [shown setAction:@selector(menuAction:)];
    [shown setRepresentedObject:action.get()];
}

NSMenuItem* cocoaItem(const MenuItem& item) {
    if (item.isSeparator) return static_cast<NSMenuItem*>([NSMenuItem separatorItem]);
    const std::string text = displayTitle(item);
    NSMenuItem* const shown = [[[NSMenuItem alloc] initWithTitle:cocoaText(text.substr(0, text.find('\n')))
                                                          action:nullptr
                                                   keyEquivalent:cocoaText(item.keyEquivalent)] autorelease];
    if (text.contains('\n')) [shown setAttributedTitle:titleWithLines(item, text)];
    [shown setEnabled:item.isEnabled ? YES : NO];
    [shown setState:item.state == MenuItem::State::on ? NSControlStateValueOn : NSControlStateValueOff];
    if (item.image) [shown setImage:iconOf(*item.image)];
    if (item.submenu) {
        [shown setSubmenu:cocoaMenu(*item.submenu)];
    } else if (item.representedObject) {
        setAction(shown, item);
    }
    return shown;
}

}  // namespace

NSMenu* cocoaMenu(const Menu& menu) {
    NSMenu* const shown = [[[NSMenu alloc] initWithTitle:@""] autorelease];
    // Else the system would decide itself which items can be chosen.
    [shown setAutoenablesItems:NO];
    for (const auto& item : menu.items)
        [shown addItem:cocoaItem(item)];
    return shown;
}

}  // namespace quorvel
