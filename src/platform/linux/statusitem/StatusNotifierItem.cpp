#include "platform/linux/statusitem/StatusNotifierItem.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <system_error>
#include <utility>
#include <vector>

#include "platform/linux/XdgFolders.h"
#include "platform/text/DisplayText.h"

namespace quorvel {

namespace {

namespace fs = std::filesystem;

constexpr const char* interfaceName = "org.kde.StatusNotifierItem";

/// No panel recolours pixels. The contrast of this grey is 3.9 to 1 on white and 5.3 to 1 on black.
constexpr std::uint8_t templateGrey = 0x80;

bool hasIcon(const fs::path& theme, const std::string& name) {
    std::error_code ignored;
    return std::ranges::any_of(std::array{"scalable", "symbolic"}, [&](const char* size) {
        return fs::exists(theme / size / "apps" / (name + ".svg"), ignored);
    });
}

/// The folder of icon themes in which a host finds an icon of that name; empty when there is none. Looks into
/// the theme that every other falls back on (hicolor).
fs::path iconThemeFolder(const std::string& iconName) {
    const char* const shared = getenv("XDG_DATA_DIRS");
    const bool isSet = shared != nullptr && *shared != '\0';
    std::istringstream list(xdg::dataHome().string() + ':' +
                            (isSet ? shared : "/usr/local/share:/usr/share"));
    for (std::string folder; std::getline(list, folder, ':');) {
        const auto icons = fs::path(folder) / "icons";
        // The base directory rules have relative folders disregarded.
        if (icons.is_absolute() && hasIcon(icons / "hicolor", iconName)) return icons;
    }
    return {};
}

/// Panels recolour an icon exactly when its name ends so.
std::string themeNameFor(const Image& image) {
    return image.isTemplate ? image.themeName + "-symbolic" : image.themeName;
}

/// Alpha, red, green, blue: ARGB32 in network byte order.
std::vector<std::uint8_t> argb(const Bitmap& bitmap, bool isTemplate) {
    std::vector<std::uint8_t> pixels(bitmap.rgba.size());
    for (std::size_t byte = 0; byte < pixels.size(); byte += 4) {
        pixels[byte] = bitmap.rgba[byte + 3];
        for (std::size_t colour = 0; colour < 3; ++colour)
            pixels[byte + 1 + colour] = isTemplate ? templateGrey : bitmap.rgba[byte + colour];
    }
    return pixels;
}

void append(sd_bus_message* message, const Bitmap& bitmap, bool isTemplate) {
    const auto pixels = argb(bitmap, isTemplate);
    appendContainer(message, 'r', "iiay", [&] {
        require(sd_bus_message_append(message, "ii", bitmap.width, bitmap.height));
        require(sd_bus_message_append_array(message, 'y', pixels.data(), pixels.size()));
    });
}

}  // namespace

/// What the item has none of is there too: hosts log an error for each property that is not. Those with a
/// description are of Ayatana's hosts.
/// Activate and ContextMenu are left out: a host that calls them although the item is a menu learns from the
/// error that it has to show the menu itself.
const sd_bus_vtable StatusNotifierItem::vtable[] = {
    SD_BUS_VTABLE_START(0),
    busText<"ApplicationStatus">("Category"),
    busText<"quorvel">("Id"),
    busText<"Quorvel">("Title"),
    busText<"Active">("Status"),
    busConstant<"i", 0>("WindowId"),
    busProperty<&StatusNotifierItem::themePath>("IconThemePath", "s"),
    busProperty<&StatusNotifierItem::themeName>("IconName", "s"),
    busProperty<&StatusNotifierItem::iconPixmap>("IconPixmap", "a(iiay)"),
    busText<"Quorvel">("IconAccessibleDesc"),
    busText<"">("OverlayIconName"),
    busConstant<"a(iiay)", 0>("OverlayIconPixmap"),
    busText<"">("AttentionIconName"),
    busConstant<"a(iiay)", 0>("AttentionIconPixmap"),
    busText<"">("AttentionMovieName"),
    busText<"">("AttentionAccessibleDesc"),
    busProperty<&StatusNotifierItem::toolTip>("ToolTip", "(sa(iiay)ss)"),
    busConstant<"b", 1>("ItemIsMenu"),
    busConstant<"o", DBusMenu::path>("Menu"),
    busMethod<&StatusNotifierItem::provideActivationToken>("ProvideXdgActivationToken", "s", ""),
    SD_BUS_SIGNAL("NewIcon", "", 0),
    SD_BUS_SIGNAL("NewToolTip", "", 0),
    SD_BUS_VTABLE_END,
};

StatusNotifierItem::StatusNotifierItem(SessionBus& sessionBus, IconProvider* menuIcons,
                                       std::unique_ptr<TrayItem> inTray, bool mayHaveTray,
                                       TokenHandler onToken)
    : bus(sessionBus),
      menu(bus, menuIcons),
      tokenGiven(std::move(onToken)),
      trayItem(std::move(inTray)),
      traySearch(bus.queue(), *trayItem),
      watcher(bus, mayHaveTray ? [this](bool areThere) { traySearch.hostsChanged(areThere); }
                               : StatusNotifierWatcher::HostsChanged()) {
    if (bus.connection())
        require(sd_bus_add_object_vtable(bus.connection(), OutPtr(objectSlot), path, interfaceName, vtable,
                                         this));
}

/// One that cannot be sent means that the bus is lost.
void StatusNotifierItem::emit(const char* signal) {
    sd_bus_emit_signal(bus.connection(), path, interfaceName, signal, nullptr);
}

void StatusNotifierItem::setImage(std::shared_ptr<const Image> newImage) {
    const bool isAsBefore = *newImage == *image;
    image = std::move(newImage);
    trayItem->setImage(image);
    if (isAsBefore) return;
    themeName = themeNameFor(*image);
    themePath = iconThemeFolder(themeName);
    // A name that is not found is shown as nothing by hosts that do not look at the pixels then.
    if (themePath.empty()) themeName.clear();
    emit("NewIcon");
}

void StatusNotifierItem::setToolTip(const std::string& text) {
    trayItem->setToolTip(text);
    if (text == toolTipText) return;
    toolTipText = text;
    emit("NewToolTip");
}

void StatusNotifierItem::setMenu(std::shared_ptr<const Menu> newMenu) {
    menu.setMenu(newMenu);
    trayItem->setMenu(std::move(newMenu));
}

int StatusNotifierItem::iconPixmap(sd_bus_message* reply) {
    appendContainer(reply, 'a', "(iiay)", [&] {
        for (const auto& bitmap : image->bitmaps)
            append(reply, bitmap, image->isTemplate);
    });
    return 1;
}

int StatusNotifierItem::toolTip(sd_bus_message* reply) {
    const auto text = onOneLine(toolTipText);
    return sd_bus_message_append(reply, "(sa(iiay)ss)", "", 0, text.c_str(), "");
}

/// On the queue, where the choice that follows it runs too.
int StatusNotifierItem::provideActivationToken(sd_bus_message* call) {
    auto token = readText(call);
    if (tokenGiven) bus.queue().post([give = tokenGiven, token = std::move(token)] { give(token); });
    return sd_bus_reply_method_return(call, "");
}

}  // namespace quorvel
