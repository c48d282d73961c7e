#include "platform/painterprotocol/MenuCoding.h"

#include <array>
#include <cstddef>
#include <string_view>
#include <utility>

namespace quorvel::painter {

namespace {

using Bytes = std::vector<std::uint8_t>;

/// A menu of menus without end would overflow the stack of whoever reads it.
constexpr int deepestMenu = 8;
/// In pixels; the largest icon that any panel asks for.
constexpr std::uint64_t widestBitmap = 512;
/// In the order of MenuItem::State.
constexpr std::array<std::string_view, 3> stateNames{"none", "off", "on"};

/// Bytes travel as hexadecimal digits, since JSON has none.
std::string encodeBytes(const Bytes& bytes) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    text.reserve(bytes.size() * 2);
    for (const auto byte : bytes) {
        text += digits[byte >> 4];
        text += digits[byte & 15U];
    }
    return text;
}

int nibble(char digit) {
    if (digit >= '0' && digit <= '9') return digit - '0';
    if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
    throw DecodingFailure("A picture holds other than bytes.");
}

Bytes bytesMember(const Json& object, const char* name) {
    const std::string text = textMember(object, name);
    if (text.size() % 2 != 0) throw DecodingFailure("A picture ends inside of a byte.");
    Bytes bytes;
    bytes.reserve(text.size() / 2);
    for (std::size_t index = 0; index < text.size(); index += 2)
        bytes.push_back(static_cast<std::uint8_t>(nibble(text[index]) * 16 + nibble(text[index + 1])));
    return bytes;
}

bool truthMember(const Json& object, const char* name) {
    const Json& value = member(object, name);
    if (value.is_boolean()) return value.get<bool>();
    throw DecodingFailure("The member \"" + std::string(name) + "\" is neither true nor false.");
}

Json encodeItems(const std::vector<MenuContent::Item>& items);

Json encodeItem(const MenuContent::Item& item) {
    if (item.isSeparator) return {{"type", "separator"}};
    Json object{{"type", "item"},
                {"number", item.number},
                {"title", item.title},
                {"key", item.keyEquivalent},
                {"isEnabled", item.isEnabled},
                {"state", stateNames.at(static_cast<std::size_t>(item.state))}};
    if (item.picture) object["picture"] = encodeBytes(*item.picture);
    if (item.submenu) object["submenu"] = encodeItems(*item.submenu);
    return object;
}

Json encodeItems(const std::vector<MenuContent::Item>& items) {
    Json list = Json::array();
    for (const auto& item : items)
        list.push_back(encodeItem(item));
    return list;
}

MenuItem::State stateMember(const Json& object) {
    const std::string name = textMember(object, "state");
    for (std::size_t index = 0; index < stateNames.size(); ++index) {
        if (name == stateNames[index]) return static_cast<MenuItem::State>(index);
    }
    throw DecodingFailure("The member \"state\" is not one of the known names.");
}

std::vector<MenuContent::Item> decodeItems(const Json& list, int depth);

MenuContent::Item decodeItem(const Json& object, int depth) {
    MenuContent::Item item;
    const std::string type = textMember(object, "type");
    item.isSeparator = type == "separator";
    if (item.isSeparator) return item;
    if (type != "item") throw DecodingFailure("The type of a menu item is not known.");
    item.number = numberMember(object, "number");
    item.title = textMember(object, "title");
    item.keyEquivalent = textMember(object, "key");
    item.isEnabled = truthMember(object, "isEnabled");
    item.state = stateMember(object);
    if (object.contains("picture")) item.picture = bytesMember(object, "picture");
    if (object.contains("submenu")) item.submenu = decodeItems(listMember(object, "submenu"), depth + 1);
    return item;
}

std::vector<MenuContent::Item> decodeItems(const Json& list, int depth) {
    if (depth > deepestMenu) throw DecodingFailure("The menu has too many levels.");
    std::vector<MenuContent::Item> items;
    for (const Json& item : list)
        items.push_back(decodeItem(item, depth));
    return items;
}

Bitmap decodeBitmap(const Json& object) {
    const auto width = numberMember(object, "width"), height = numberMember(object, "height");
    Bitmap bitmap{static_cast<int>(width), static_cast<int>(height), bytesMember(object, "rgba")};
    const bool fits = width <= widestBitmap && height <= widestBitmap;
    if (!fits || bitmap.rgba.size() != width * height * 4)
        throw DecodingFailure("A bitmap's pixels are not those of its size.");
    return bitmap;
}

}  // namespace

Json encodeMenu(const MenuContent& menu) {
    return encodeItems(menu.items);
}

MenuContent decodeMenu(const Json& list) {
    return {decodeItems(list, 1)};
}

Json encodeImage(const Image& image) {
    Json bitmaps = Json::array();
    for (const auto& bitmap : image.bitmaps) {
        bitmaps.push_back(
            {{"width", bitmap.width}, {"height", bitmap.height}, {"rgba", encodeBytes(bitmap.rgba)}});
    }
    return {{"isTemplate", image.isTemplate}, {"bitmaps", std::move(bitmaps)}};
}

Image decodeImage(const Json& value) {
    Image image;
    image.isTemplate = truthMember(value, "isTemplate");
    for (const Json& bitmap : listMember(value, "bitmaps"))
        image.bitmaps.push_back(decodeBitmap(bitmap));
    return image;
}

}  // namespace quorvel::painter
