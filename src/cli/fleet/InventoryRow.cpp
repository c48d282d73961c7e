#include "cli/fleet/InventoryRow.h"

#include <algorithm>
#include <array>
#include <simdjson.h>
#include <utility>

#include "cli/fleet/JsonPieces.h"
#include "platform/text/Text.h"

namespace quorvel {

static_assert(JsonPieces::padding >= simdjson::SIMDJSON_PADDING);

namespace {

namespace ondemand = simdjson::ondemand;

using Field = std::string_view InventoryRow::*;

constexpr std::array<std::pair<std::string_view, Field>, 12> columns{{
    {"bundle_identifier", &InventoryRow::identifier},
    {"bundle_name", &InventoryRow::bundleName},
    {"bundle_short_version", &InventoryRow::shortVersion},
    {"bundle_version", &InventoryRow::bundleVersion},
    {"name", &InventoryRow::name},
    {"path", &InventoryRow::path},
    {"os_version", &InventoryRow::osVersion},
    {"hostname", &InventoryRow::hostname},
    {"host_name", &InventoryRow::hostName},
    {"hostIdentifier", &InventoryRow::hostIdentifier},
    {"host_id", &InventoryRow::hostId},
    {"last_fetched", &InventoryRow::lastFetched},
}};
/// So many of them, from the first on, are about a bundle.
constexpr std::ptrdiff_t bundleColumns = 6;

/// A Fleet report keeps the row in a member of its entries.
constexpr std::string_view innerRow = "columns";

bool isWholeNumber(std::string_view token) {
    if (token.starts_with('-')) token.remove_prefix(1);
    return !token.empty() && std::ranges::all_of(token, [](char byte) { return byte >= '0' && byte <= '9'; });
}

std::string_view withoutSpaceBehind(std::string_view token) {
    return token.substr(0, token.find_last_not_of(" \t\r\n") + 1);
}

/// False when the value is malformed.
bool readValue(ondemand::value value, Field column, InventoryRow& row) {
    ondemand::json_type type{};
    if (value.type().get(type) != simdjson::SUCCESS) return false;
    std::string_view text;
    if (type == ondemand::json_type::number) {
        text = withoutSpaceBehind(value.raw_json_token());
        if (isWholeNumber(text)) row.*column = text;
    } else if (type == ondemand::json_type::string) {
        const auto error = value.get_string().get(text);
        // An escape that is half of a character.
        row.isRepaired = row.isRepaired || error == simdjson::STRING_ERROR;
        if (error == simdjson::STRING_ERROR)
            text = "\uFFFD";
        else if (error != simdjson::SUCCESS)
            return false;
        row.*column = text;
    }
    return true;
}

/// The same of the object.
bool readMembers(ondemand::object object, InventoryRow& row) {
    for (auto field : object) {
        std::string_view key;
        ondemand::value value;
        if (field.unescaped_key().get(key) != simdjson::SUCCESS ||
            field.value().get(value) != simdjson::SUCCESS)
            return false;
        ondemand::object inner;
        if (key == innerRow && value.get_object().get(inner) == simdjson::SUCCESS) {
            if (!readMembers(inner, row)) return false;
            continue;
        }
        const auto* const found = std::ranges::find(columns, key, &std::pair<std::string_view, Field>::first);
        if (found == columns.end()) continue;
        const bool isIdentifier = found == columns.begin();
        row.hasIdentifierColumn = row.hasIdentifierColumn || isIdentifier;
        row.hasBundleColumn = row.hasBundleColumn || found - columns.begin() < bundleColumns;
        if (!readValue(value, found->second, row)) return false;
    }
    return true;
}

}  // namespace

struct RowParser::Parser {
    /// A document of a piece, or of what was repaired of it.
    simdjson::error_code open(std::string_view piece, ondemand::document& document) {
        wasRepaired = false;
        auto error = json.iterate(piece, piece.size() + JsonPieces::padding).get(document);
        if (error != simdjson::UTF8_ERROR) return error;
        wasRepaired = true;
        repaired = text::repairedUtf8(piece);
        const std::size_t size = repaired.size();
        repaired.append(JsonPieces::padding, '\0');
        return json.iterate(std::string_view(repaired).substr(0, size), repaired.size()).get(document);
    }

    ondemand::parser json;
    std::string repaired;
    bool wasRepaired = false;
};

RowParser::RowParser() : parser(std::make_unique<Parser>()) {}
RowParser::~RowParser() = default;

std::optional<InventoryRow> RowParser::row(std::string_view piece) {
    InventoryRow row;
    ondemand::document document;
    ondemand::object object;
    if (parser->open(piece, document) != simdjson::SUCCESS ||
        document.get_object().get(object) != simdjson::SUCCESS || !readMembers(object, row))
        return std::nullopt;
    row.isRepaired = row.isRepaired || parser->wasRepaired;
    return row;
}

std::string_view RowParser::text(std::string_view piece) {
    if (isWholeNumber(piece)) return piece;
    ondemand::document document;
    std::string_view text;
    if (!piece.starts_with('"') || parser->open(piece, document) != simdjson::SUCCESS ||
        document.get_string().get(text) != simdjson::SUCCESS)
        return {};
    return text;
}

}  // namespace quorvel
