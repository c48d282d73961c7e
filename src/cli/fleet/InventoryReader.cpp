#include "cli/fleet/InventoryReader.h"

#include <array>
#include <cerrno>
#include <system_error>
#include <unordered_map>
#include <utility>

#include "cli/fleet/HostRows.h"
#include "cli/fleet/InventoryRow.h"
#include "platform/propertylist/PropertyList.h"

namespace quorvel {

namespace {

using Code = FleetFailure::Code;
using Fault = JsonPieces::Fault;

constexpr const char* notAnInventory =
    "It is none of the inventories that are read: osquery's rows, an osqueryd log of snapshots, a Fleet "
    "query "
    "report, munki's property list.";
constexpr const char* noIdentifiers =
    "No row has a bundle identifier, and nothing else ties an application to the catalog's entry: the query "
    "has to select the column bundle_identifier.";
constexpr const char* profilerReport =
    "A report of system_profiler has no bundle identifiers, and nothing else ties an application to the "
    "catalog's entry.";
constexpr const char* differentialLog =
    "The log has differences between results (\"added\" and \"removed\"), which cannot stand for an "
    "inventory: "
    "the scheduled query has to say \"snapshot\": true.";
constexpr const char* clippedReport =
    "Fleet has cut the report off (\"report_clipped\"): hosts are missing from it.";

Code codeOf(Fault fault) {
    if (fault == Fault::unreadable) return Code::unreadable;
    return fault == Fault::tooLong || fault == Fault::tooDeep ? Code::tooLarge : Code::damaged;
}

std::string sentence(Fault fault, std::size_t offset) {
    const std::string place = " at byte " + std::to_string(offset) + ".";
    switch (fault) {
        case Fault::unreadable:
            return "It could not be read: " + std::generic_category().message(errno) + ".";
        case Fault::cut:
            return "It is cut off: it ends in the middle of a value" + place;
        case Fault::tooLong:
            return "A value is longer than " + std::to_string(JsonPieces::maxPiece) + " bytes" + place;
        case Fault::tooDeep:
            return "A value is nested more than " + std::to_string(JsonPieces::maxDepth) + " levels deep" +
                   place;
        default:
            return "It is no valid JSON" + place;
    }
}

/// Whether what a file begins with is a property list's.
bool isPropertyList(std::string_view start) {
    using namespace std::string_view_literals;
    for (const auto begin : {"bplist0"sv, "<"sv, "\0<"sv, "\xFE\xFF"sv, "\xFF\xFE"sv}) {
        if (start.starts_with(begin)) return true;
    }
    return false;
}

constexpr std::array<std::string_view, 6> propertyListKeys{"bundleid", "CFBundleName", "name",
                                                           "version",  "path",         "_dataType"};

InventoryRow munkiRow(const PropertyListTexts& texts) {
    const auto text = [&](std::size_t key) {
        return texts[key] ? std::string_view(*texts[key]) : std::string_view();
    };
    return {.identifier = text(0),
            .bundleName = text(1),
            .name = text(2),
            .bundleVersion = text(3),
            .path = text(4),
            .hasIdentifierColumn = texts[0].has_value(),
            .hasBundleColumn = texts[2] || texts[4]};
}

/// What a JSON text is, as far as its members have told.
struct Text {
    explicit Text(AppTable& apps) : rows(apps) {}

    HostRows rows;
    bool isArray = false;
    bool isReport = false;
    bool isProfilerReport = false;
    bool isClipped = false;
    bool hasSnapshot = false;
    bool isLogLine = false;
    bool isDifference = false;
    bool isApplicationDifference = false;
    std::string hostIdentifier;
    std::optional<std::chrono::sys_seconds> time;
};

class Reader final : JsonPieces::Handler {
public:
    Reader(Fleet& fleet, const std::string& source, std::string_view name, ByteReader read)
        : fleet(fleet), source(source), name(name), pieces(std::move(read)), text(fleet.table) {}

    void run() {
        const auto start = pieces.peek();
        if (isPropertyList(start)) {
            readPropertyList();
        } else if (start.starts_with('{') || start.starts_with('[')) {
            while (readText()) {
            }
        } else if (pieces.readText(*this) == Fault::unreadable) {
            fail(Fault::unreadable);
        } else {
            fail(Code::notAnInventory, start.empty() ? "It is empty." : notAnInventory);
        }
        deliver();
    }

private:
    void fail(Code code, std::string reason) {
        fleet.failures.push_back({source, std::nullopt, code, std::move(reason)});
        hasFailed = true;
    }
    void fail(Fault fault) { fail(codeOf(fault), sentence(fault, pieces.offset())); }

    /// False when there is nothing more to read.
    bool readText() {
        const auto fault = pieces.readText(*this);
        if (fault == Fault::end || isRefused) return false;
        return fault == Fault::none ? endText() : recover(fault);
    }

    /// A damaged line of a log costs itself alone.
    bool recover(Fault fault) {
        const bool goesOn = (isLog || text.isLogLine) && fault != Fault::unreadable && fault != Fault::cut;
        fail(fault);
        if (!goesOn) return false;
        isLog = true;
        text = Text(fleet.table);
        pieces.skipLine();
        return true;
    }

    void beginArray(std::string_view key) override {
        text.isArray = text.isArray || key.empty();
        text.isReport = text.isReport || key == "results";
        text.hasSnapshot = text.hasSnapshot || key == "snapshot";
        text.isProfilerReport = text.isProfilerReport || key == "SPApplicationsDataType";
        takesRows = key.empty() || key == "results" || key == "snapshot";
    }

    bool addElement(std::string_view value) override {
        if (!takesRows) return true;
        const auto row = parser.row(value);
        isRefused = !row && !value.starts_with('{');
        if (row) text.rows.add(*row);
        if (isRefused) fail(Code::notAnInventory, notAnInventory);
        return row.has_value();
    }

    void addMember(std::string_view key, std::string_view value) override {
        if (key == "report_clipped") {
            text.isClipped = value == "true";
        } else if (key == "action") {
            const auto action = parser.text(value);
            text.isDifference = action == "added" || action == "removed";
            text.isLogLine = !action.empty();
        } else if (key == "diffResults") {
            text.isDifference = text.isLogLine = true;
        } else if (key == "hostIdentifier") {
            text.hostIdentifier = parser.text(value);
        } else if (key == "unixTime") {
            text.time = parseUnixTime(parser.text(value));
        } else if (key == "columns") {
            const auto row = parser.row(value);
            text.isApplicationDifference = row && row->hasIdentifierColumn;
        }
    }

    bool endText() {
        Text ended = std::exchange(text, Text(fleet.table));
        if (ended.isLogLine) {
            endLogLine(ended);
            return true;
        }
        if (ended.isProfilerReport) {
            fail(Code::noBundleIdentifiers, profilerReport);
        } else if ((!ended.isArray && !ended.isReport) ||
                   (ended.rows.rows() > 0 && !ended.rows.hasIdentifierColumn())) {
            refuseRows(ended.rows.hasBundleColumn());
        } else if (ended.isReport && ended.rows.rows() == 0) {
            fail(Code::notAnInventory, "There is no host in this report.");
        } else {
            if (ended.isClipped) clipped = true;
            for (auto& host : ended.rows.finish(name, std::nullopt))
                hosts.push_back(std::move(host));
        }
        return !hasFailed;
    }

    void refuseRows(bool haveBundles) {
        haveBundles ? fail(Code::noBundleIdentifiers, noIdentifiers)
                    : fail(Code::notAnInventory, notAnInventory);
    }

    void endLogLine(Text& line) {
        isLog = true;
        hasDifferences = hasDifferences || line.isDifference;
        hasApplicationDifferences = hasApplicationDifferences || line.isApplicationDifference;
        // The log may have results of other queries.
        const bool isOther = line.rows.rows() > 0 && !line.rows.hasIdentifierColumn();
        lacksIdentifiers = lacksIdentifiers || (isOther && line.rows.hasBundleColumn());
        if (line.isDifference || !line.hasSnapshot || isOther) return;
        const bool isEmpty = line.rows.rows() == 0;
        for (auto& host :
             line.rows.finish(line.hostIdentifier.empty() ? name : line.hostIdentifier, line.time))
            keepNewest(std::move(host), isEmpty);
    }

    /// A log goes on at its end. An empty snapshot, perhaps another query's, takes nobody's place.
    void keepNewest(FleetHost host, bool isEmpty) {
        const auto [entry, isNew] = places.try_emplace(host.name, hosts.size());
        if (isNew) {
            hosts.push_back(std::move(host));
        } else if (!isEmpty && (hosts[entry->second].apps.empty() ||
                                hosts[entry->second].collectedAt <= host.collectedAt)) {
            hosts[entry->second] = std::move(host);
        }
    }

    void readPropertyList() {
        const auto bytes = pieces.readAll(propertyListSizeLimit);
        if (!bytes && bytes.error() == Fault::unreadable) return fail(bytes.error());
        if (!bytes)
            return fail(Code::tooLarge, "The property list is longer than " +
                                            std::to_string(propertyListSizeLimit) + " bytes.");
        const auto rows = readPropertyListRows(*bytes, propertyListKeys);
        if (!rows) return refusePropertyList(*bytes);
        for (const auto& texts : *rows) {
            text.isProfilerReport = text.isProfilerReport || texts[5] == "SPApplicationsDataType";
            text.rows.add(munkiRow(texts));
        }
        text.isArray = true;
        endText();
    }

    void refusePropertyList(const std::string& bytes) {
        if (quorvel::readPropertyList(bytes, {})) return fail(Code::notAnInventory, notAnInventory);
        fail(Code::damaged, "It is no property list that can be read whole.");
    }

    void deliver() {
        if (isLog && hosts.empty() && !hasFailed)
            hasDifferences ? fail(Code::differentialLog, differentialLog) : refuseRows(lacksIdentifiers);
        if (hasFailed && !isLog) return;
        if (isLog && !hosts.empty() && hasApplicationDifferences)
            fail(Code::differentialLog, differentialLog);
        if (clipped) fail(Code::clippedReport, clippedReport);
        const auto number = static_cast<std::uint32_t>(fleet.sources.size());
        fleet.sources.push_back(source);
        for (auto& host : hosts) {
            host.source = number;
            if (host.isTooLarge) {
                fleet.failures.push_back(
                    {source, host.name, Code::tooLarge,
                     "The host has more than " + std::to_string(HostRows::maxRows) + " rows."});
            } else {
                fleet.hosts.push_back(std::move(host));
            }
        }
    }

    Fleet& fleet;
    const std::string& source;
    const std::string_view name;
    JsonPieces pieces;
    RowParser parser;
    Text text;
    /// Whether the array at hand is one of rows.
    bool takesRows = false;
    /// An element of it is no object.
    bool isRefused = false;
    bool hasFailed = false;
    bool isLog = false;
    bool hasDifferences = false;
    bool hasApplicationDifferences = false;
    bool lacksIdentifiers = false;
    bool clipped = false;
    std::vector<FleetHost> hosts;
    /// In a log, by name.
    std::unordered_map<std::string, std::size_t> places;
};

}  // namespace

void readInventory(Fleet& fleet, const std::string& source, std::string_view name, ByteReader read) {
    Reader(fleet, source, name, std::move(read)).run();
}

}  // namespace quorvel
