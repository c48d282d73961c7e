#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <string_view>

#include "persistence/PersistenceManager.h"

namespace quorvel {

/// A catalog version that the user does not want to hear of.
struct IgnoredEntry {
    std::string appName;
    /// Exactly as the catalog gave it.
    std::string version;

    bool operator==(const IgnoredEntry&) const = default;
};

/// By bundle identifier: one ignored version an application.
using IgnoredVersions = std::map<std::string, IgnoredEntry, std::less<>>;

/// Keeps the ignored versions in "ignored_versions.json". Holds nothing in memory. Main thread.
class IgnoredVersionsStore {
public:
    explicit IgnoredVersionsStore(const PersistenceManager& persistence);

    /// Empty when the file is missing or any part of it is malformed.
    IgnoredVersions load() const;

    /// Replaces an earlier entry of the same application. What is malformed in a text is replaced. A failure
    /// is silent.
    void ignore(std::string_view version, std::string_view appName, std::string_view bundleID) const;

    void removeAll() const;
    void save(const IgnoredVersions& entries) const;

    const std::filesystem::path url;
};

}  // namespace quorvel
