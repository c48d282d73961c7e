#pragma once

#include <filesystem>
#include <optional>

namespace quorvel {

/// Knows the storage folder, in which every store keeps its file, and makes it when it is missing. A folder
/// that cannot be made is no error here: each store then fails to read and write in its own quiet way.
class PersistenceManager {
public:
    /// The storage folder of the running program: the user's application support folder plus "quorvel".
    static const PersistenceManager& shared();

    /// Without `baseDirectory` the same folder as `shared`; with one, a fresh folder inside it, "quorvel-"
    /// and a new UUID.
    explicit PersistenceManager(const std::optional<std::filesystem::path>& baseDirectory = std::nullopt);

    /// A storage folder that somebody chose.
    static PersistenceManager at(const std::filesystem::path& folder);

    const std::filesystem::path appSupportURL;

private:
    struct ExactFolder {
        std::filesystem::path path;
    };
    explicit PersistenceManager(ExactFolder folder);
};

}  // namespace quorvel
