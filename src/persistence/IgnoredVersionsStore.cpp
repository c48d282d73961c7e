#include "persistence/IgnoredVersionsStore.h"

#include "persistence/StoredJson.h"
#include "platform/text/Text.h"

namespace quorvel {

namespace {

const nlohmann::json* textMember(const nlohmann::json& object, const char* key) {
    const auto member = object.find(key);
    return member != object.end() && member->is_string() ? &*member : nullptr;
}

}  // namespace

IgnoredVersionsStore::IgnoredVersionsStore(const PersistenceManager& persistence)
    : url(persistence.appSupportURL / "ignored_versions.json") {}

IgnoredVersions IgnoredVersionsStore::load() const {
    const auto value = storedJson::load(url);
    if (!value.is_object()) return {};
    IgnoredVersions entries;
    for (const auto& [bundleID, entry] : value.items()) {
        if (!entry.is_object()) return {};
        const auto* appName = textMember(entry, "appName");
        const auto* version = textMember(entry, "version");
        if (appName == nullptr || version == nullptr) return {};
        entries.emplace(bundleID, IgnoredEntry{appName->get<std::string>(), version->get<std::string>()});
    }
    return entries;
}

void IgnoredVersionsStore::ignore(std::string_view version, std::string_view appName,
                                  std::string_view bundleID) const {
    IgnoredVersions entries = load();
    // As they are stored, so that the earlier entry is found by the same identifier.
    entries.insert_or_assign(text::repairedUtf8(bundleID),
                             IgnoredEntry{text::repairedUtf8(appName), text::repairedUtf8(version)});
    save(entries);
}

void IgnoredVersionsStore::removeAll() const {
    save({});
}

void IgnoredVersionsStore::save(const IgnoredVersions& entries) const {
    auto value = nlohmann::ordered_json::object();
    for (const auto& [bundleID, entry] : entries) {
        value[bundleID] = {{"appName", entry.appName}, {"version", entry.version}};
    }
    storedJson::save(url, value);
}

}  // namespace quorvel
