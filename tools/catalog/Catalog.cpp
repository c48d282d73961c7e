#include "Catalog.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>
#include <utility>

namespace quorvel {

namespace {

using Json = nlohmann::json;

/// What is wrong with the data file; never leaves this file.
struct Fault {
    std::string sentence;
};

std::string inQuotes(std::string_view text) {
    return '"' + std::string(text) + '"';
}

/// A misspelt member would silently take an entry's version or requirement away.
void requireKnownMembers(const Json& object, std::initializer_list<std::string_view> known) {
    for (const auto& [key, value] : object.items())
        if (std::ranges::find(known, key) == known.end())
            throw Fault{inQuotes(key) + " is not a member that a catalog entry has"};
}

std::optional<std::string> optionalText(const Json& object, const char* key) {
    const auto member = object.find(key);
    if (member == object.end()) return std::nullopt;
    if (!member->is_string()) throw Fault{inQuotes(key) + " must be a text"};
    return member->get<std::string>();
}

std::int64_t requiredId(const Json& object) {
    const auto member = object.find("id");
    if (member == object.end() || !member->is_number_integer()) throw Fault{"\"id\" must be an integer"};
    return member->get<std::int64_t>();
}

std::vector<std::string> identifiers(const Json& object) {
    const auto member = object.find("bundle_identifiers");
    if (member == object.end()) return {};
    if (!member->is_array() || !std::ranges::all_of(*member, [](const Json& one) { return one.is_string(); }))
        throw Fault{"\"bundle_identifiers\" must be a list of texts"};
    return member->get<std::vector<std::string>>();
}

std::optional<std::string> minimumOS(const Json& object) {
    const auto member = object.find("requirements");
    if (member == object.end()) return std::nullopt;
    if (!member->is_object()) throw Fault{"\"requirements\" must be an object"};
    requireKnownMembers(*member, {"minimum_os"});
    return optionalText(*member, "minimum_os");
}

CatalogEntry readEntry(const Json& object) {
    if (!object.is_object()) throw Fault{"an entry must be an object"};
    requireKnownMembers(object, {"id", "title", "version", "bundle_identifiers", "requirements"});
    auto title = optionalText(object, "title");
    if (!title) throw Fault{"\"title\" is missing"};
    return {.id = requiredId(object),
            .title = std::move(*title),
            .version = optionalText(object, "version"),
            .bundleIdentifiers = identifiers(object),
            .minimumOS = minimumOS(object)};
}

std::vector<CatalogEntry> readEntries(const Json& document) {
    if (!document.is_object() || !document.contains("entries") || !document["entries"].is_array())
        throw Fault{"The document must be an object whose \"entries\" is a list."};
    std::vector<CatalogEntry> entries;
    std::set<std::int64_t> ids;
    for (const Json& object : document["entries"]) {
        try {
            entries.push_back(readEntry(object));
            if (!ids.insert(entries.back().id).second) throw Fault{"\"id\" is another entry's id"};
        } catch (const Fault& fault) {
            throw Fault{"Entry " + std::to_string(ids.size() + 1) + ": " + fault.sentence + "."};
        }
    }
    return entries;
}

}  // namespace

Catalog::Catalog(std::vector<CatalogEntry> all) : entries(std::move(all)) {
    for (std::size_t index = 0; index < entries.size(); ++index) {
        for (const auto& identifier : entries[index].bundleIdentifiers)
            byBundleIdentifier[identifier].push_back(index);
        byTitle[entries[index].title].push_back(index);
    }
}

std::expected<Catalog, std::string> Catalog::parse(std::string_view text) {
    try {
        return Catalog(readEntries(Json::parse(text)));
    } catch (const Fault& fault) {
        return std::unexpected(fault.sentence);
    } catch (const Json::exception& error) {
        return std::unexpected("It is not valid JSON: " + std::string(error.what()) + ".");
    }
}

std::expected<Catalog, std::string> Catalog::load(const std::filesystem::path& file) {
    std::error_code ignored;
    // A folder opens like a file; only reading it fails.
    if (std::filesystem::is_directory(file, ignored))
        return std::unexpected("Could not read " + file.string() + ": it is a folder.");
    std::ifstream stream(file, std::ios::binary);
    if (!stream)
        return std::unexpected("Could not read " + file.string() + ": " + std::strerror(errno) + ".");
    std::ostringstream text;
    text << stream.rdbuf();
    auto catalog = parse(text.str());
    if (!catalog) return std::unexpected("Could not use " + file.string() + ". " + catalog.error());
    return catalog;
}

std::vector<const CatalogEntry*> Catalog::match(const std::vector<std::string>& titles,
                                                const std::vector<std::string>& bundleIdentifiers) const {
    std::vector<const CatalogEntry*> found;
    std::vector<bool> taken(entries.size());
    for (std::size_t application = 0; application < bundleIdentifiers.size(); ++application) {
        const auto& identifier = bundleIdentifiers[application];
        const Index& index = identifier.empty() ? byTitle : byBundleIdentifier;
        const auto hit = index.find(identifier.empty() ? titles.at(application) : identifier);
        if (hit == index.end()) continue;
        for (const std::size_t entry : hit->second) {
            if (!taken[entry]) found.push_back(&entries[entry]);
            taken[entry] = true;
        }
    }
    return found;
}

}  // namespace quorvel
