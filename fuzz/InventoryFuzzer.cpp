#include <algorithm>
#include <cstdint>
#include <cstring>
#include <nlohmann/json.hpp>
#include <set>
#include <string>

#include "FuzzSupport.h"
#include "cli/JsonWriter.h"
#include "cli/fleet/FleetEvaluation.h"
#include "cli/fleet/InventoryReader.h"
#include "platform/propertylist/PropertyListReaders.h"

namespace {

using namespace quorvel;
using fuzz::require;

/// Reads the bytes, which come in pieces of that size.
void read(Fleet& fleet, std::string_view bytes, std::size_t pieceSize) {
    readInventory(fleet, "source", "name", [bytes, pieceSize](std::span<char> room) mutable {
        const std::size_t count = std::min({bytes.size(), room.size(), pieceSize});
        std::memcpy(room.data(), bytes.data(), count);
        bytes.remove_prefix(count);
        return static_cast<std::ptrdiff_t>(count);
    });
}

bool isSame(const Fleet& left, const Fleet& right) {
    const auto isSameHost = [&](const FleetHost& one, const FleetHost& other) {
        return one.name == other.name && one.machine == other.machine &&
               one.collectedAt == other.collectedAt && one.system == other.system &&
               one.outside == other.outside && one.issues.size() == other.issues.size() &&
               std::ranges::equal(one.apps, other.apps, [&](auto app, auto otherApp) {
                   return left.table[app] == right.table[otherApp];
               });
    };
    return std::ranges::equal(left.hosts, right.hosts, isSameHost) &&
           std::ranges::equal(left.failures, right.failures, [](const auto& one, const auto& other) {
               return one.code == other.code && one.reason == other.reason;
           });
}

/// No value is read twice: each row begins with a bracket of its own, or is one that a property list counts.
std::size_t mostRows(std::string_view bytes) {
    if (bytes.starts_with("bplist0")) return maxPropertyListNodes;
    return static_cast<std::size_t>(std::ranges::count(bytes, '{') + std::ranges::count(bytes, '<'));
}

void checkTexts(const Fleet& fleet) {
    for (const auto& host : fleet.hosts) {
        fuzz::requireText(host.name);
        std::set<std::string_view> paths;
        for (const auto number : host.apps) {
            const auto& app = fleet.table[number];
            for (const auto text : {app.name, app.identifier, app.version, app.path})
                fuzz::requireText(text);
            require(!app.name.empty() && !app.version.empty(), "an application has a name and a version");
            require(app.path.empty() || paths.insert(app.path).second, "a bundle counts once");
        }
        for (const auto& issue : host.issues)
            fuzz::requireText(issue.appName + issue.path);
    }
}

/// A catalog that knows every other application, and one whose identifier nobody has.
std::vector<AutoMatchResult> answersFor(const Fleet& fleet) {
    std::vector<AutoMatchResult> results;
    const auto asked = distinctApplications(fleet);
    std::set<std::string> identifiers;
    for (const auto& app : asked) {
        require(!app.bundleID.empty() && identifiers.insert(app.bundleID).second,
                "each identifier is asked once");
        if (identifiers.size() % 2 == 0)
            results.push_back({1, app.name, "2.0", {app.bundleID, "nobody"}, "12.0", false});
    }
    return results;
}

void checkEvaluation(const Fleet& fleet) {
    FleetEvaluation evaluation(fleet, answersFor(fleet), {}, {});
    for (const auto& host : fleet.hosts) {
        const auto result = evaluation.evaluate(host, host.system);
        require(result.updates.size() + result.skipped.size() == host.apps.size(),
                "each application is an update or skipped");
    }
}

void checkWriter(std::string_view bytes) {
    for (const bool isAscii : {false, true}) {
        JsonWriter json(JsonWriter::Layout::lines, isAscii);
        json.value(bytes);
        require(!isAscii || text::isAscii(json.text), "what is escaped is ASCII");
        require(nlohmann::json::parse(json.text) == text::repairedUtf8(bytes),
                "a text is read as it was written");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const std::string_view bytes = fuzz::textOf(data + 1, size - 1);
    Fleet fleet, inPieces;
    read(fleet, bytes, bytes.size() + 1);
    read(inPieces, bytes, 1 + data[0]);
    require(isSame(fleet, inPieces), "an inventory says the same in pieces of any size");
    require(!fleet.hosts.empty() || !fleet.failures.empty(), "an inventory has a host or a failure");
    std::size_t rows = 0;
    for (const auto& host : fleet.hosts)
        rows += host.apps.size() + host.issues.size() + host.outside;
    require(rows <= mostRows(bytes), "no row counts twice");
    fleet.settle();
    checkTexts(fleet);
    checkEvaluation(fleet);
    checkWriter(bytes);
    return 0;
}
