#import "platform/macos/CocoaViews.h"

#import "platform/macos/CocoaText.h"
#import "platform/macos/Kept.h"
#include "platform/text/DisplayText.h"

namespace quorvel {

namespace {

NSColor* colorFor(ColorRole role) {
    switch (role) {
        case ColorRole::label:
            return [NSColor labelColor];
        case ColorRole::secondaryLabel:
            return [NSColor secondaryLabelColor];
        case ColorRole::tertiaryLabel:
            return [NSColor tertiaryLabelColor];
    }
}

NSFont* cocoaFont(const Font& font) {
    switch (font.role) {
        case FontRole::system:
            return [NSFont systemFontOfSize:font.points];
        case FontRole::boldSystem:
            return [NSFont boldSystemFontOfSize:font.points];
        case FontRole::monospaced:
            return [NSFont monospacedSystemFontOfSize:font.points weight:NSFontWeightRegular];
    }
}

NSRect rectOf(const Frame& frame) {
    return NSMakeRect(frame.x, frame.y, frame.width, frame.height);
}

NSAttributedString* linkTitle(NSString* title) {
    NSDictionary* const look = @{
        NSForegroundColorAttributeName : [NSColor linkColor],
        NSUnderlineStyleAttributeName : @(NSUnderlineStyleSingle)
    };
    return [[[NSAttributedString alloc] initWithString:title attributes:look] autorelease];
}

NSScrollView* scrollView(const Frame& frame, NSBorderType border, NSView* document) {
    NSScrollView* const scroll = [[[NSScrollView alloc] initWithFrame:rectOf(frame)] autorelease];
    [scroll setAutoresizingMask:NSViewWidthSizable | NSViewHeightSizable];
    [scroll setHasVerticalScroller:YES];
    [scroll setHasHorizontalScroller:NO];
    [scroll setAutohidesScrollers:YES];
    [scroll setBorderType:border];
    [scroll setDocumentView:document];
    return scroll;
}

}  // namespace

NSTextField* cocoaCell(const std::string& text, const Font& font) {
    NSTextField* const field = [NSTextField labelWithString:cocoaText(onOneLine(text))];
    [field setFont:cocoaFont(font)];
    return field;
}

NSTextField* cocoaLabel(const Label& label) {
    NSTextField* const field = cocoaCell(label.text, label.font);
    [field setFrame:rectOf(label.frame)];
    [field setAlignment:NSTextAlignmentCenter];
    [field setTextColor:colorFor(label.color)];
    return field;
}

NSButton* cocoaButton(const Button& button, id target, SEL action) {
    NSString* const title = cocoaText(onOneLine(button.title));
    NSButton* const shown = [NSButton buttonWithTitle:title target:target action:action];
    [shown setFrame:rectOf(button.frame)];
    const bool isLink = button.style == Button::Style::link;
    [shown setBezelStyle:isLink ? NSBezelStyleInline : NSBezelStyleRounded];
    if (isLink) {
        [shown setBordered:NO];
        [shown setAttributedTitle:linkTitle(title)];
    }
    return shown;
}

NSScrollView* cocoaTextView(const TextView& view) {
    const Kept text([[NSTextView alloc] initWithFrame:NSMakeRect(0, 0, view.frame.width, view.frame.height)]);
    [text.get() setEditable:NO];
    [text.get() setSelectable:YES];
    [text.get() setFont:cocoaFont(view.font)];
    [text.get() setTextContainerInset:NSMakeSize(view.inset, view.inset)];
    [text.get() setAutoresizingMask:NSViewWidthSizable];
    [text.get() setString:cocoaText(view.text)];
    return scrollView(view.frame, NSNoBorder, text.get());
}

NSScrollView* cocoaTable(const TableView& view) {
    const Kept table([[NSTableView alloc] init]);
    [table.get() setRowHeight:view.rowHeight];
    for (const auto& column : view.columns) {
        const Kept shown([[NSTableColumn alloc] initWithIdentifier:cocoaText(column.identifier)]);
        [[shown.get() headerCell] setStringValue:cocoaText(column.title)];
        [shown.get() setWidth:column.width];
        [table.get() addTableColumn:shown.get()];
    }
    return scrollView(view.frame, NSBezelBorder, table.get());
}

}  // namespace quorvel
