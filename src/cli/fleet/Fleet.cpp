#include "cli/fleet/Fleet.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <functional>
#include <iterator>
#include <span>
#include <utility>

namespace quorvel {

std::size_t AppTable::Hash::operator()(const ListedApp& app) const {
    std::size_t hash = 0;
    for (const auto text : {app.name, app.identifier, app.version, app.path})
        hash = hash * 0x9E3779B97F4A7C15 + std::hash<std::string_view>()(text);
    return hash;
}

std::string_view AppTable::intern(std::string_view text) {
    if (const auto found = texts.find(text); found != texts.end()) return *found;
    // An empty text has a place of its own too.
    auto* const place = static_cast<char*>(memory.allocate(text.size() + 1, 1));
    std::ranges::copy(text, place);
    return *texts.emplace(place, text.size()).first;
}

AppTable::Index AppTable::add(const ListedApp& app) {
    // Most rows are another host's too: one look decides.
    if (const auto known = indices.find(app); known != indices.end()) return known->second;
    const auto index = static_cast<Index>(apps.size());
    apps.push_back({intern(app.name), intern(app.identifier), intern(app.version), intern(app.path)});
    indices.emplace(apps.back(), index);
    return index;
}

namespace {

bool areTwoMachines(const FleetHost& left, const FleetHost& right) {
    return !left.machine.empty() && !right.machine.empty() && left.machine != right.machine;
}

/// The one that counts of several inventories of a host; none where that cannot be said.
const FleetHost* newest(std::span<const FleetHost> inventories) {
    const auto* const best = &*std::ranges::max_element(inventories, {}, &FleetHost::collectedAt);
    for (const auto& other : inventories) {
        const bool isAnother = areTwoMachines(other, *best);
        if (&other != best && (isAnother || !other.collectedAt || other.collectedAt == best->collectedAt))
            return nullptr;
    }
    return best;
}

}  // namespace

std::string_view name(FleetFailure::Code code) {
    constexpr std::array<std::string_view, 8> names{
        "unreadable",     "not_an_inventory", "damaged",       "differential_log", "no_bundle_identifiers",
        "clipped_report", "too_large",        "duplicate_host"};
    return names[static_cast<std::size_t>(code)];
}

std::size_t Fleet::unreadHosts() const {
    return failures.size() - static_cast<std::size_t>(std::ranges::count(
                                 failures, FleetFailure::Code::clippedReport, &FleetFailure::code));
}

void Fleet::settle() {
    std::ranges::stable_sort(hosts, {}, &FleetHost::name);
    auto kept = hosts.begin();
    for (auto first = hosts.begin(); first != hosts.end();) {
        const auto last =
            std::find_if(first, hosts.end(), [&](const FleetHost& host) { return host.name != first->name; });
        const auto* const counting = newest({first, last});
        if (counting == nullptr) {
            const auto& next = *std::next(first);
            const bool areTwo = areTwoMachines(*first, next);
            failures.push_back(
                {sources[first->source], first->name, FleetFailure::Code::duplicateHost,
                 (areTwo ? "Two hosts have this name, number " + first->machine + " of " +
                               sources[first->source] + " and number " + next.machine + " of " +
                               sources[next.source] + "."
                         : "Two inventories are of this host, " + sources[first->source] + " and " +
                               sources[next.source] + ", and no times say which is newer.")});
        }
        first = last;
        if (counting == nullptr) continue;
        auto host = std::move(hosts[static_cast<std::size_t>(counting - hosts.data())]);
        *kept++ = std::move(host);
    }
    hosts.erase(kept, hosts.end());
}

}  // namespace quorvel
