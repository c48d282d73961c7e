#include <gtest/gtest.h>

#include "platform/painterprotocol/PainterMessages.h"

namespace quorvel::painter {
namespace {

const WindowContent content{
    "Title",
    600,
    400.5,
    true,
    {Label{{0, 220, 400, 30}, "a \"text\"\n", {FontRole::boldSystem, 18}, ColorRole::tertiaryLabel},
     Button{{-8, 8, 80, 24}, "Copy", Button::Style::link},
     TextView{{0, 40, 600, 360}, {FontRole::monospaced, 11}, 8, "\u2192"},
     TableView{{0, 44, 480, 276}, 20, {FontRole::system, 12}, {{"name", "App Name", 280}}}}};
const std::string contentJson =
    R"(["Title",600.0,400.5,true,[["label",[[0.0,220.0,400.0,30.0],"a \"text\"\n",["boldSystem",18.0],"tertiaryLabel"]],)"
    R"(["button",[[-8.0,8.0,80.0,24.0],"Copy","link"]],)"
    R"(["textView",[[0.0,40.0,600.0,360.0],["monospaced",11.0],8.0,"→"]],)"
    R"(["tableView",[[0.0,44.0,480.0,276.0],20.0,["system",12.0],[["name","App Name",280.0]]]]]])";

using State = MenuItem::State;
const MenuContent::Item separator{true, 0, "", "", true, State::none, {}, {}},
    quit{false, 3, "Quit", "q", true, State::none, {{}}, {}},
    mark{false, 2, "R&D\n1.0", "", false, State::on, {{0x89, 'P', 0, 0xff}}, {{separator, quit}}};
const std::string menuJson =
    R"([[[false,2,"R&D\n1.0","",false,"on","895000ff",)"
    R"([[true,0,"","",true,"none",null,null],[false,3,"Quit","q",true,"none","",null]]]]])";

const Image image{
    .themeName = "", .bitmaps = {{2, 1, {1, 2, 3, 255, 0, 0, 9, 9}}}, .size = 0, .isTemplate = true};
const std::string trayLine =
    R"(["showTrayIcon",[7,[[[2,1,"010203ff00000909"]],true],"tip",)" + menuJson + "]]";
const std::string windowLine =
    R"(["showWindow",[1,2,)" + contentJson + R"(,[["a","b"],[]],[-5,7,600,400],"token"]])";
const std::string closedLine = R"(["windowClosed",[1,2,[10,20,600,400]]])";

template <typename Message>
struct Row {
    Message message;
    std::string line;
};

template <typename Message>
void expectLines(const std::vector<Row<Message>>& rows, std::optional<Message> (*decode)(std::string_view)) {
    ASSERT_EQ(rows.size(), std::variant_size_v<Message>);
    for (const auto& [message, line] : rows) {
        EXPECT_EQ(encode(message), line);
        const auto decoded = decode(line);
        ASSERT_TRUE(decoded) << line;
        EXPECT_EQ(encode(*decoded), line);
    }
}

TEST(PainterMessagesTest, everyMessageGoesOverTheWireWithAllItSays) {
    expectLines<Request>(
        {{Hello{}, R"(["hello",[5]])"},
         {ShowWindow{1, 2, content, {{"a", "b"}, {}}, Placement{-5, 7, 600, 400}, "token"}, windowLine},
         {CloseWindow{3}, R"(["closeWindow",[3]])"},
         {SetText{1, "a\r\nb\xff\u2028"}, "[\"setText\",[1,\"a\\r\\nb\uFFFD\u2028\"]]"},
         {SetRows{1, {{"name", "1.0"}}}, R"(["setRows",[1,[["name","1.0"]]]])"},
         {RunAlert{4, "message", "more", "token"}, R"(["runAlert",[4,"message","more","token"]])"},
         {SetPasteboard{5, "text"}, R"(["setPasteboard",[5,"text"]])"},
         {ShowTrayIcon{7, image, "tip", {{mark}}}, trayLine},
         {HideTrayIcon{}, R"(["hideTrayIcon",[]])"},
         {PopUpMenu{8, {{mark}}, "token"}, R"(["popUpMenu",[8,)" + menuJson + R"(,"token"]])"},
         {SetMenu{8, {}}, R"(["setMenu",[8,[[]]]])"}},
        decodeRequest);
    expectLines<Event>({{Hello{}, R"(["hello",[5]])"},
                        {WindowClosed{1, 2, {10, 20, 600, 400}}, closedLine},
                        {ButtonPressed{1, "Copy"}, R"(["buttonPressed",[1,"Copy"]])"},
                        {AlertDismissed{4}, R"(["alertDismissed",[4]])"},
                        {PasteboardLost{5}, R"(["pasteboardLost",[5]])"},
                        {TrayIconMissing{7}, R"(["trayIconMissing",[7]])"},
                        {MenuItemChosen{9}, R"(["menuItemChosen",[9]])"},
                        {MenuClosed{8}, R"(["menuClosed",[8]])"}},
                       decodeEvent);
    EXPECT_TRUE(decodeRequest(encode(ShowWindow{})));
}

/// The line with one thing changed.
std::string changed(std::string line, const std::string& from, const std::string& to) {
    const auto at = line.find(from);
    EXPECT_NE(at, line.npos) << from << " is not in " << line;
    return at == line.npos ? line : line.replace(at, from.size(), to);
}

TEST(PainterMessagesTest, refusesAsAWholeWhatDoesNotFit) {
    struct Fault {
        std::string line;
        const char *from, *to;
        bool isAccepted = false;
    };
    const std::string bitmap = R"([2,1,"010203ff00000909"])";
    const Fault requests[] = {
        {windowLine, "showWindow", "show"},
        {windowLine, "\"token\"]]", "\"token\",1]]"},
        {windowLine, "\"token\"]]", "\"token\"],1]"},
        {windowLine, "[1,2,", "[-1,2,"},
        {windowLine, "\"Title\"", "1"},
        {windowLine, "\"Title\"", "\"\xff\""},
        {windowLine, "600.0", "true"},
        {windowLine, "600.0", "32000", true},
        {windowLine, "600.0", "32000.5"},
        {windowLine, "boldSystem", "italic"},
        {windowLine, "\"label\"", "\"web\""},
        {windowLine, "-8.0,8.0,80.0,24.0", "-8.0,8.0,0,0", true},
        {windowLine, "-8.0,8.0,80.0,24.0", "-8.0,8.0,-1,24.0"},
        {windowLine, "-8.0,8.0,80.0,24.0", "-8.0,8.0,80.0,-1"},
        {windowLine, "[\"a\",\"b\"]", "[1]"},
        {windowLine, "[-5,7,600,400]", "null", true},
        {windowLine, "[-5,7,600,400]", "[-5,7,600,400.5]"},
        {trayLine, "895000ff", "895000f"},
        {trayLine, "895000ff", "895000fg"},
        {trayLine, bitmap.c_str(), R"([2,1,"010203ff"])"},
        {trayLine, bitmap.c_str(), R"([-1,-2,"010203ff00000909"])"},
        {trayLine, bitmap.c_str(), R"([0,513,""])"},
        {trayLine, bitmap.c_str(), R"([512,0,""])", true},
    };
    for (const auto& [line, from, to, isAccepted] : requests)
        EXPECT_EQ(decodeRequest(changed(line, from, to)).has_value(), isAccepted) << from << " -> " << to;
    EXPECT_FALSE(decodeRequest(closedLine)) << "an event";
    EXPECT_FALSE(decodeEvent(windowLine)) << "a request";
    for (const std::string& line :
         {std::string(), std::string("null"), std::string("{}"), std::string("[\"hello\"]"),
          std::string(200'000, '['), closedLine.substr(1)})
        EXPECT_FALSE(decodeEvent(line)) << line.substr(0, 20);
}

TEST(PainterMessagesTest, boundsLengthAndDepth) {
    const auto padded = [](std::size_t size) {
        const std::string line = R"(["alertDismissed",[1]])";
        return line + std::string(size - line.size(), ' ');
    };
    EXPECT_TRUE(decodeEvent(padded(maxEventSize)));
    EXPECT_FALSE(decodeEvent(padded(maxEventSize + 1)));
    const auto nested = [](int levels) {
        MenuContent menu;
        for (; levels > 0; --levels)
            menu.items = {{false, 0, "", "", true, State::none, {}, menu.items}};
        return encode(SetMenu{1, menu});
    };
    EXPECT_TRUE(decodeRequest(nested(8)));
    EXPECT_FALSE(decodeRequest(nested(20)));
}

}  // namespace
}  // namespace quorvel::painter
