#include "platform/linux/StatusNotifierItem.h"

#include <cstddef>
#include <cstdint>
#include <unistd.h>
#include <utility>
#include <vector>

#include "platform/DisplayText.h"
#include "platform/Text.h"
#include "platform/linux/BusCallback.h"
#include "platform/linux/BusMessage.h"

namespace quorvel {

namespace {

constexpr const char* interfaceName = "org.kde.StatusNotifierItem";
constexpr const char* watcherName = "org.kde.StatusNotifierWatcher";
constexpr const char* watcherPath = "/StatusNotifierWatcher";
constexpr const char* watcherMatch =
    "type='signal',sender='org.freedesktop.DBus',path='/org/freedesktop/DBus',"
    "interface='org.freedesktop.DBus',member='NameOwnerChanged',arg0='org.kde.StatusNotifierWatcher'";

constexpr std::string_view symbolicSuffix = "-symbolic";

/// A panel recolours an icon exactly when its name ends in "-symbolic", which is what a template asks for and
/// what an image with colours of its own must be kept from.
std::string themeNameFor(const Image& image) {
    const bool isSymbolic = image.themeName.ends_with(symbolicSuffix);
    if (image.themeName.empty() || isSymbolic == image.isTemplate) return image.themeName;
    return image.isTemplate ? image.themeName + std::string(symbolicSuffix) : "";
}

bool isComplete(const Bitmap& bitmap) {
    return bitmap.width > 0 && bitmap.height > 0 &&
           bitmap.rgba.size() ==
               static_cast<std::size_t>(bitmap.width) * static_cast<std::size_t>(bitmap.height) * 4;
}

/// Alpha, red, green, blue: ARGB32 in network byte order.
std::vector<std::uint8_t> argb(const Bitmap& bitmap) {
    std::vector<std::uint8_t> pixels(bitmap.rgba.size());
    for (std::size_t byte = 0; byte < pixels.size(); byte += 4) {
        pixels[byte] = bitmap.rgba[byte + 3];
        for (std::size_t colour = 0; colour < 3; ++colour)
            pixels[byte + 1 + colour] = bitmap.rgba[byte + colour];
    }
    return pixels;
}

void append(sd_bus_message* message, const Bitmap& bitmap) {
    const auto pixels = argb(bitmap);
    appendContainer(message, 'r', "iiay", [&] {
        require(sd_bus_message_append(message, "ii", bitmap.width, bitmap.height));
        require(sd_bus_message_append_array(message, 'y', pixels.data(), pixels.size()));
    });
}

void appendText(sd_bus_message* message, const std::string& text) {
    require(sd_bus_message_append(message, "s", onOneLine(text::repairedUtf8(text)).c_str()));
}

}  // namespace

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
        SD_BUS_PROPERTY("IconThemePath", "s", busProperty<&Self::iconThemePath>, 0,
                        SD_BUS_VTABLE_PROPERTY_CONST),
        SD_BUS_PROPERTY("IconName", "s", busProperty<&Self::iconName>, 0, 0),
        SD_BUS_PROPERTY("IconPixmap", "a(iiay)", busProperty<&Self::iconPixmap>, 0, 0),
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
                                       int number, TokenHandler onToken)
    : bus(sessionBus),
      theme(std::move(iconTheme)),
      menu(bus, menuIcons),
      tokenGiven(std::move(onToken)),
      wishedName("org.kde.StatusNotifierItem-" + std::to_string(getpid()) + '-' + std::to_string(number)) {
    if (bus.connection()) publish();
}

StatusNotifierItem::~StatusNotifierItem() {
    if (auto* const connection = bus.connection(); connection && busName == wishedName)
        sd_bus_release_name_async(connection, nullptr, wishedName.c_str(), nullptr, nullptr);
}

/// The watcher is watched before it is asked, so that none can come in between unseen.
void StatusNotifierItem::publish() {
    sd_bus_slot* slot = nullptr;
    require(sd_bus_add_object_vtable(bus.connection(), &slot, path, interfaceName, vtable(), this));
    objectSlot.reset(slot);
    require(sd_bus_add_match_async(bus.connection(), &slot, watcherMatch,
                                   busCall<&StatusNotifierItem::watcherChanged>, nullptr, this));
    watcherSlot.reset(slot);
    require(sd_bus_request_name_async(bus.connection(), &slot, wishedName.c_str(), 0,
                                      busCall<&StatusNotifierItem::nameAnswered>, this));
    nameSlot.reset(slot);
}

/// Programs in containers of their own can share a process id; the second goes by its connection's name.
int StatusNotifierItem::nameAnswered(sd_bus_message* reply) {
    constexpr std::uint32_t primaryOwner = 1;
    std::uint32_t answer = 0;
    const bool isOwner = !sd_bus_message_is_method_error(reply, nullptr) &&
                         sd_bus_message_read(reply, "u", &answer) >= 0 && answer == primaryOwner;
    const char* ownName = "";
    if (!isOwner) require(sd_bus_get_unique_name(bus.connection(), &ownName));
    busName = isOwner ? wishedName : ownName;
    registerItem();
    return 0;
}

int StatusNotifierItem::watcherChanged(sd_bus_message* signal) {
    const char* newOwner = nullptr;
    require(sd_bus_message_read(signal, "sss", nullptr, nullptr, &newOwner));
    if (*newOwner != '\0') registerItem();
    return 0;
}

/// Asks for no answer: with no watcher there, its coming is what counts.
void StatusNotifierItem::registerItem() {
    if (busName.empty() || !bus.connection()) return;
    sd_bus_call_method_async(bus.connection(), nullptr, watcherName, watcherPath, watcherName,
                             "RegisterStatusNotifierItem", nullptr, nullptr, "s", busName.c_str());
}

void StatusNotifierItem::emit(const char* signal) {
    if (auto* const connection = bus.connection())
        sd_bus_emit_signal(connection, path, interfaceName, signal, nullptr);
}

void StatusNotifierItem::setImage(const Image& newImage) {
    if (newImage == image) return;
    image = newImage;
    themeName = themeNameFor(image);
    needsPixels = !theme.contains(themeName);
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
    return sd_bus_message_append(reply, "s", "");
}

int StatusNotifierItem::iconName(sd_bus_message* reply) {
    return sd_bus_message_append(reply, "s", themeName.c_str());
}

int StatusNotifierItem::iconPixmap(sd_bus_message* reply) {
    appendContainer(reply, 'a', "(iiay)", [&] {
        for (const auto& bitmap : image.bitmaps) {
            if (needsPixels && isComplete(bitmap)) append(reply, bitmap);
        }
    });
    return 1;
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
