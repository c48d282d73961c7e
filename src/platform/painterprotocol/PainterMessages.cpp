#include "platform/painterprotocol/PainterMessages.h"

#include <limits>
#include <utility>

#include "platform/painterprotocol/MenuCoding.h"
#include "platform/painterprotocol/WindowCoding.h"

namespace quorvel::painter {

namespace {

Json encodePlacement(const Placement& placement) {
    return Json::array({placement.x, placement.y, placement.width, placement.height});
}

Placement decodePlacement(const Json& value) {
    const auto coordinate = [&value](std::size_t index) {
        if (!value.is_array() || value.size() != 4 || !value[index].is_number_integer())
            throw DecodingFailure("The member \"placement\" is not a list of four whole numbers.");
        const auto number = value[index].get<std::int64_t>();
        if (std::in_range<std::int16_t>(number)) return static_cast<int>(number);
        throw DecodingFailure("The member \"placement\" lies outside of any screen.");
    };
    return {coordinate(0), coordinate(1), coordinate(2), coordinate(3)};
}

Json toJson(const Hello& hello) {
    return {{"type", "hello"}, {"version", hello.version}};
}

Json toJson(const ShowWindow& show) {
    Json object{{"type", "showWindow"},    {"window", show.window},
                {"showing", show.showing}, {"content", encodeContent(show.content)},
                {"rows", show.rows},       {"activationToken", show.activationToken}};
    if (show.placement) object["placement"] = encodePlacement(*show.placement);
    return object;
}

Json toJson(const CloseWindow& close) {
    return {{"type", "closeWindow"}, {"window", close.window}};
}

Json toJson(const SetText& set) {
    return {{"type", "setText"}, {"window", set.window}, {"text", set.text}};
}

Json toJson(const SetRows& set) {
    return {{"type", "setRows"}, {"window", set.window}, {"rows", set.rows}};
}

Json toJson(const RunAlert& run) {
    return {{"type", "runAlert"},
            {"alert", run.alert},
            {"messageText", run.messageText},
            {"informativeText", run.informativeText},
            {"activationToken", run.activationToken}};
}

Json toJson(const SetPasteboard& set) {
    return {{"type", "setPasteboard"}, {"content", set.content}, {"text", set.text}};
}

Json toJson(const ShowTrayIcon& show) {
    return {{"type", "showTrayIcon"},
            {"showing", show.showing},
            {"image", encodeImage(show.image)},
            {"toolTip", show.toolTip},
            {"menu", encodeMenu(show.menu)}};
}

Json toJson(const HideTrayIcon&) {
    return {{"type", "hideTrayIcon"}};
}

Json toJson(const PopUpMenu& popUp) {
    return {{"type", "popUpMenu"},
            {"popUp", popUp.popUp},
            {"menu", encodeMenu(popUp.menu)},
            {"activationToken", popUp.activationToken}};
}

Json toJson(const SetMenu& set) {
    return {{"type", "setMenu"}, {"popUp", set.popUp}, {"menu", encodeMenu(set.menu)}};
}

Json toJson(const WindowClosed& closed) {
    return {{"type", "windowClosed"},
            {"window", closed.window},
            {"showing", closed.showing},
            {"placement", encodePlacement(closed.placement)}};
}

Json toJson(const ButtonPressed& pressed) {
    return {{"type", "buttonPressed"}, {"window", pressed.window}, {"title", pressed.title}};
}

Json toJson(const AlertDismissed& dismissed) {
    return {{"type", "alertDismissed"}, {"alert", dismissed.alert}};
}

Json toJson(const PasteboardLost& lost) {
    return {{"type", "pasteboardLost"}, {"content", lost.content}};
}

Json toJson(const TrayIconMissing& missing) {
    return {{"type", "trayIconMissing"}, {"showing", missing.showing}};
}

Json toJson(const MenuItemChosen& chosen) {
    return {{"type", "menuItemChosen"}, {"item", chosen.item}};
}

Json toJson(const MenuClosed& closed) {
    return {{"type", "menuClosed"}, {"popUp", closed.popUp}};
}

template <typename Message>
std::string encodeLine(const Message& message) {
    const Json object = std::visit([](const auto& some) { return toJson(some); }, message);
    return object.dump(-1, ' ', /*ensure_ascii=*/false, Json::error_handler_t::replace);
}

ShowWindow showWindowFrom(const Json& object) {
    ShowWindow show{numberMember(object, "window"),
                    numberMember(object, "showing"),
                    decodeContent(member(object, "content")),
                    decodeRows(listMember(object, "rows")),
                    std::nullopt,
                    textMember(object, "activationToken")};
    if (object.contains("placement")) show.placement = decodePlacement(object["placement"]);
    return show;
}

Request requestFrom(const std::string& type, const Json& object) {
    const auto number = [&object](const char* name) { return numberMember(object, name); };
    const auto text = [&object](const char* name) { return textMember(object, name); };
    if (type == "hello") return Hello{number("version")};
    if (type == "showWindow") return showWindowFrom(object);
    if (type == "closeWindow") return CloseWindow{number("window")};
    if (type == "setText") return SetText{number("window"), text("text")};
    if (type == "setRows") return SetRows{number("window"), decodeRows(listMember(object, "rows"))};
    if (type == "runAlert")
        return RunAlert{number("alert"), text("messageText"), text("informativeText"),
                        text("activationToken")};
    if (type == "setPasteboard") return SetPasteboard{number("content"), text("text")};
    if (type == "showTrayIcon")
        return ShowTrayIcon{number("showing"), decodeImage(member(object, "image")), text("toolTip"),
                            decodeMenu(listMember(object, "menu"))};
    if (type == "hideTrayIcon") return HideTrayIcon{};
    if (type == "popUpMenu")
        return PopUpMenu{number("popUp"), decodeMenu(listMember(object, "menu")), text("activationToken")};
    if (type == "setMenu") return SetMenu{number("popUp"), decodeMenu(listMember(object, "menu"))};
    throw DecodingFailure("The type of the request is not known.");
}

Event eventFrom(const std::string& type, const Json& object) {
    const auto number = [&object](const char* name) { return numberMember(object, name); };
    if (type == "hello") return Hello{number("version")};
    if (type == "windowClosed")
        return WindowClosed{number("window"), number("showing"),
                            decodePlacement(member(object, "placement"))};
    if (type == "buttonPressed") return ButtonPressed{number("window"), textMember(object, "title")};
    if (type == "alertDismissed") return AlertDismissed{number("alert")};
    if (type == "pasteboardLost") return PasteboardLost{number("content")};
    if (type == "trayIconMissing") return TrayIconMissing{number("showing")};
    if (type == "menuItemChosen") return MenuItemChosen{number("item")};
    if (type == "menuClosed") return MenuClosed{number("popUp")};
    throw DecodingFailure("The type of the event is not known.");
}

template <typename Message>
std::expected<Message, std::string> decodeLine(std::string_view line, std::size_t longest,
                                               Message (*from)(const std::string&, const Json&)) {
    if (line.size() > longest)
        return std::unexpected("The message is longer than " + std::to_string(longest) + " bytes.");
    const Json object = Json::parse(line, nullptr, /*allow_exceptions=*/false);
    if (object.is_discarded()) return std::unexpected("The message is not JSON.");
    try {
        return from(textMember(object, "type"), object);
    } catch (const DecodingFailure& failure) {
        return std::unexpected(failure.what());
    }
}

}  // namespace

std::string encode(const Request& request) {
    return encodeLine(request);
}

std::string encode(const Event& event) {
    return encodeLine(event);
}

std::expected<Request, std::string> decodeRequest(std::string_view line) {
    return decodeLine<Request>(line, longestRequest, requestFrom);
}

std::expected<Event, std::string> decodeEvent(std::string_view line) {
    return decodeLine<Event>(line, longestEvent, eventFrom);
}

}  // namespace quorvel::painter
