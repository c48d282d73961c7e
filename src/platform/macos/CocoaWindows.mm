#import "platform/macos/CocoaWindows.h"

#import <AppKit/AppKit.h>
#include <utility>

#import "platform/macos/CocoaText.h"
#import "platform/macos/CocoaViews.h"
#import "platform/macos/Kept.h"
#include "platform/macos/ToolkitCall.h"
#include "platform/text/DisplayText.h"

/// The target of a window's buttons, and the data source and delegate of its table.
@interface QVWindowEvents : NSObject <NSTableViewDataSource, NSTableViewDelegate> {
@public
    std::weak_ptr<quorvel::WindowDelegate> delegate;
    quorvel::Font cellFont;
}
- (void)buttonPressed:(id)sender;
@end

@implementation QVWindowEvents
- (void)buttonPressed:(id)sender {
    const auto alive = delegate.lock();
    if (alive) quorvel::runForToolkit([&] { alive->buttonPressed(quorvel::textFrom([sender title])); });
}

- (quorvel::TableRows)rows {
    quorvel::TableRows rows;
    const auto alive = delegate.lock();
    if (alive) quorvel::runForToolkit([&] { rows = alive->tableRows(); });
    return rows;
}

- (NSInteger)numberOfRowsInTableView:(NSTableView*)table {
    return static_cast<NSInteger>([self rows].size());
}

- (NSView*)tableView:(NSTableView*)table viewForTableColumn:(NSTableColumn*)column row:(NSInteger)row {
    const auto rows = [self rows];
    const auto place = [[table tableColumns] indexOfObjectIdenticalTo:column];
    const auto line = static_cast<std::size_t>(row);
    // The rows may have become fewer since they were counted.
    const bool isThere = line < rows.size() && place < rows[line].size();
    return quorvel::cocoaCell(isThere ? rows[line][place] : "", cellFont);
}
@end

namespace quorvel {

namespace {

class CocoaWindow final : public Window {
public:
    CocoaWindow(const WindowContent& content, std::weak_ptr<WindowDelegate> delegate)
        : window([[NSWindow alloc] initWithContentRect:NSMakeRect(0, 0, content.width, content.height)
                                             styleMask:styleOf(content)
                                               backing:NSBackingStoreBuffered
                                                 defer:NO]) {
        events.get()->delegate = std::move(delegate);
        [window.get() setReleasedWhenClosed:NO];
        [window.get() setTitle:cocoaText(onOneLine(content.title))];
        const Kept container([[NSView alloc] initWithFrame:NSMakeRect(0, 0, content.width, content.height)]);
        for (const auto& view : content.views)
            [container.get() addSubview:std::visit([this](const auto& some) { return made(some); }, view)];
        [window.get() setContentView:container.get()];
        [window.get() center];
    }
    ~CocoaWindow() override {
        [tableView setDataSource:nil];
        [tableView setDelegate:nil];
        [window.get() close];
    }
    CocoaWindow(const CocoaWindow&) = delete;
    CocoaWindow& operator=(const CocoaWindow&) = delete;

    void show() override {
        const Pool pool;
        reloadTable();
        [window.get() makeKeyAndOrderFront:nil];
        [NSApp activateIgnoringOtherApps:YES];
    }
    void setText(const std::string& text) override {
        const Pool pool;
        NSString* const shown = cocoaText(text);
        // The same text again would lose what is selected and how far it is scrolled.
        if (![[textView string] isEqualToString:shown]) [textView setString:shown];
    }
    void reloadTable() override {
        const Pool pool;
        [tableView reloadData];
    }

private:
    static NSWindowStyleMask styleOf(const WindowContent& content) {
        const NSWindowStyleMask fixed = NSWindowStyleMaskTitled | NSWindowStyleMaskClosable;
        return content.isResizable ? fixed | NSWindowStyleMaskResizable : fixed;
    }

    NSView* made(const Label& label) { return cocoaLabel(label); }
    NSView* made(const Button& button) {
        return cocoaButton(button, events.get(), @selector(buttonPressed:));
    }
    NSView* made(const TextView& view) {
        NSScrollView* const scroll = cocoaTextView(view);
        textView = [scroll documentView];
        return scroll;
    }
    NSView* made(const TableView& view) {
        NSScrollView* const scroll = cocoaTable(view);
        tableView = [scroll documentView];
        events.get()->cellFont = view.font;
        [tableView setDataSource:events.get()];
        [tableView setDelegate:events.get()];
        return scroll;
    }

    const Kept<QVWindowEvents> events{[[QVWindowEvents alloc] init]};
    const Kept<NSWindow> window;
    /// The window's; nil when it has none.
    NSTextView* textView = nil;
    NSTableView* tableView = nil;
};

}  // namespace

std::unique_ptr<Window> CocoaWindowServer::makeWindow(WindowContent content,
                                                      std::weak_ptr<WindowDelegate> delegate) {
    const Pool pool;
    return std::make_unique<CocoaWindow>(content, std::move(delegate));
}

}  // namespace quorvel
