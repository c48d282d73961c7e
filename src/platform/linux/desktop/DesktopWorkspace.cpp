#include "platform/linux/desktop/DesktopWorkspace.h"

#include <memory>
#include <utility>

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

struct Method {
    const char *service, *path, *interface, *name;
};

constexpr Method openURI{"org.freedesktop.portal.Desktop", "/org/freedesktop/portal/desktop",
                         "org.freedesktop.portal.OpenURI", "OpenURI"};
constexpr Method showItems{"org.freedesktop.FileManager1", "/org/freedesktop/FileManager1",
                           "org.freedesktop.FileManager1", "ShowItems"};

/// Calls `method`; without an answer, or with an error for one, the fallback is started.
template <typename... Values>
void callOrStart(sd_bus* connection, Fallback fallback, const Method& method, const char* types,
                 Values... values) {
    auto owned = std::make_unique<Fallback>(std::move(fallback));
    BusSlot slot;
    if (sd_bus_call_method_async(connection, OutPtr(slot), method.service, method.path, method.interface,
                                 method.name, answered, owned.get(), types, values...) < 0)
        return owned->start(owned->arguments);
    sd_bus_slot_set_destroy_callback(slot.get(), [](void* data) { delete static_cast<Fallback*>(data); });
    (void)owned.release();  // now the slot's, and the slot the bus's
    sd_bus_slot_set_floating(slot.get(), 1);
}

}  // namespace

DesktopWorkspace::DesktopWorkspace(SessionBus& bus, Start start) : bus(bus), start(std::move(start)) {}

void DesktopWorkspace::openURL(const std::string& url) {
    callOrStart(bus.connection(), {start, {"xdg-open", url}}, openURI, "ssa{sv}", "", url.c_str(), 0);
}

void DesktopWorkspace::selectFile(const std::filesystem::path& path) {
    // Without a file manager that selects, the folder that holds the file is shown.
    callOrStart(bus.connection(), {start, {"xdg-open", path.parent_path().string()}}, showItems, "ass", 1,
                fileURL(path).c_str(), "");
}

std::string fileURL(const std::filesystem::path& path) {
    return "file://" + text::percentEncoded(path.string(), "-._~/");
}

}  // namespace quorvel
