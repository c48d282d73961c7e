#include <cstdint>
#include <string>
#include <string_view>

#include "FuzzSupport.h"
#include "persistence/IgnoredVersionsStore.h"
#include "persistence/InstanceStore.h"
#include "persistence/SettingsStore.h"
#include "support/TemporaryFolder.h"

namespace {

using namespace quorvel;
using fuzz::require;

/// The bytes are also taken for texts: a version, a name and an identifier.
void checkIgnoredVersions(const IgnoredVersionsStore& store, std::string_view bytes) {
    IgnoredVersions entries = store.load();
    for (const auto& [bundleID, entry] : entries)
        fuzz::requireText(bundleID + entry.appName + entry.version);
    store.save(entries);
    require(store.load() == entries, "ignored versions are read as they were written");

    std::string_view texts = bytes;
    const auto version = fuzz::takeUpTo("|", texts);
    const auto appName = fuzz::takeUpTo("|", texts);
    store.ignore(version, appName, texts);
    entries.insert_or_assign(text::repairedUtf8(texts),
                             IgnoredEntry{text::repairedUtf8(appName), text::repairedUtf8(version)});
    require(store.load() == entries, "what is ignored is added, with what is malformed in it replaced");
    store.removeAll();
    require(store.load().empty(), "none is left after a reset");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const TemporaryFolder folder;
    static const auto persistence = PersistenceManager::at(folder.path);
    const std::string_view bytes = fuzz::textOf(data, size);
    for (const char* const file : {"settings.json", "instance_id.json", "ignored_versions.json"})
        folder.write(file, bytes);
    SettingsStore(persistence).load();
    InstanceStore(persistence).load();
    checkIgnoredVersions(IgnoredVersionsStore(persistence), bytes);
    return 0;
}
