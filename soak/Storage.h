#pragma once

#include <chrono>
#include <filesystem>
#include <string>

#include "persistence/ErrorLogger.h"
#include "persistence/FirstRunStore.h"
#include "persistence/IgnoredVersionsStore.h"
#include "persistence/InstanceStore.h"
#include "persistence/SettingsStore.h"

namespace quorvel {

/// Every store of one folder. What write number n leaves behind depends on n alone, so that a file tells
/// which write it is from.
class Storage {
public:
    static constexpr std::size_t ignoredApps = 30;
    static constexpr std::size_t logLines = 20;

    explicit Storage(const std::filesystem::path& folder)
        : persistence(PersistenceManager::at(folder)),
          log(persistence, logLines, [] { return std::chrono::system_clock::time_point{}; }) {}

    void writeSettings(int number) const {
        settings.save({.openAtLogin = number % 2 != 0, .colorIcon = number % 4 > 1});
    }
    void writeIgnored(int number) const {
        IgnoredVersions entries;
        for (std::size_t app = 0; app < ignoredApps; ++app)
            entries[std::to_string(app)] = {"App", std::to_string(number)};
        ignored.save(entries);
    }
    void writeInstance(int number) const { instance.save(number); }

    void writeStores(int number) const {
        writeSettings(number);
        writeIgnored(number);
        writeInstance(number);
        ignored.ignore(std::to_string(number), "Editor", "com.example.editor");
        firstRun.markFirstRun();
    }
    /// The entry is longer than a page, so that a disk can take a part of it and no more.
    void writeLog(int number) const {
        log.resetWithHeader("Quorvel " + std::to_string(number));
        log.log(std::string(6000, static_cast<char>('a' + number)));
    }
    void write(int number) const {
        writeStores(number);
        writeLog(number);
    }

    bool readsAsFresh() const {
        return settings.load() == Settings{} && !instance.load() && ignored.load().empty();
    }

    const PersistenceManager persistence;
    const SettingsStore settings{persistence};
    const IgnoredVersionsStore ignored{persistence};
    const InstanceStore instance{persistence};
    const FirstRunStore firstRun{persistence};
    const ErrorLogger log;
};

}  // namespace quorvel
