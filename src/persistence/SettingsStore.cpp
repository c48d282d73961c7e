#include "persistence/SettingsStore.h"

#include "persistence/StoredJson.h"

namespace quorvel {

SettingsStore::SettingsStore(const PersistenceManager& persistence)
    : url(persistence.appSupportURL / "settings.json") {}

Settings SettingsStore::load() const {
    const auto value = storedJson::load(url);
    const auto openAtLogin = value.find("openAtLogin");
    const auto colorIcon = value.find("colorIcon");
    if (openAtLogin == value.end() || !openAtLogin->is_boolean()) return {};
    if (colorIcon == value.end() || !colorIcon->is_boolean()) return {};
    return {.openAtLogin = openAtLogin->get<bool>(), .colorIcon = colorIcon->get<bool>()};
}

void SettingsStore::save(const Settings& settings) const {
    storedJson::save(url, {{"openAtLogin", settings.openAtLogin}, {"colorIcon", settings.colorIcon}});
}

}  // namespace quorvel
