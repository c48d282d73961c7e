#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace quorvel {

/// One row of an inventory in any format: what it says of a bundle, of its host, and of itself. Empty texts
/// are those that the row does not have.
struct InventoryRow {
    std::string_view identifier{};
    std::string_view bundleName{};
    std::string_view name{};
    std::string_view shortVersion{};
    std::string_view bundleVersion{};
    std::string_view path{};
    std::string_view osVersion{};
    /// By preference: a column, the host of a Fleet report, of an osqueryd log.
    std::string_view hostname{};
    std::string_view hostName{};
    std::string_view hostIdentifier{};
    std::string_view hostId{};
    std::string_view lastFetched{};
    bool hasIdentifierColumn = false;
    /// Whether any other column of a bundle is there.
    bool hasBundleColumn = false;
    /// A text was no Unicode and has U+FFFD where that was.
    bool isRepaired = false;

    std::string_view host() const {
        return !hostname.empty() ? hostname : !hostName.empty() ? hostName : hostIdentifier;
    }
};

/// Parses pieces of JSON. Texts are good until the next call.
class RowParser {
public:
    RowParser();
    ~RowParser();

    /// `piece` may be read beyond its end, as JsonPieces says. A whole number is taken as its text; any other
    /// value that is no text counts as absent. None when the piece is no object.
    std::optional<InventoryRow> row(std::string_view piece);

    /// A text or a whole number; empty for anything else.
    std::string_view text(std::string_view piece);

private:
    struct Parser;
    const std::unique_ptr<Parser> parser;
};

}  // namespace quorvel
