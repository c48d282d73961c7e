#pragma once

#include <cstdint>
#include <expected>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace quorvel {

/// One application that the catalog knows. A member that is not there is left out of the answers.
struct CatalogEntry {
    std::int64_t id = 0;
    std::string title;
    std::optional<std::string> version;
    std::vector<std::string> bundleIdentifiers;
    std::optional<std::string> minimumOS;
};

/// The applications of one data file, and which of them a list of installed applications matches. Immutable.
class Catalog {
public:
    /// The error is a sentence that says which entry is wrong, and how; `load` puts the path before it.
    static std::expected<Catalog, std::string> parse(std::string_view text);
    static std::expected<Catalog, std::string> load(const std::filesystem::path& file);

    /// Entry i of `titles` and of `bundleIdentifiers` belong to one installed application. Each entry that
    /// lists one of the identifiers comes once, in the order of first match; an application without an
    /// identifier is matched by its title. Texts are equal byte for byte or not at all.
    std::vector<const CatalogEntry*> match(const std::vector<std::string>& titles,
                                           const std::vector<std::string>& bundleIdentifiers) const;

    std::size_t size() const { return entries.size(); }

private:
    using Index = std::unordered_map<std::string, std::vector<std::size_t>>;

    explicit Catalog(std::vector<CatalogEntry> entries);

    std::vector<CatalogEntry> entries;
    Index byBundleIdentifier;
    Index byTitle;
};

}  // namespace quorvel
