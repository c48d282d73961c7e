#include "ui/LoginItemService.h"

#include <utility>

namespace quorvel {

LoginItemService::LoginItemService(SettingsStore settingsStore, LoginItem& loginItem)
    : settingsStore(std::move(settingsStore)), loginItem(loginItem) {}

void LoginItemService::setEnabled(bool enabled) const {
    Settings settings = settingsStore.load();
    settings.openAtLogin = enabled;
    settingsStore.save(settings);
    if (enabled) {
        loginItem.registerItem();
    } else {
        loginItem.unregisterItem();
    }
}

}  // namespace quorvel
