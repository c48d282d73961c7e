#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>

#include "persistence/PersistenceManager.h"

namespace quorvel {

/// Keeps the instance id that the catalog gave this installation in "instance_id.json", the only place where
/// it lives. Holds nothing in memory. Main thread.
class InstanceStore {
public:
    /// The whole content of the file.
    struct Payload {
        std::int64_t id = 0;
    };

    explicit InstanceStore(const PersistenceManager& persistence);

    /// None when the file is missing or is not an object with an integer "id".
    std::optional<std::int64_t> load() const;

    /// A failure is silent: the next check registers anew.
    void save(std::int64_t id) const;

    const std::filesystem::path url;
};

}  // namespace quorvel
