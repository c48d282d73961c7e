#include "platform/linux/desktop/DesktopWorkspace.h"

#include <memory>
#include <systemd/sd-bus.h>
#include <utility>

#include "platform/linux/bus/BusMessage.h"
#include "platform/text/PercentEncoding.h"

namespace quorvel {

namespace {

struct Fallback {
    DesktopWorkspace::Start start;
    std::vector<std::string> arguments;
};

int answered(sd_bus_message* answer, void* data, sd_bus_error* /*error*/) {
    const auto& fallback = *static_cast<Fallback*>(data);
    if (sd_bus_message_is_method_error(answer, nullptr) != 0) fallback.start(fallback.arguments);
    return 0;
}

/// Sends the call; without an answer, or with an error for one, the fallback is started.
void callOrStart(sd_bus* connection, BusMessage message, Fallback fallback) {
    auto owned = std::make_unique<Fallback>(std::move(fallback));
    sd_bus_slot* slot = nullptr;
    if (connection == nullptr || !message ||
        sd_bus_call_async(connection, &slot, message.get(), answered, owned.get(), 0) < 0) {
        owned->start(owned->arguments);
        return;
    }
    sd_bus_slot_set_destroy_callback(slot, [](void* data) { delete static_cast<Fallback*>(data); });
    (void)owned.release();  // now the slot's, and the slot the bus's
    sd_bus_slot_set_floating(slot, 1);
    sd_bus_slot_unref(slot);
}

BusMessage methodCall(sd_bus* connection, const char* service, const char* path, const char* interface,
                      const char* method) {
    sd_bus_message* message = nullptr;
    if (connection == nullptr ||
        sd_bus_message_new_method_call(connection, &message, service, path, interface, method) < 0) {
        return nullptr;
    }
    return BusMessage(message);
}

}  // namespace

DesktopWorkspace::DesktopWorkspace(SessionBus& bus, Start start) : bus(bus), start(std::move(start)) {}

void DesktopWorkspace::openURL(const std::string& url) {
    auto message = methodCall(bus.connection(), "org.freedesktop.portal.Desktop",
                              "/org/freedesktop/portal/desktop", "org.freedesktop.portal.OpenURI", "OpenURI");
    if (message && sd_bus_message_append(message.get(), "ssa{sv}", "", url.c_str(), 0) < 0) message.reset();
    callOrStart(bus.connection(), std::move(message), {start, {"xdg-open", url}});
}

void DesktopWorkspace::selectFile(const std::filesystem::path& path) {
    auto message = methodCall(bus.connection(), "org.freedesktop.FileManager1",
                              "/org/freedesktop/FileManager1", "org.freedesktop.FileManager1", "ShowItems");
    if (message && sd_bus_message_append(message.get(), "ass", 1, fileURL(path).c_str(), "") < 0)
        message.reset();
    // Without a file manager that selects, the folder that holds the file is shown.
    callOrStart(bus.connection(), std::move(message), {start, {"xdg-open", path.parent_path().string()}});
}

std::string fileURL(const std::filesystem::path& path) {
    return "file://" + text::percentEncoded(path.string(), "-._~/");
}

}  // namespace quorvel
