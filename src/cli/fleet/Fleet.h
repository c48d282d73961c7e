#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory_resource>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "cli/Report.h"
#include "scanner/ScanIssue.h"

namespace quorvel {

/// Every distinct application once: hosts share most of what they have.
class AppTable {
public:
    using Index = std::uint32_t;

    /// Texts that are equal are the same place in memory afterwards.
    Index add(const ListedApp& app);

    const ListedApp& operator[](Index index) const { return apps[index]; }
    std::size_t size() const { return apps.size(); }

private:
    struct Hash {
        std::size_t operator()(const ListedApp& app) const;
    };

    std::string_view intern(std::string_view text);

    std::pmr::monotonic_buffer_resource memory;
    std::unordered_set<std::string_view> texts;
    std::unordered_map<ListedApp, Index, Hash> indices;
    std::deque<ListedApp> apps;
};

/// What one inventory says of one host.
struct FleetHost {
    std::string name;
    /// In `Fleet::sources`.
    std::uint32_t source = 0;
    std::optional<std::chrono::sys_seconds> collectedAt;
    std::optional<OSVersion> system;
    /// By path.
    std::vector<AppTable::Index> apps;
    /// Rows of bundles that cannot be listed, by path.
    std::vector<ScanIssue> issues;
    /// Rows of bundles that no scan would find: elsewhere, inside another bundle, hidden.
    std::size_t outside = 0;
    /// It has more rows than are read.
    bool isTooLarge = false;
    /// Tells hosts of one name apart where the inventory does; else empty.
    std::string machine;
};

/// Why an inventory or a host has no result, or not a whole one.
struct FleetFailure {
    enum class Code : std::uint8_t {
        unreadable,
        notAnInventory,
        damaged,
        differentialLog,
        noBundleIdentifiers,
        clippedReport,  ///< the report's hosts count all the same
        tooLarge,
        duplicateHost
    };

    /// As reports name it.
    std::string source;
    std::optional<std::string> host;
    Code code = Code::unreadable;
    /// A sentence.
    std::string reason;
};

/// As documents name it.
std::string_view name(FleetFailure::Code code);

/// The hosts of all inventories.
struct Fleet {
    AppTable table;
    std::vector<std::string> sources;
    /// By name, each once, after `settle`.
    std::vector<FleetHost> hosts;
    std::vector<FleetFailure> failures;

    /// How many hosts or files are not among the hosts.
    std::size_t unreadHosts() const;

    /// Brings hosts into order. Of several inventories of one host the newest counts, where times say which
    /// that is; else none does, and a failure names them.
    void settle();
};

}  // namespace quorvel
