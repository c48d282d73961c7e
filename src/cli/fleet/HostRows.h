#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "cli/fleet/Fleet.h"
#include "cli/fleet/InventoryRow.h"

namespace quorvel {

/// The rows of one inventory, sorted into hosts by the rules by which a scan lists bundles.
class HostRows {
public:
    /// A host with more is no Mac.
    static constexpr std::size_t maxRows = 100'000;

    /// The table outlives the rows.
    explicit HostRows(AppTable& apps) : table(&apps) {}

    void add(const InventoryRow& row);

    bool hasIdentifierColumn() const { return identifierColumn; }
    bool hasBundleColumn() const { return bundleColumn; }
    std::size_t rows() const { return count; }

    /// The hosts, with what their own rows do not say; at least one, with or without rows.
    std::vector<FleetHost> finish(std::string_view name, std::optional<std::chrono::sys_seconds> collectedAt);

private:
    FleetHost& hostOf(const InventoryRow& row);

    AppTable* table;
    std::vector<FleetHost> hosts;
    /// By name and machine, with a NUL between.
    std::unordered_map<std::string, std::size_t> places;
    std::size_t lastPlace = 0;
    std::size_t count = 0;
    bool identifierColumn = false;
    bool bundleColumn = false;
};

/// "2024-01-19T01:23:45Z", also with a fraction or an offset from UTC; none for anything else.
std::optional<std::chrono::sys_seconds> parseTimestamp(std::string_view text);
/// Seconds since 1970 in decimal.
std::optional<std::chrono::sys_seconds> parseUnixTime(std::string_view text);

}  // namespace quorvel
