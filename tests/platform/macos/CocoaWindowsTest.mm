#include <gtest/gtest.h>

#include "platform/macos/CocoaAlerts.h"
#include "platform/macos/CocoaWindows.h"
#include "platform/macos/MainQueue.h"
#import "platform/macos/Toolkit.h"

namespace quorvel {
namespace {

class Delegate final : public WindowDelegate {
public:
    void buttonPressed(const std::string& title) override { pressed.push_back(title); }
    TableRows tableRows() override { return rows; }

    std::vector<std::string> pressed;
    TableRows rows{{"b", "2"}, {"a\nb", "1"}};
};

class CocoaWindows : public testing::Test {
protected:
    CocoaWindows() { toolkit::start(); }

    /// Of a window with these views, the content view's.
    NSArray* make(std::vector<View> views, bool isResizable = true) {
        const auto title = std::to_string(++count);
        window = CocoaWindowServer().makeWindow({title, 300, 200, isResizable, std::move(views)}, delegate);
        return [[toolkit::windowTitled(title) contentView] subviews];
    }

    std::shared_ptr<Delegate> delegate = std::make_shared<Delegate>();
    std::unique_ptr<Window> window;
    int count = 0;
    const Button rounded{{8, 9, 80, 24}, "Copy", Button::Style::rounded},
        link{{1, 2, 100, 22}, "Terms", Button::Style::link};
    const TextView text{{0, 40, 300, 160}, {FontRole::monospaced, 11}, 8, "log"};
    const TableView table{{0, 44, 300, 150}, 20, {}, {{"name", "App", 180}, {"version", "Version", 100}}};
};

/// The values at the key paths in `paths`, parted by bars.
std::string valuesAt(NSString* paths, NSView* view) {
    std::string text;
    for (NSString* path in [paths componentsSeparatedByString:@" "])
        text += (text.empty() ? "" : "|") + textFrom([[view valueForKeyPath:path] description]);
    return text;
}

TEST_F(CocoaWindows, haveTheViewsOfTheirValue) {
    const auto name = [](NSFont* font) { return textFrom([font fontName]); };
    const auto plain = name([NSFont systemFontOfSize:13]), bold = name([NSFont boldSystemFontOfSize:13]),
               fixed = name([NSFont userFixedPitchFontOfSize:13]);
    NSString* const ofLabels =
        @"frame stringValue font.fontName font.pointSize textColor.colorNameComponent alignment editable";
    NSString* const ofButtons = @"frame bezelStyle bordered title";
    NSString* const ofScrolls =
        @"frame autoresizingMask borderType hasHorizontalScroller autohidesScrollers documentView.";
    const struct {
        View view;
        NSString* paths;
        std::string values;
    } rows[] = {
        {Label{{1, 2, 90, 20}, "a\nb", {FontRole::system, 11}, ColorRole::tertiaryLabel}, ofLabels,
         "{x = 1; y = 2; width = 90; height = 20}|a b|" + plain + "|11|tertiaryLabelColor|2|0"},
        {Label{{0, 0, 80, 30}, "c", {FontRole::boldSystem, 18}, ColorRole::label}, ofLabels,
         "{x = 0; y = 0; width = 80; height = 30}|c|" + bold + "|18|labelColor|2|0"},
        {Label{{5, 6, 70, 22}, "d", {FontRole::system, 13}, ColorRole::secondaryLabel}, ofLabels,
         "{x = 5; y = 6; width = 70; height = 22}|d|" + plain + "|13|secondaryLabelColor|2|0"},
        {rounded, ofButtons, "{x = 8; y = 9; width = 80; height = 24}|1|1|Copy"},
        {link, @"frame bezelStyle bordered attributedTitle",
         "{x = 1; y = 2; width = 100; height = 22}|15|0|Terms{NSColor = \"0 0 1\"; NSUnderline = 1; }"},
        {text,
         [ofScrolls stringByAppendingString:@"string documentView.font.fontName documentView.font.pointSize "
                                            @"documentView.textContainerInset documentView.autoresizingMask "
                                            @"documentView.editable documentView.selectable"],
         "{x = 0; y = 40; width = 300; height = 160}|18|0|0|1|log|" + fixed + "|11|{x = 8; y = 8}|2|0|1"},
        {table,
         [ofScrolls stringByAppendingString:@"rowHeight documentView.tableColumns.width "
                                            @"documentView.tableColumns.headerCell.stringValue"],
         "{x = 0; y = 44; width = 300; height = 150}|18|2|0|1|20|(180, 116)|(App, Version)"}};
    for (const auto& [value, paths, values] : rows) {
        NSView* const view = [make({value}, false) objectAtIndex:0];
        EXPECT_EQ([[view window] styleMask], 3U);
        EXPECT_EQ(valuesAt(paths, view), values);
    }
}

TEST_F(CocoaWindows, tellTheirDelegateOfButtonsAsLongAsItLives) {
    NSArray* const buttons = make({rounded, link});
    EXPECT_EQ([[[buttons lastObject] window] styleMask], 11U);
    for (NSButton* button in buttons)
        toolkit::press(button);
    EXPECT_EQ(delegate->pressed, (std::vector<std::string>{"Copy", "Terms"}));
    delegate.reset();
    toolkit::press([buttons lastObject]);
}

TEST_F(CocoaWindows, replaceTheWholeTextUnlessItIsTheSame) {
    NSTextView* const view = [[make({text}) lastObject] documentView];
    [view setSelectedRange:NSMakeRange(1, 2)];
    window->setText("log");
    EXPECT_EQ([view selectedRange].length, 2U);
    window->setText("a\nb");
    EXPECT_EQ(textFrom([view string]), "a\nb");
}

TEST_F(CocoaWindows, askForTheRowsOfATableAnewWheneverItIsShown) {
    NSTableView* const shown = [[make({table}) lastObject] documentView];
    const auto cell = [&](NSInteger row, NSUInteger column) {
        return textFrom([[shown dataSource] tableView:shown
                            objectValueForTableColumn:[[shown tableColumns] objectAtIndex:column]
                                                  row:row]);
    };
    EXPECT_EQ([shown numberOfRows], 2);
    EXPECT_EQ(cell(1, 0) + cell(0, 1), "a b2");
    delegate->rows.resize(1);
    EXPECT_EQ(cell(1, 0), "") << "of a row that is no more there";
    // Its height is that of the rows it knows of.
    delegate->rows.resize(20);
    window->reloadTable();
    EXPECT_GE(NSHeight([shown frame]), 400);
    delegate->rows.resize(30);
    window->show();
    EXPECT_GE(NSHeight([shown frame]), 600);
    NSWindow* const onScreen = [shown window];
    EXPECT_TRUE([onScreen isVisible]);
    window.reset();
    EXPECT_FALSE([onScreen isVisible]);
}

TEST(CocoaAlerts, oneAlertShowsTheSameTextsAndIsDismissedForAll) {
    toolkit::start();
    CocoaAlerts alerts;
    MainQueue user;
    std::string dismissed;
    const auto pressOK = [] { toolkit::press(toolkit::buttonTitled("OK", [NSApp modalWindow])); };
    user.post([&] {
        alerts.runAlert("Same.", "more", [&] { dismissed += "a"; });
        dismissed += "!";
        toolkit::stop();
    });
    user.post([&] {
        alerts.runAlert("Same.", "more", [&] { dismissed += "b"; });
        EXPECT_EQ(dismissed, "");
        user.post(pressOK);
        alerts.runAlert("Same.", "other", [&] { dismissed += "c"; });
        pressOK();
    });
    [NSApp run];
    EXPECT_EQ(dismissed, "cab!");
    user.post(pressOK);
    alerts.runAlert("Same.", "more", [&] { dismissed += "d"; });
    EXPECT_EQ(dismissed, "cab!d");
}

}  // namespace
}  // namespace quorvel
