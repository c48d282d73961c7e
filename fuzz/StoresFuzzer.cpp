#include <algorithm>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

#include "FuzzSupport.h"
#include "persistence/FirstRunStore.h"
#include "persistence/IgnoredVersionsStore.h"
#include "persistence/InstanceStore.h"
#include "persistence/SettingsStore.h"
#include "platform/Files.h"

namespace {

using namespace quorvel;
using fuzz::require;

void put(const std::filesystem::path& url, std::string_view bytes) {
    std::ofstream file(url, std::ios::binary | std::ios::trunc);
    file << bytes;
    require(file.good(), "the folder can be written");
}

void checkSettings(const PersistenceManager& folder, std::string_view bytes) {
    const SettingsStore store(folder);
    put(store.url, bytes);
    const Settings settings = store.load();
    require(files::read(store.url) == bytes, "reading leaves the file alone");
    store.save(settings);
    require(store.load() == settings, "settings are read as they were written");
}

void checkInstance(const PersistenceManager& folder, std::string_view bytes) {
    const InstanceStore store(folder);
    put(store.url, bytes);
    const auto id = store.load();
    store.save(id.value_or(0));
    require(store.load() == id.value_or(0), "an instance id is read as it was written");
    std::int64_t other = 0;
    std::memcpy(&other, bytes.data(), std::min(bytes.size(), sizeof other));
    store.save(other);
    require(store.load() == other, "any instance id is read as it was written");
}

/// The bytes are also taken for texts: a version, a name and an identifier.
void checkIgnoredVersions(const PersistenceManager& folder, std::string_view bytes) {
    const IgnoredVersionsStore store(folder);
    put(store.url, bytes);
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

void checkFirstRun(const PersistenceManager& folder, std::string_view bytes) {
    const FirstRunStore store(folder);
    put(store.url, bytes);
    store.markFirstRun();
    require(files::read(store.url) == "", "the marker is empty");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const fuzz::ScratchFolder scratch;
    static const auto folder = PersistenceManager::at(scratch.path);
    const std::string_view bytes = fuzz::textOf(data, size);
    checkSettings(folder, bytes);
    checkInstance(folder, bytes);
    checkIgnoredVersions(folder, bytes);
    checkFirstRun(folder, bytes);
    const std::filesystem::directory_iterator files(scratch.path);
    require(std::distance(begin(files), end(files)) == 4, "the folder holds the files of the stores only");
    return 0;
}
