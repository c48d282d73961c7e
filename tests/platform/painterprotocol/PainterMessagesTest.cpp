#include <gtest/gtest.h>
#include <initializer_list>

#include "platform/painterprotocol/PainterMessages.h"

namespace quorvel::painter {
namespace {

WindowContent everyView() {
    return {"Title",
            600,
            400.5,
            true,
            {Label{{0, 220, 400, 30}, "a \"text\"\n", {FontRole::boldSystem, 18}, ColorRole::tertiaryLabel},
             Button{{-8, 8, 80, 24}, "Copy", Button::Style::link},
             TextView{{0, 40, 600, 360}, {FontRole::monospaced, 11}, 8, "\u2192 \U0001F600"},
             TableView{{0, 44, 480, 276}, 20, {}, {{"name", "App Name", 280}, {"version", "Version", 160}}}}};
}

MenuContent everyItem() {
    MenuContent::Item separator, plain, marked, pictured, key, submenu;
    separator.isSeparator = true;
    plain.number = 1;
    plain.title = "R&D _ \u2068\u05D0\u2069\n1.0 \u2192 2.0";
    marked.number = 2;
    marked.title = "Color Icon";
    marked.state = MenuItem::State::on;
    marked.isEnabled = false;
    pictured.number = 3;
    pictured.picture = {0x89, 'P', 0, 0xff};
    key.number = 4;
    key.keyEquivalent = "q";
    key.picture = std::vector<std::uint8_t>();
    submenu.number = 5;
    submenu.submenu = std::vector{separator, plain, key};
    return {{separator, plain, marked, pictured, submenu}};
}

Image picture() {
    return {.themeName = "",
            .bitmaps = {{1, 1, {1, 2, 3, 255}}, {2, 1, {0, 0, 0, 0, 9, 9, 9, 9}}},
            .size = 0,
            .isTemplate = true};
}

std::vector<std::string> everyRequest() {
    return {encode(Request(Hello{})),
            encode(ShowWindow{1, 2, everyView(), {{"a", "b"}, {}}, Placement{-5, 7, 600, 400}, "token"}),
            encode(ShowWindow{1, 2, {}, {}, std::nullopt, ""}),
            encode(CloseWindow{3}),
            encode(SetText{1, "text"}),
            encode(SetRows{1, {{"name", "1.0"}}}),
            encode(RunAlert{4, "message", "more", "token"}),
            encode(SetPasteboard{5, "text"}),
            encode(ShowTrayIcon{7, picture(), "Quorvel", everyItem()}),
            encode(HideTrayIcon{}),
            encode(PopUpMenu{8, everyItem(), "token"}),
            encode(SetMenu{8, {}})};
}

std::vector<std::string> everyEvent() {
    return {encode(Event(Hello{})),           encode(WindowClosed{1, 2, {10, 20, 600, 400}}),
            encode(ButtonPressed{1, "Copy"}), encode(AlertDismissed{4}),
            encode(PasteboardLost{5}),        encode(TrayIconMissing{7}),
            encode(MenuItemChosen{9}),        encode(MenuClosed{8})};
}

TEST(PainterMessagesTest, whatIsDecodedEncodesToTheSameLine) {
    for (const auto& line : everyRequest()) {
        const auto decoded = decodeRequest(line);
        ASSERT_TRUE(decoded) << line << ": " << decoded.error();
        EXPECT_EQ(encode(*decoded), line);
    }
    for (const auto& line : everyEvent()) {
        const auto decoded = decodeEvent(line);
        ASSERT_TRUE(decoded) << line << ": " << decoded.error();
        EXPECT_EQ(encode(*decoded), line);
    }
}

TEST(PainterMessagesTest, valuesArriveAsTheyWere) {
    const auto request = decodeRequest(everyRequest()[1]);
    const auto& show = std::get<ShowWindow>(request.value());
    EXPECT_EQ(show.placement, (Placement{-5, 7, 600, 400}));
    EXPECT_EQ(show.rows, (TableRows{{"a", "b"}, {}}));
    const auto& label = std::get<Label>(show.content.views.at(0));
    EXPECT_EQ(label.text, "a \"text\"\n");
    EXPECT_EQ(label.color, ColorRole::tertiaryLabel);
    EXPECT_EQ(label.font, (Font{FontRole::boldSystem, 18}));
    EXPECT_EQ(std::get<Button>(show.content.views.at(1)).frame, (Frame{-8, 8, 80, 24}));
    EXPECT_EQ(std::get<TextView>(show.content.views.at(2)).inset, 8);
    EXPECT_EQ(std::get<TableView>(show.content.views.at(3)).columns.at(1).identifier, "version");

    const auto event = decodeEvent(everyEvent()[1]);
    EXPECT_EQ(std::get<WindowClosed>(event.value()).placement, (Placement{10, 20, 600, 400}));
}

TEST(PainterMessagesTest, aMenuArrivesAsItWas) {
    const auto request = decodeRequest(encode(ShowTrayIcon{7, picture(), "tip", everyItem()}));
    const auto& show = std::get<ShowTrayIcon>(request.value());
    EXPECT_EQ(show.image, picture());
    EXPECT_EQ(show.toolTip, "tip");
    const auto& items = show.menu.items;
    ASSERT_EQ(items.size(), 5U);
    EXPECT_TRUE(items[0].isSeparator);
    EXPECT_EQ(items[1].title, everyItem().items[1].title);
    EXPECT_EQ(items[1].state, MenuItem::State::none);
    EXPECT_FALSE(items[1].picture || items[1].submenu);
    EXPECT_EQ(items[2].state, MenuItem::State::on);
    EXPECT_FALSE(items[2].isEnabled);
    EXPECT_EQ(items[3].picture, (std::vector<std::uint8_t>{0x89, 'P', 0, 0xff}));
    EXPECT_EQ(items[4].number, 5U);
    EXPECT_EQ(items[4].submenu.value().at(2).keyEquivalent, "q");
    EXPECT_TRUE(items[4].submenu.value().at(2).picture.value().empty());
}

TEST(PainterMessagesTest, isOneLineOfValidTextWhateverTheText) {
    const std::string line = encode(SetText{1, "a\r\nb\xff\u2028"});
    EXPECT_EQ(line.find('\n'), line.npos);
    EXPECT_EQ(std::get<SetText>(decodeRequest(line).value()).text, "a\r\nb\uFFFD\u2028");
}

TEST(PainterMessagesTest, refusesWhatIsNotAnEvent) {
    const char* const lines[] = {
        "null",
        "{}",
        R"({"type":"quit"})",
        R"({"type":"setText","window":1,"text":""})",
        R"({"type":"hello"})",
        R"({"type":"hello","version":1.0})",
        R"({"type":"hello","version":-1})",
        R"({"type":"hello","version":18446744073709551616})",
        R"({"type":"buttonPressed","window":1})",
        R"({"type":"buttonPressed","window":1,"title":["Copy"]})",
        "{\"type\":\"buttonPressed\",\"window\":1,\"title\":\"\xff\"}",
        R"({"type":"windowClosed","window":1,"showing":1})",
        R"({"type":"windowClosed","window":1,"showing":1,"placement":{}})",
        R"({"type":"windowClosed","window":1,"showing":1,"placement":[0,0,9]})",
        R"({"type":"windowClosed","window":1,"showing":1,"placement":[0,0,9,9,9]})",
        R"({"type":"windowClosed","window":1,"showing":1,"placement":[0,0,9,9.5]})",
        R"({"type":"windowClosed","window":1,"showing":1,"placement":[0,0,9,32768]})",
    };
    for (const char* line : lines)
        EXPECT_FALSE(decodeEvent(line)) << line;
}

struct Fault {
    const char* from;
    const char* to;
};

/// Each alone makes the good line one that is refused.
void expectRefused(const std::string& good, std::initializer_list<Fault> faults) {
    ASSERT_TRUE(decodeRequest(good)) << good;
    for (const auto& [from, to] : faults) {
        std::string line = good;
        const auto at = line.find(from);
        ASSERT_NE(at, line.npos) << from << " is not in " << line;
        line.replace(at, std::string(from).size(), to);
        EXPECT_FALSE(decodeRequest(line)) << to;
    }
}

TEST(PainterMessagesTest, refusesAWindowWithOneThingWrong) {
    expectRefused(everyRequest()[1], {
                                         {"\"role\":\"boldSystem\"", "\"role\":\"italic\""},
                                         {"\"points\":18.0", "\"points\":\"18\""},
                                         {"\"points\":18.0", "\"points\":-1"},
                                         {"\"color\":\"tertiaryLabel\"", "\"colour\":\"tertiaryLabel\""},
                                         {"\"style\":\"link\"", "\"style\":1"},
                                         {"\"type\":\"label\"", "\"type\":\"web\""},
                                         {"\"isResizable\":true", "\"isResizable\":1"},
                                         {"\"width\":600.0", "\"width\":1e9"},
                                         {"\"width\":600.0", "\"width\":true"},
                                         {"[-8.0,8.0,80.0,24.0]", "[-8.0,8.0,80.0]"},
                                         {"[-8.0,8.0,80.0,24.0]", "[-8.0,8.0,-80.0,24.0]"},
                                         {"[-8.0,8.0,80.0,24.0]", "[-8.0,8.0,80.0,null]"},
                                         {"\"rows\":[[\"a\",\"b\"],[]]", "\"rows\":[\"a\"]"},
                                         {"\"rows\":[[\"a\",\"b\"],[]]", "\"rows\":[[1]]"},
                                     });
}

TEST(PainterMessagesTest, refusesATrayIconWithOneThingWrong) {
    expectRefused(encode(ShowTrayIcon{7, picture(), "Quorvel", everyItem()}),
                  {{"\"type\":\"showTrayIcon\"", "\"type\":\"showTray\""},
                   {"\"type\":\"separator\"", "\"type\":\"line\""},
                   {"\"isEnabled\":true", "\"isEnabled\":1"},
                   {"\"isTemplate\":true", "\"isTemplate\":\"true\""},
                   {"\"state\":\"on\"", "\"state\":\"mixed\""},
                   {"\"number\":5", "\"number\":-5"},
                   {"\"key\":\"q\"", "\"kez\":\"q\""},
                   {"\"picture\":\"895000ff\"", "\"picture\":\"895000f\""},
                   {"\"picture\":\"895000ff\"", "\"picture\":\"895000fg\""},
                   {"\"submenu\":[", "\"submenu\":[1,"},
                   {"\"rgba\":\"010203ff\"", "\"rgba\":\"010203\""},
                   {"\"width\":2", "\"width\":4294967298"},
                   {"\"height\":1", "\"height\":0"},
                   {"\"menu\":[", "\"menu\":[{},"}});
}

TEST(PainterMessagesTest, refusesAMenuWithTooManyLevels) {
    MenuContent menu;
    const auto nest = [&menu] {
        MenuContent::Item parent;
        parent.submenu = std::move(menu.items);
        menu.items.assign(1, std::move(parent));
    };
    for (int level = 0; level < 8; ++level)
        nest();
    // The innermost submenu is one level more, though empty.
    EXPECT_FALSE(decodeRequest(encode(SetMenu{1, menu})));
    EXPECT_TRUE(decodeRequest(encode(SetMenu{1, {*menu.items[0].submenu}})));
}

TEST(PainterMessagesTest, refusesWhatIsTooLong) {
    const auto lineOf = [](std::size_t length) {
        const std::string start = R"({"type":"alertDismissed","alert":1,"more":")";
        return start + std::string(length - start.size() - 2, 'x') + "\"}";
    };
    EXPECT_TRUE(decodeEvent(lineOf(longestEvent)));
    EXPECT_FALSE(decodeEvent(lineOf(longestEvent + 1)));
}

TEST(PainterMessagesTest, isNotBroughtDownByDepth) {
    const std::size_t depth = 200'000;
    EXPECT_FALSE(decodeEvent(std::string(depth, '[')));
    EXPECT_FALSE(decodeEvent(std::string(depth, '[') + std::string(depth, ']')));
}

}  // namespace
}  // namespace quorvel::painter
