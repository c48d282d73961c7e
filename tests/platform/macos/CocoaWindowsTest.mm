#include <gtest/gtest.h>

#include "platform/macos/CocoaAlerts.h"
#include "platform/macos/CocoaWindows.h"
#include "platform/macos/MainQueue.h"
#import "platform/macos/Toolkit.h"

namespace quorvel {
namespace {

struct Delegate final : WindowDelegate {
    void buttonPressed(const std::string& title) override { pressed += title; }
    TableRows tableRows() override { return rows; }

    std::string pressed;
    TableRows rows{{"b", "2"}, {"a\nb", "1"}};
};

const std::vector<View> views{
    Label{{1, 2, 90, 20}, "a\nb", {FontRole::system, 11}, ColorRole::tertiaryLabel},
    Label{{0, 0, 80, 30}, "c", {FontRole::boldSystem, 18}, ColorRole::label},
    Label{{5, 6, 70, 22}, "d", {FontRole::system, 13}, ColorRole::secondaryLabel},
    Button{{8, 9, 80, 24}, "Copy", Button::Style::rounded},
    Button{{1, 3, 99, 22}, "Terms", Button::Style::link},
    TextView{{0, 40, 200, 60}, {FontRole::monospaced, 11}, 8, "log"},
    TableView{{4, 44, 99, 50}, 20, {}, {{"name", "App", 180}, {"version", "Version", 100}}}};

class CocoaWindows : public testing::Test {
protected:
    CocoaWindows() {
        toolkit::start();
        window = CocoaWindowServer().makeWindow({"Views", 300, 200, true, views}, delegate);
        onScreen = toolkit::windowTitled("Views");
        shown = [[onScreen contentView] subviews];
        text = [[shown objectAtIndex:5] documentView];
        table = [[shown objectAtIndex:6] documentView];
    }

    std::shared_ptr<Delegate> delegate = std::make_shared<Delegate>();
    std::unique_ptr<Window> window;
    NSWindow* onScreen = nil;
    NSArray* shown = nil;
    NSTextView* text = nil;
    NSTableView* table = nil;
};

TEST_F(CocoaWindows, haveTheViewsOfTheirValue) {
    const struct {
        NSRange places;
        NSString* path;
        std::string values;
    } rows[] = {
        {{0, 3}, @"stringValue", "(\"a b\", c, d)"},
        {{0, 3}, @"textColor.colorNameComponent", "(tertiaryLabelColor, labelColor, secondaryLabelColor)"},
        {{3, 2}, @"bordered", "(1, 0)"},
        {{3, 1}, @"title", "(Copy)"},
        {{4, 1}, @"attributedTitle", R"(("Terms{NSColor = \"0 0 1\"; NSUnderline = 1; }"))"},
        {{5, 1}, @"documentView.string", "(log)"},
        {{5, 1}, @"documentView.editable", "(0)"},
        {{6, 1}, @"documentView.rowHeight", "(20)"},
        {{6, 1}, @"documentView.tableColumns.headerCell.stringValue", "((App, Version))"},
    };
    const auto frame = [&](std::size_t place) {
        const NSRect rect = [[shown objectAtIndex:place] frame];
        return Frame{rect.origin.x, rect.origin.y, rect.size.width, rect.size.height};
    };
    for (const auto& [places, path, values] : rows) {
        NSArray* const found = [[shown subarrayWithRange:places] valueForKeyPath:path];
        EXPECT_EQ(textFrom([found description]), values) << textFrom(path);
    }
    NSArray* const fonts =
        @[ [NSFont systemFontOfSize:11], [NSFont boldSystemFontOfSize:18], [NSFont systemFontOfSize:13] ];
    EXPECT_TRUE([[[shown subarrayWithRange:NSMakeRange(0, 3)] valueForKey:@"font"] isEqual:fonts]);
    EXPECT_TRUE([[text font] isEqual:[NSFont userFixedPitchFontOfSize:11]]);
    for (std::size_t place = 0; place < views.size(); ++place)
        EXPECT_EQ(frame(place), std::visit([](const auto& some) { return some.frame; }, views[place]))
            << place;
    [onScreen setContentSize:NSMakeSize(310, 220)];
    EXPECT_EQ(frame(3), (Frame{8, 9, 80, 24}));
    EXPECT_EQ(frame(5), (Frame{0, 40, 210, 80}));
    EXPECT_EQ(frame(6), (Frame{4, 44, 109, 70}));
    EXPECT_EQ([onScreen styleMask], 11U);
    const auto fixed = CocoaWindowServer().makeWindow({"Fixed", 300, 200, false, {}}, delegate);
    EXPECT_EQ([toolkit::windowTitled("Fixed") styleMask], 3U);
}

/// Of its controller and its user.
TEST_F(CocoaWindows, followThoseWhoUseThem) {
    for (const char* title : {"Copy", "Terms"})
        EXPECT_TRUE(toolkit::press(title, onScreen));
    EXPECT_EQ(delegate->pressed, "CopyTerms");

    [text setSelectedRange:NSMakeRange(1, 2)];
    window->setText("log");
    EXPECT_EQ([text selectedRange].length, 2U) << "it is the same text";
    window->setText("a\nb");
    EXPECT_EQ(textFrom([text string]), "a\nb");

    const auto cell = [&](NSInteger row, NSUInteger column) {
        return textFrom([[table dataSource] tableView:table
                            objectValueForTableColumn:[[table tableColumns] objectAtIndex:column]
                                                  row:row]);
    };
    EXPECT_EQ(cell(1, 0) + cell(0, 1), "a b2");
    delegate->rows.resize(1);
    EXPECT_EQ(cell(1, 0), "") << "of a row that is no more there";
    // Its height is that of the rows it knows of.
    delegate->rows.resize(20);
    window->reloadTable();
    EXPECT_GE(NSHeight([table frame]), 400);
    delegate->rows.resize(30);
    window->show();
    EXPECT_GE(NSHeight([table frame]), 600);

    [onScreen performClose:nil];
    EXPECT_FALSE([onScreen isVisible]);
    window->show();
    EXPECT_TRUE([onScreen isVisible]);
    delegate.reset();
    toolkit::press("Copy", onScreen);
    window.reset();
    EXPECT_FALSE([onScreen isVisible]);
}

TEST(CocoaAlerts, oneAlertShowsTheSameTextsAndIsDismissedForAll) {
    toolkit::start();
    CocoaAlerts alerts;
    MainQueue user;
    std::string dismissed;
    const auto pressOK = [] { toolkit::press("OK", [NSApp modalWindow]); };
    user.post([&] {
        alerts.runAlert("Same.", "more", [&] { dismissed += "a"; });
        dismissed += "!";
    });
    user.post([&] {
        alerts.runAlert("Same.", "more", [&] { dismissed += "b"; });
        EXPECT_EQ(dismissed, "");
        user.post(pressOK);
        alerts.runAlert("Same.", "other", [&] { dismissed += "c"; });
        pressOK();
    });
    toolkit::runUntil([&] { return dismissed.ends_with("!"); });
    user.post(pressOK);
    alerts.runAlert("Same.", "more", [&] { dismissed += "d"; });
    EXPECT_EQ(dismissed, "cab!d");
}

}  // namespace
}  // namespace quorvel
