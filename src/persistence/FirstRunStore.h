#pragma once

#include <filesystem>

#include "persistence/PersistenceManager.h"

namespace quorvel {

/// Owns the empty file "isFirstRun.txt": it is there once a registration has succeeded in this storage
/// folder.
class FirstRunStore {
public:
    explicit FirstRunStore(const PersistenceManager& persistence);

    /// Creates the marker, or empties the file that has its name. A failure is silent.
    void markFirstRun() const;

    const std::filesystem::path url;
};

}  // namespace quorvel
