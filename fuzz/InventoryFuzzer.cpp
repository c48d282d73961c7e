#include <algorithm>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <set>
#include <string>

#include "FuzzSupport.h"
#include "cli/JsonWriter.h"
#include "cli/fleet/FleetEvaluation.h"
#include "cli/fleet/FleetOutline.h"
#include "platform/propertylist/PropertyListReaders.h"

namespace {

using namespace quorvel;
using fuzz::require;

/// No value is read twice: each row begins with a bracket of its own, or is one that a property list counts.
std::size_t mostRows(std::string_view bytes) {
    if (bytes.starts_with("bplist0")) return maxPropertyListNodes;
    return static_cast<std::size_t>(std::ranges::count(bytes, '{') + std::ranges::count(bytes, '<'));
}

void checkHosts(const Fleet& fleet) {
    for (const auto& host : fleet.hosts) {
        std::set<std::string_view> paths;
        for (const auto number : host.apps) {
            const auto& app = fleet.table[number];
            require(!app.name.empty() && !app.version.empty(), "an application has a name and a version");
            require(app.path.empty() || paths.insert(app.path).second, "a bundle counts once");
        }
        for (const auto& issue : host.issues)
            fuzz::requireText(issue.path);
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
    readInventory(fleet, "source", "name", readerOf(bytes, bytes.size() + 1));
    readInventory(inPieces, "source", "name", readerOf(bytes, 1 + data[0]));
    fuzz::requireText(outlineOf(fleet));
    require(outlineOf(fleet) == outlineOf(inPieces), "an inventory says the same in pieces of any size");
    require(!fleet.hosts.empty() || !fleet.failures.empty(), "an inventory has a host or a failure");
    std::size_t rows = 0;
    for (const auto& host : fleet.hosts)
        rows += host.apps.size() + host.issues.size() + host.outside;
    require(rows <= mostRows(bytes), "no row counts twice");
    fleet.settle();
    checkHosts(fleet);
    checkEvaluation(fleet);
    checkWriter(bytes);
    return 0;
}
