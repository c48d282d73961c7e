#pragma once

#include <filesystem>

#include "persistence/PersistenceManager.h"
#include "persistence/Settings.h"

namespace quorvel {

/// Keeps the settings in "settings.json". Holds nothing in memory: every call goes to the file, so that
/// stores on one folder agree. Main thread.
class SettingsStore {
public:
    explicit SettingsStore(const PersistenceManager& persistence);

    /// The defaults when the file is missing or is not an object with both members.
    Settings load() const;

    /// A failure is silent: the change is lost.
    void save(const Settings& settings) const;

    const std::filesystem::path url;
};

}  // namespace quorvel
