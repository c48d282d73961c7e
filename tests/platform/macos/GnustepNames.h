#pragma once

/// What the free toolkit has under an older name, or not at all; included before each adapter's own lines.
/// What is declared here is defined in GnustepStandIns.mm.
#import <AppKit/AppKit.h>

#define linkColor blueColor
#define NSBezelStyleRounded NSRoundedBezelStyle
#define NSBezelStyleInline static_cast<NSBezelStyle>(15)
#define NSBitmapFormatAlphaNonpremultiplied NSAlphaNonpremultipliedBitmapFormat
using NSWindowStyleMask = NSUInteger;

struct NSOperatingSystemVersion {
    NSInteger majorVersion, minorVersion, patchVersion;
};

@interface NSProcessInfo (QVNames)
- (NSOperatingSystemVersion)operatingSystemVersion;
@end

@interface NSFont (QVNames)
+ (NSFont*)monospacedSystemFontOfSize:(CGFloat)size weight:(CGFloat)weight;
@end

@interface NSImage (QVNames)
- (void)setTemplate:(BOOL)isTemplate;
- (BOOL)isTemplate;
+ (NSImage*)imageWithSystemSymbolName:(NSString*)name accessibilityDescription:(NSString*)text;
@end

@interface NSButton (QVNames)
+ (NSButton*)buttonWithTitle:(NSString*)title target:(id)target action:(SEL)action;
@end

@interface NSTextField (QVNames)
+ (NSTextField*)labelWithString:(NSString*)text;
@end

@interface NSPasteboard (QVNames)
- (NSInteger)clearContents;
@end

@interface NSStatusItem (QVNames)
- (NSButton*)button;
@end
