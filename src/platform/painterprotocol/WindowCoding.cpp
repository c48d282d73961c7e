#include "platform/painterprotocol/WindowCoding.h"

#include <array>
#include <cstddef>
#include <string_view>
#include <utility>

namespace quorvel::painter {

namespace {

/// No screen is larger; what lies beyond would overflow a toolkit's coordinates.
constexpr double longestLength = 32'000;

/// A name in the JSON text for each value of an enumeration, in the order of its values.
using Names = std::initializer_list<const char*>;
constexpr Names fontNames{"system", "boldSystem", "monospaced"};
constexpr Names colorNames{"label", "secondaryLabel", "tertiaryLabel"};
constexpr Names buttonNames{"rounded", "link"};

[[noreturn]] void fail(const char* name, const char* type) {
    throw DecodingFailure("The member \"" + std::string(name) + "\" is missing or is not " + type + ".");
}

template <typename Value>
const char* nameOf(Names names, Value value) {
    return names.begin()[static_cast<std::size_t>(value)];
}

template <typename Value>
Value namedMember(const Json& object, const char* name, Names names) {
    const std::string text = textMember(object, name);
    for (std::size_t index = 0; index < names.size(); ++index) {
        if (text == names.begin()[index]) return static_cast<Value>(index);
    }
    fail(name, "one of the known names");
}

double lengthOf(const Json& value, const char* name, double least) {
    if (!value.is_number()) fail(name, "a number");
    const auto length = value.get<double>();
    if (!(length >= least && length <= longestLength)) fail(name, "a length that fits a screen");
    return length;
}

double lengthMember(const Json& object, const char* name) {
    return lengthOf(member(object, name), name, 0);
}

Json encodeFrame(const Frame& frame) {
    return Json::array({frame.x, frame.y, frame.width, frame.height});
}

Frame frameMember(const Json& object) {
    const Json& list = listMember(object, "frame");
    if (list.size() != 4) fail("frame", "a list of four numbers");
    return {lengthOf(list[0], "frame", -longestLength), lengthOf(list[1], "frame", -longestLength),
            lengthOf(list[2], "frame", 0), lengthOf(list[3], "frame", 0)};
}

Json encodeFont(const Font& font) {
    return {{"role", nameOf(fontNames, font.role)}, {"points", font.points}};
}

Font fontMember(const Json& object) {
    const Json& font = member(object, "font");
    return {namedMember<FontRole>(font, "role", fontNames), lengthMember(font, "points")};
}

Json encodeView(const Label& label) {
    return {{"type", "label"},
            {"frame", encodeFrame(label.frame)},
            {"text", label.text},
            {"font", encodeFont(label.font)},
            {"color", nameOf(colorNames, label.color)}};
}

Json encodeView(const Button& button) {
    return {{"type", "button"},
            {"frame", encodeFrame(button.frame)},
            {"title", button.title},
            {"style", nameOf(buttonNames, button.style)}};
}

Json encodeView(const TextView& view) {
    return {{"type", "textView"},
            {"frame", encodeFrame(view.frame)},
            {"font", encodeFont(view.font)},
            {"inset", view.inset},
            {"text", view.text}};
}

Json encodeView(const TableView& table) {
    Json columns = Json::array();
    for (const auto& column : table.columns) {
        columns.push_back(
            {{"identifier", column.identifier}, {"title", column.title}, {"width", column.width}});
    }
    return {{"type", "tableView"},
            {"frame", encodeFrame(table.frame)},
            {"rowHeight", table.rowHeight},
            {"font", encodeFont(table.font)},
            {"columns", std::move(columns)}};
}

TableView decodeTable(const Json& value) {
    TableView table{frameMember(value), lengthMember(value, "rowHeight"), fontMember(value), {}};
    for (const Json& column : listMember(value, "columns")) {
        table.columns.push_back(
            {textMember(column, "identifier"), textMember(column, "title"), lengthMember(column, "width")});
    }
    return table;
}

View decodeView(const Json& value) {
    const std::string type = textMember(value, "type");
    if (type == "label")
        return Label{frameMember(value), textMember(value, "text"), fontMember(value),
                     namedMember<ColorRole>(value, "color", colorNames)};
    if (type == "button")
        return Button{frameMember(value), textMember(value, "title"),
                      namedMember<Button::Style>(value, "style", buttonNames)};
    if (type == "textView")
        return TextView{frameMember(value), fontMember(value), lengthMember(value, "inset"),
                        textMember(value, "text")};
    if (type == "tableView") return decodeTable(value);
    fail("type", "a known kind of view");
}

}  // namespace

const Json& member(const Json& object, const char* name) {
    const auto found = object.is_object() ? object.find(name) : object.end();
    if (found == object.end()) fail(name, "there");
    return *found;
}

std::string textMember(const Json& object, const char* name) {
    const Json& value = member(object, name);
    if (!value.is_string()) fail(name, "a text");
    return value.get<std::string>();
}

std::uint64_t numberMember(const Json& object, const char* name) {
    const Json& value = member(object, name);
    if (!value.is_number_unsigned()) fail(name, "a number from 0");
    return value.get<std::uint64_t>();
}

const Json& listMember(const Json& object, const char* name) {
    const Json& value = member(object, name);
    if (!value.is_array()) fail(name, "a list");
    return value;
}

Json encodeContent(const WindowContent& content) {
    Json views = Json::array();
    for (const View& view : content.views) {
        views.push_back(std::visit([](const auto& some) { return encodeView(some); }, view));
    }
    return {{"title", content.title},
            {"width", content.width},
            {"height", content.height},
            {"isResizable", content.isResizable},
            {"views", std::move(views)}};
}

WindowContent decodeContent(const Json& value) {
    WindowContent content{
        textMember(value, "title"), lengthMember(value, "width"), lengthMember(value, "height"), false, {}};
    const Json& isResizable = member(value, "isResizable");
    if (!isResizable.is_boolean()) fail("isResizable", "true or false");
    content.isResizable = isResizable.get<bool>();
    for (const Json& view : listMember(value, "views")) {
        content.views.push_back(decodeView(view));
    }
    return content;
}

TableRows decodeRows(const Json& list) {
    TableRows rows;
    for (const Json& row : list) {
        if (!row.is_array()) fail("rows", "a list of lists of texts");
        rows.emplace_back();
        for (const Json& text : row) {
            if (!text.is_string()) fail("rows", "a list of lists of texts");
            rows.back().push_back(text.get<std::string>());
        }
    }
    return rows;
}

}  // namespace quorvel::painter
