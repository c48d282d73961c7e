#include "platform/linux/statusitem/StatusNotifierItem.h"

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "platform/linux/bus/BusCallback.h"
#include "platform/linux/bus/BusMessage.h"
#include "platform/text/DisplayText.h"

namespace quorvel {

namespace {

constexpr const char* interfaceName = "org.kde.StatusNotifierItem";
constexpr const char* watcherName = "org.kde.StatusNotifierWatcher";
constexpr const char* watcherPath = "/StatusNotifierWatcher";
constexpr const char* watcherMatch =
    "type='signal',sender='org.freedesktop.DBus',path='/org/freedesktop/DBus',"
    "interface='org.freedesktop.DBus',member='NameOwnerChanged',arg0='org.kde.StatusNotifierWatcher'";

/// No panel recolours pixels. The contrast of this grey is 3.9 to 1 on white and 5.3 to 1 on black.
constexpr std::uint8_t templateGrey = 0x80;

/// Panels recolour an icon exactly when its name ends so.
std::string themeNameFor(const Image& image) {
    return image.isTemplate ? image.themeName + "-symbolic" : image.themeName;
}

bool isComplete(const Bitmap& bitmap) {
    return bitmap.width > 0 && bitmap.height > 0 &&
           bitmap.rgba.size() ==
               static_cast<std::size_t>(bitmap.width) * static_cast<std::size_t>(bitmap.height) * 4;
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

void appendText(sd_bus_message* message, const std::string& text) {
    require(sd_bus_message_append(message, "s", onOneLine(text).c_str()));
}

}  // namespace

/// What the item has none of is there too: hosts log an error for each property that is not. Those with a
/// description are of Ayatana's hosts.
/// Activate and ContextMenu are left out: a host that calls them although the item is a menu learns from the
/// error that it has to show the menu itself.
const sd_bus_vtable* StatusNotifierItem::vtable() {
    using Self = StatusNotifierItem;
    static const sd_bus_vtable members[] = {
        SD_BUS_VTABLE_START(0),
        SD_BUS_PROPERTY("Category", "s", busProperty<&Self::category>, 0, SD_BUS_VTABLE_PROPERTY_CONST),
        SD_BUS_PROPERTY("Id", "s", busProperty<&Self::identifier>, 0, SD_BUS_VTABLE_PROPERTY_CONST),
        SD_BUS_PROPERTY("Title", "s", busProperty<&Self::title>, 0, SD_BUS_VTABLE_PROPERTY_CONST),
        SD_BUS_PROPERTY("Status", "s", busProperty<&Self::status>, 0, SD_BUS_VTABLE_PROPERTY_CONST),
        SD_BUS_PROPERTY("WindowId", "i", busProperty<&Self::windowId>, 0, SD_BUS_VTABLE_PROPERTY_CONST),
        SD_BUS_PROPERTY("IconThemePath", "s", busProperty<&Self::iconThemePath>, 0, 0),
        SD_BUS_PROPERTY("IconName", "s", busProperty<&Self::iconName>, 0, 0),
        SD_BUS_PROPERTY("IconPixmap", "a(iiay)", busProperty<&Self::iconPixmap>, 0, 0),
        SD_BUS_PROPERTY("IconAccessibleDesc", "s", busProperty<&Self::title>, 0,
                        SD_BUS_VTABLE_PROPERTY_CONST),
        SD_BUS_PROPERTY("OverlayIconName", "s", busProperty<&Self::noText>, 0, SD_BUS_VTABLE_PROPERTY_CONST),
        SD_BUS_PROPERTY("OverlayIconPixmap", "a(iiay)", busProperty<&Self::noPixmap>, 0,
                        SD_BUS_VTABLE_PROPERTY_CONST),
        SD_BUS_PROPERTY("AttentionIconName", "s", busProperty<&Self::noText>, 0,
                        SD_BUS_VTABLE_PROPERTY_CONST),
        SD_BUS_PROPERTY("AttentionIconPixmap", "a(iiay)", busProperty<&Self::noPixmap>, 0,
                        SD_BUS_VTABLE_PROPERTY_CONST),
        SD_BUS_PROPERTY("AttentionMovieName", "s", busProperty<&Self::noText>, 0,
                        SD_BUS_VTABLE_PROPERTY_CONST),
        SD_BUS_PROPERTY("AttentionAccessibleDesc", "s", busProperty<&Self::noText>, 0,
                        SD_BUS_VTABLE_PROPERTY_CONST),
        SD_BUS_PROPERTY("ToolTip", "(sa(iiay)ss)", busProperty<&Self::toolTip>, 0, 0),
        SD_BUS_PROPERTY("ItemIsMenu", "b", busProperty<&Self::itemIsMenu>, 0, SD_BUS_VTABLE_PROPERTY_CONST),
        SD_BUS_PROPERTY("Menu", "o", busProperty<&Self::menuPath>, 0, SD_BUS_VTABLE_PROPERTY_CONST),
        SD_BUS_METHOD("ProvideXdgActivationToken", "s", "", busCall<&Self::provideActivationToken>,
                      SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_SIGNAL("NewIcon", "", 0),
        SD_BUS_SIGNAL("NewToolTip", "", 0),
        SD_BUS_VTABLE_END,
    };
    return members;
}

StatusNotifierItem::StatusNotifierItem(SessionBus& sessionBus, IconTheme iconTheme, IconProvider* menuIcons,
                                       TokenHandler onToken)
    : bus(sessionBus), theme(std::move(iconTheme)), menu(bus, menuIcons), tokenGiven(std::move(onToken)) {
    if (bus.connection()) publish();
}

/// The watcher is watched before it is asked, so that none can come in between unseen.
void StatusNotifierItem::publish() {
    sd_bus_slot* slot = nullptr;
    require(sd_bus_add_object_vtable(bus.connection(), &slot, path, interfaceName, vtable(), this));
    objectSlot.reset(slot);
    require(sd_bus_add_match_async(bus.connection(), &slot, watcherMatch,
                                   busCall<&StatusNotifierItem::watcherChanged>,
                                   busCall<&StatusNotifierItem::watching>, this));
    watcherSlot.reset(slot);
}

int StatusNotifierItem::watching(sd_bus_message* /*reply*/) {
    registerItem();
    return 0;
}

int StatusNotifierItem::watcherChanged(sd_bus_message* signal) {
    const char* newOwner = nullptr;
    require(sd_bus_message_read(signal, "sss", nullptr, nullptr, &newOwner));
    if (*newOwner != '\0') registerItem();
    return 0;
}

/// Asks for no answer: with no watcher there, its coming is what counts. By the connection's own name:
/// GNOME's host follows the owner of any other, and loses the item when it learns of the owner late.
void StatusNotifierItem::registerItem() {
    const char* ownName = nullptr;
    if (!bus.connection()) return;
    require(sd_bus_get_unique_name(bus.connection(), &ownName));
    sd_bus_call_method_async(bus.connection(), nullptr, watcherName, watcherPath, watcherName,
                             "RegisterStatusNotifierItem", nullptr, nullptr, "s", ownName);
}

void StatusNotifierItem::emit(const char* signal) {
    if (auto* const connection = bus.connection())
        sd_bus_emit_signal(connection, path, interfaceName, signal, nullptr);
}

void StatusNotifierItem::setImage(const Image& newImage) {
    if (newImage == image) return;
    image = newImage;
    themeName = themeNameFor(image);
    themePath = theme.folderOf(themeName);
    // A name that is not found is shown as nothing by hosts that do not look at the pixels then.
    if (themePath.empty()) themeName.clear();
    emit("NewIcon");
}

void StatusNotifierItem::setToolTip(const std::string& text) {
    if (text == toolTipText) return;
    toolTipText = text;
    emit("NewToolTip");
}

void StatusNotifierItem::setMenu(std::shared_ptr<const Menu> newMenu) {
    menu.setMenu(std::move(newMenu));
}

int StatusNotifierItem::category(sd_bus_message* reply) {
    return sd_bus_message_append(reply, "s", "ApplicationStatus");
}

int StatusNotifierItem::identifier(sd_bus_message* reply) {
    return sd_bus_message_append(reply, "s", "quorvel");
}

int StatusNotifierItem::title(sd_bus_message* reply) {
    return sd_bus_message_append(reply, "s", "Quorvel");
}

int StatusNotifierItem::status(sd_bus_message* reply) {
    return sd_bus_message_append(reply, "s", "Active");
}

int StatusNotifierItem::windowId(sd_bus_message* reply) {
    return sd_bus_message_append(reply, "i", 0);
}

int StatusNotifierItem::iconThemePath(sd_bus_message* reply) {
    return sd_bus_message_append(reply, "s", themePath.c_str());
}

int StatusNotifierItem::iconName(sd_bus_message* reply) {
    return sd_bus_message_append(reply, "s", themeName.c_str());
}

int StatusNotifierItem::iconPixmap(sd_bus_message* reply) {
    appendContainer(reply, 'a', "(iiay)", [&] {
        for (const auto& bitmap : image.bitmaps) {
            if (isComplete(bitmap)) append(reply, bitmap, image.isTemplate);
        }
    });
    return 1;
}

int StatusNotifierItem::noText(sd_bus_message* reply) {
    return sd_bus_message_append(reply, "s", "");
}

int StatusNotifierItem::noPixmap(sd_bus_message* reply) {
    return sd_bus_message_append(reply, "a(iiay)", 0);
}

int StatusNotifierItem::toolTip(sd_bus_message* reply) {
    appendContainer(reply, 'r', "sa(iiay)ss", [&] {
        require(sd_bus_message_append(reply, "sa(iiay)", "", 0));
        appendText(reply, toolTipText);
        require(sd_bus_message_append(reply, "s", ""));
    });
    return 1;
}

int StatusNotifierItem::itemIsMenu(sd_bus_message* reply) {
    return sd_bus_message_append(reply, "b", 1);
}

int StatusNotifierItem::menuPath(sd_bus_message* reply) {
    return sd_bus_message_append(reply, "o", DBusMenu::path);
}

/// On the queue, where the choice that follows it runs too.
int StatusNotifierItem::provideActivationToken(sd_bus_message* call) {
    const char* token = nullptr;
    require(sd_bus_message_read(call, "s", &token));
    if (tokenGiven) bus.queue().post([take = tokenGiven, text = std::string(token)] { take(text); });
    return sd_bus_reply_method_return(call, "");
}

}  // namespace quorvel
