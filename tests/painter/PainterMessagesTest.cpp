#include <gtest/gtest.h>

#include "platform/PainterMessages.h"

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

std::vector<std::string> everyRequest() {
    return {encode(Request(Hello{})),
            encode(ShowWindow{1, 2, everyView(), {{"a", "b"}, {}}, Placement{-5, 7, 600, 400}, "token"}),
            encode(ShowWindow{1, 2, {}, {}, std::nullopt, ""}),
            encode(CloseWindow{3}),
            encode(SetText{1, "text"}),
            encode(SetRows{1, {{"name", "1.0"}}}),
            encode(RunAlert{4, "message", "more", "token"}),
            encode(SetPasteboard{5, "text"}),
            encode(DecodeIcon{6, "/a/b.icns"})};
}

std::vector<std::string> everyEvent() {
    return {encode(Event(Hello{})),           encode(WindowClosed{1, 2, {10, 20, 600, 400}}),
            encode(ButtonPressed{1, "Copy"}), encode(AlertDismissed{4}),
            encode(PasteboardLost{5}),        encode(IconDecoded{6, {std::string("\x89PNG\0\xff", 6), ""}})};
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

    const auto event = decodeEvent(everyEvent().back());
    EXPECT_EQ(std::get<IconDecoded>(event.value()).pngs.at(0), std::string("\x89PNG\0\xff", 6));
}

TEST(PainterMessagesTest, isOneLineOfValidTextWhateverTheText) {
    const std::string line = encode(SetText{1, "a\r\nb\xff\u2028"});
    EXPECT_EQ(line.find('\n'), line.npos);
    EXPECT_EQ(std::get<SetText>(decodeRequest(line).value()).text, "a\r\nb\uFFFD\u2028");
}

TEST(PainterMessagesTest, noPrefixOfAMessageIsAMessage) {
    for (const auto& line : everyRequest()) {
        for (std::size_t length = 0; length < line.size(); ++length)
            EXPECT_FALSE(decodeRequest(line.substr(0, length))) << line.substr(0, length);
    }
    for (const auto& line : everyEvent()) {
        for (std::size_t length = 0; length < line.size(); ++length)
            EXPECT_FALSE(decodeEvent(line.substr(0, length))) << line.substr(0, length);
    }
}

TEST(PainterMessagesTest, refusesWhatIsNotAnEvent) {
    const char* const lines[] = {
        "null",
        "[]",
        "\"hello\"",
        "{}",
        R"({"type":1})",
        R"({"type":"quit"})",
        R"({"type":"setText","window":1,"text":""})",
        R"({"type":"hello"})",
        R"({"type":"hello","version":"1"})",
        R"({"type":"hello","version":1.0})",
        R"({"type":"hello","version":true})",
        R"({"type":"hello","version":-1})",
        R"({"type":"hello","version":18446744073709551616})",
        R"({"type":"buttonPressed","window":1})",
        R"({"type":"buttonPressed","window":null,"title":"Copy"})",
        R"({"type":"buttonPressed","window":1,"title":["Copy"]})",
        "{\"type\":\"buttonPressed\",\"window\":1,\"title\":\"\xff\"}",
        R"({"type":"windowClosed","window":1,"showing":1})",
        R"({"type":"windowClosed","window":1,"showing":1,"placement":{}})",
        R"({"type":"windowClosed","window":1,"showing":1,"placement":[0,0,9]})",
        R"({"type":"windowClosed","window":1,"showing":1,"placement":[0,0,9,9,9]})",
        R"({"type":"windowClosed","window":1,"showing":1,"placement":[0,0,9,9.5]})",
        R"({"type":"windowClosed","window":1,"showing":1,"placement":[0,0,9,32768]})",
        R"({"type":"iconDecoded","icon":1,"pngs":"00"})",
        R"({"type":"iconDecoded","icon":1,"pngs":[0]})",
        R"({"type":"iconDecoded","icon":1,"pngs":["0"]})",
        R"({"type":"iconDecoded","icon":1,"pngs":["0g"]})",
    };
    for (const char* line : lines)
        EXPECT_FALSE(decodeEvent(line)) << line;
}

TEST(PainterMessagesTest, refusesAWindowWithOneThingWrong) {
    struct Row {
        const char* from;
        const char* to;
    };
    const Row rows[] = {
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
    };
    const std::string good = everyRequest()[1];
    for (const auto& [from, to] : rows) {
        std::string line = good;
        const auto at = line.find(from);
        ASSERT_NE(at, line.npos) << from << " is not in " << line;
        line.replace(at, std::string(from).size(), to);
        EXPECT_FALSE(decodeRequest(line)) << to;
    }
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
