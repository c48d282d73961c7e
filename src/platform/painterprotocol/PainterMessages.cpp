#include "platform/painterprotocol/PainterMessages.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <concepts>
#include <nlohmann/json.hpp>
#include <tuple>
#include <type_traits>
#include <utility>

namespace quorvel::painter {

namespace {

using Json = nlohmann::json;
using Bytes = std::vector<std::uint8_t>;

/// No screen is larger; what lies beyond would overflow a toolkit's coordinates.
constexpr int maxLength = 32'000;
/// In pixels; the largest icon that any panel asks for.
constexpr int maxBitmapSide = 512;
/// A menu of menus without end would overflow the stack of whoever reads it.
constexpr int maxDepth = 32;

/// What the values of an enumeration, and the types of a variant, are called in JSON, in their order.
template <typename Value>
constexpr std::array<const char*, 0> names{};
template <>
constexpr std::array names<FontRole>{"system", "boldSystem", "monospaced"};
template <>
constexpr std::array names<ColorRole>{"label", "secondaryLabel", "tertiaryLabel"};
template <>
constexpr std::array names<Button::Style>{"rounded", "link"};
template <>
constexpr std::array names<MenuItem::State>{"none", "off", "on"};
template <>
constexpr std::array names<View>{"label", "button", "textView", "tableView"};
template <>
constexpr std::array names<Request>{"hello",        "showWindow", "closeWindow",   "setText",
                                    "setRows",      "runAlert",   "setPasteboard", "showTrayIcon",
                                    "hideTrayIcon", "popUpMenu",  "setMenu"};
template <>
constexpr std::array names<Event>{"hello",          "windowClosed",    "buttonPressed",  "alertDismissed",
                                  "pasteboardLost", "trayIconMissing", "menuItemChosen", "menuClosed"};

template <typename Type, typename Value>
concept Is = std::same_as<std::remove_const_t<Type>, Value>;

/// The fields of each type in the order in which they lie in its JSON list: one table for both directions.
struct Fields {
    static auto of(Is<Frame> auto& it) { return std::tie(it.x, it.y, it.width, it.height); }
    static auto of(Is<Font> auto& it) { return std::tie(it.role, it.points); }
    static auto of(Is<Label> auto& it) { return std::tie(it.frame, it.text, it.font, it.color); }
    static auto of(Is<Button> auto& it) { return std::tie(it.frame, it.title, it.style); }
    static auto of(Is<TextView> auto& it) { return std::tie(it.frame, it.font, it.inset, it.text); }
    static auto of(Is<TableView> auto& it) { return std::tie(it.frame, it.rowHeight, it.font, it.columns); }
    static auto of(Is<TableView::Column> auto& it) { return std::tie(it.identifier, it.title, it.width); }
    static auto of(Is<WindowContent> auto& it) {
        return std::tie(it.title, it.width, it.height, it.isResizable, it.views);
    }
    static auto of(Is<Bitmap> auto& it) { return std::tie(it.width, it.height, it.rgba); }
    /// The pixels alone: the painter looks for no picture by its name.
    static auto of(Is<Image> auto& it) { return std::tie(it.bitmaps, it.isTemplate); }
    static auto of(Is<MenuContent> auto& it) { return std::tie(it.items); }
    static auto of(Is<MenuContent::Item> auto& it) {
        return std::tie(it.isSeparator, it.number, it.title, it.keyEquivalent, it.isEnabled, it.state,
                        it.picture, it.submenu);
    }
    static auto of(Is<Placement> auto& it) { return std::tie(it.x, it.y, it.width, it.height); }

    static auto of(Is<Hello> auto& it) { return std::tie(it.version); }
    static auto of(Is<ShowWindow> auto& it) {
        return std::tie(it.window, it.showing, it.content, it.rows, it.placement, it.activationToken);
    }
    static auto of(Is<CloseWindow> auto& it) { return std::tie(it.window); }
    static auto of(Is<SetText> auto& it) { return std::tie(it.window, it.text); }
    static auto of(Is<SetRows> auto& it) { return std::tie(it.window, it.rows); }
    static auto of(Is<RunAlert> auto& it) {
        return std::tie(it.alert, it.messageText, it.informativeText, it.activationToken);
    }
    static auto of(Is<SetPasteboard> auto& it) { return std::tie(it.content, it.text); }
    static auto of(Is<ShowTrayIcon> auto& it) { return std::tie(it.showing, it.image, it.toolTip, it.menu); }
    static auto of(Is<HideTrayIcon> auto&) { return std::tie(); }
    static auto of(Is<PopUpMenu> auto& it) { return std::tie(it.popUp, it.menu, it.activationToken); }
    static auto of(Is<SetMenu> auto& it) { return std::tie(it.popUp, it.menu); }

    static auto of(Is<WindowClosed> auto& it) { return std::tie(it.window, it.showing, it.placement); }
    static auto of(Is<ButtonPressed> auto& it) { return std::tie(it.window, it.title); }
    static auto of(Is<AlertDismissed> auto& it) { return std::tie(it.alert); }
    static auto of(Is<PasteboardLost> auto& it) { return std::tie(it.content); }
    static auto of(Is<TrayIconMissing> auto& it) { return std::tie(it.showing); }
    static auto of(Is<MenuItemChosen> auto& it) { return std::tie(it.item); }
    static auto of(Is<MenuClosed> auto& it) { return std::tie(it.popUp); }
};

template <typename Value>
concept HasFields = requires(Value& value) { Fields::of(value); };
template <typename Value>
concept IsList = requires(Value& value) { value.emplace_back(); };
template <typename Value>
concept IsOptional = requires(Value& value) { value.has_value(); };
template <typename Value>
concept IsVariant = requires(Value& value) { value.index(); };

/// Bytes travel as hexadecimal digits, since JSON has none.
std::string hexadecimal(const Bytes& bytes) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    text.reserve(bytes.size() * 2);
    for (const auto byte : bytes) {
        text += digits[byte >> 4];
        text += digits[byte & 15U];
    }
    return text;
}

template <typename Value>
Json toJson(const Value& value) {
    if constexpr (std::is_enum_v<Value>) {
        return names<Value>.at(static_cast<std::size_t>(value));
    } else if constexpr (std::same_as<Value, Bytes>) {
        return hexadecimal(value);
    } else if constexpr (IsList<Value>) {
        Json list = Json::array();
        for (const auto& item : value)
            list.push_back(toJson(item));
        return list;
    } else if constexpr (IsOptional<Value>) {
        return value ? toJson(*value) : Json();
    } else if constexpr (IsVariant<Value>) {
        return Json::array({names<Value>.at(value.index()),
                            std::visit([](const auto& some) { return toJson(some); }, value)});
    } else if constexpr (HasFields<Value>) {
        return std::apply([](const auto&... field) { return Json::array({toJson(field)...}); },
                          Fields::of(value));
    } else {
        return value;
    }
}

bool fits(const Frame& frame) {
    return frame.width >= 0 && frame.height >= 0;
}

bool fits(const Bitmap& bitmap) {
    const auto isSide = [](int pixels) { return pixels >= 0 && pixels <= maxBitmapSide; };
    return isSide(bitmap.width) && isSide(bitmap.height) &&
           std::cmp_equal(bitmap.rgba.size(), bitmap.width * bitmap.height * 4);
}

bool fits(const auto&) {
    return true;
}

bool readBytes(const Json& json, Bytes& bytes) {
    const auto* const text = json.get_ptr<const std::string*>();
    if (!text) return false;
    bytes.resize(text->size() / 2);
    const char* digits = text->data();
    for (auto& byte : bytes) {
        std::from_chars(digits, digits + 2, byte, 16);
        digits += 2;
    }
    return hexadecimal(bytes) == *text;
}

template <typename Value>
bool readNumber(const Json& json, Value& value) {
    if (std::is_integral_v<Value> ? !json.is_number_integer() : !json.is_number()) return false;
    const auto number = json.get<double>();
    if (std::abs(number) > maxLength) return false;
    value = static_cast<Value>(number);
    return true;
}

/// False for JSON that is no such value, which is then left half read.
template <typename Value>
bool read(const Json& json, Value& value, int depth) {
    if (depth > maxDepth) return false;
    if constexpr (std::is_enum_v<Value>) {
        const auto* const text = json.get_ptr<const std::string*>();
        const auto found = text ? std::ranges::find(names<Value>, *text) : names<Value>.end();
        value = static_cast<Value>(found - names<Value>.begin());
        return found != names<Value>.end();
    } else if constexpr (std::same_as<Value, Bytes>) {
        return readBytes(json, value);
    } else if constexpr (std::same_as<Value, int> || std::same_as<Value, double>) {
        return readNumber(json, value);
    } else if constexpr (IsList<Value>) {
        return json.is_array() && std::ranges::all_of(json, [&](const Json& item) {
                   return read(item, value.emplace_back(), depth + 1);
               });
    } else if constexpr (IsOptional<Value>) {
        return json.is_null() || read(json, value.emplace(), depth + 1);
    } else if constexpr (IsVariant<Value>) {
        const auto readNamed = [&]<typename... Types>(std::variant<Types...>& some) {
            const auto* known = names<Value>.begin();
            return ((json[0] == *known++ && read(json[1], some.template emplace<Types>(), depth + 1)) || ...);
        };
        return json.is_array() && json.size() == 2 && readNamed(value);
    } else if constexpr (HasFields<Value>) {
        std::size_t index = 0;
        const auto readAll = [&](auto&... field) {
            return json.size() == sizeof...(field) && (read(json[index++], field, depth + 1) && ...);
        };
        return json.is_array() && std::apply(readAll, Fields::of(value)) && fits(value);
    } else {
        const auto* const held = json.get_ptr<const Value*>();
        if (held) value = *held;
        return held != nullptr;
    }
}

template <typename Message>
std::string encodeLine(const Message& message) {
    return toJson(message).dump(-1, ' ', /*ensure_ascii=*/false, Json::error_handler_t::replace);
}

template <typename Message>
std::optional<Message> decodeLine(std::string_view line, std::size_t maxSize) {
    std::optional<Message> message;
    if (line.size() <= maxSize &&
        !read(Json::parse(line, nullptr, /*allow_exceptions=*/false), message.emplace(), 0))
        message.reset();
    return message;
}

}  // namespace

std::string encode(const Request& request) {
    return encodeLine(request);
}

std::string encode(const Event& event) {
    return encodeLine(event);
}

std::optional<Request> decodeRequest(std::string_view line) {
    return decodeLine<Request>(line, maxRequestSize);
}

std::optional<Event> decodeEvent(std::string_view line) {
    return decodeLine<Event>(line, maxEventSize);
}

}  // namespace quorvel::painter
