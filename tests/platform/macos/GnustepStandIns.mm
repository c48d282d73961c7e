/// What the free toolkit lacks, as far as the adapters use it. Where it has an empty method, the one here
/// takes its place and writes down what it was told.
#import <AppKit/AppKit.h>
#include <set>

#import "platform/macos/Kept.h"
#import "platform/macos/Toolkit.h"

static std::set<const NSImage*> templates;
static NSString* pasteboardText = @"of another program";
static quorvel::Kept<NSButton> itemOfTheBar;

@implementation NSFont (QVNames)
+ (NSFont*)monospacedSystemFontOfSize:(CGFloat)size weight:(CGFloat)weight {
    return [NSFont userFixedPitchFontOfSize:size];
}
@end

@implementation NSImage (QVNames)
- (void)setTemplate:(BOOL)isTemplate {
    if (isTemplate) templates.insert(self);
}
- (BOOL)isTemplate {
    return templates.contains(self);
}
+ (NSImage*)imageWithSystemSymbolName:(NSString*)name accessibilityDescription:(NSString*)text {
    return [name isEqualToString:@"menubar.arrow.down.rectangle"] ? [NSImage imageNamed:@"NSSwitch"] : nil;
}
@end

@implementation NSButton (QVNames)
+ (NSButton*)buttonWithTitle:(NSString*)title target:(id)target action:(SEL)action {
    NSButton* const button = [[[NSButton alloc] init] autorelease];
    [button setTitle:title];
    [button setTarget:target];
    [button setAction:action];
    return button;
}
@end

@implementation NSTextField (QVNames)
+ (NSTextField*)labelWithString:(NSString*)text {
    NSTextField* const label = [[[NSTextField alloc] init] autorelease];
    [label setStringValue:text];
    [label setEditable:NO];
    [label setBezeled:NO];
    [label setDrawsBackground:NO];
    return label;
}
@end

/// The free toolkit's keeps the words alone. A menu's tool tips are used for nothing else.
@implementation NSMenuItem (QVStandIn)
- (void)setAttributedTitle:(NSAttributedString*)title {
    [self setToolTip:static_cast<id>([[title copy] autorelease])];
}
- (NSAttributedString*)attributedTitle {
    return static_cast<id>([self toolTip]);
}
@end

/// The free toolkit's pasteboards are in a program that outlives the test. This is the general one; there is
/// no other.
@implementation NSPasteboard (QVStandIn)
+ (NSPasteboard*)pasteboardWithName:(NSString*)name {
    static NSPasteboard* const general = [NSPasteboard alloc];
    return [name isEqualToString:NSGeneralPboard] ? general : nil;
}
- (NSInteger)clearContents {
    pasteboardText = nil;
    return 1;
}
/// Without having cleared it, nobody owns the pasteboard.
- (BOOL)setString:(NSString*)text forType:(NSString*)type {
    if (pasteboardText != nil || ![type isEqualToString:NSPasteboardTypeString]) return NO;
    pasteboardText = [text copy];
    return YES;
}
- (NSString*)stringForType:(NSString*)type {
    return pasteboardText;
}
@end

/// The free toolkit's tables ask for the values of cells, never for views.
@interface QVWindowEvents : NSObject
- (NSTextField*)tableView:(NSTableView*)table viewForTableColumn:(NSTableColumn*)column row:(NSInteger)row;
@end

@implementation QVWindowEvents (QVCells)
- (id)tableView:(NSTableView*)table objectValueForTableColumn:(NSTableColumn*)column row:(NSInteger)row {
    return [[self tableView:table viewForTableColumn:column row:row] stringValue];
}
@end

/// A button is the item of the bar, and has its menu.
@implementation NSButton (QVStandIn)
- (NSButton*)button {
    return self;
}
@end

@implementation NSStatusBar (QVStandIn)
+ (NSStatusBar*)systemStatusBar {
    static NSStatusBar* const bar = [[NSStatusBar alloc] init];
    return bar;
}
- (NSStatusItem*)statusItemWithLength:(CGFloat)length {
    if (length == NSSquareStatusItemLength) itemOfTheBar = quorvel::Kept([[NSButton alloc] init]);
    return quorvel::toolkit::statusItem();
}
- (void)removeStatusItem:(NSStatusItem*)item {
    itemOfTheBar = {};
}
@end

NSStatusItem* quorvel::toolkit::statusItem() {
    return static_cast<id>(itemOfTheBar.get());
}

/// Would start such a program too.
@implementation NSDistributedNotificationCenter (QVStandIn)
+ (id)defaultCenter {
    return nil;
}
@end

@implementation NSWorkspace (QVStandIn)
- (BOOL)openURL:(NSURL*)url {
    quorvel::toolkit::openedURLs().push_back([[url absoluteString] UTF8String]);
    return YES;
}
@end

/// The free toolkit keeps much to its end.
extern "C" const char* __lsan_default_suppressions() {
    return "leak:libgnustep\nleak:libobjc\nleak:libfontconfig\nleak:libcairo\n";
}
