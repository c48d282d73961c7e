#pragma once

#include <filesystem>

namespace quorvel {

/// Knows the storage folder, in which every store keeps its file, and makes it when it is missing. A folder
/// that cannot be made is no error here: each store then fails silently to read and write.
class PersistenceManager {
public:
    /// The storage folder of the running program, "quorvel" in the folder that the first call gives: the
    /// platform's for the user's application data.
    static const PersistenceManager& shared(const std::filesystem::path& applicationSupport);

    /// A fresh folder inside `baseDirectory`, "quorvel-" and a new UUID.
    explicit PersistenceManager(const std::filesystem::path& baseDirectory);

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
