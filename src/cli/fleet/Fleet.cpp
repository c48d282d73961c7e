#include "cli/fleet/Fleet.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <iterator>
#include <span>
#include <utility>

namespace quorvel {

std::size_t AppTable::PlaceHash::operator()(const FleetApp& app) const {
    std::size_t hash = 0;
    for (const auto* place : {app.name.data(), app.identifier.data(), app.version.data(), app.path.data()})
        hash = (hash ^ std::hash<const char*>()(place)) * 0x9E3779B97F4A7C15;
    return hash ^ hash >> 32;
}

bool AppTable::SamePlace::operator()(const FleetApp& left, const FleetApp& right) const {
    return left.name.data() == right.name.data() && left.identifier.data() == right.identifier.data() &&
           left.version.data() == right.version.data() && left.path.data() == right.path.data();
}

std::string_view AppTable::intern(std::string_view text) {
    if (const auto found = texts.find(text); found != texts.end()) return *found;
    // An empty text has a place of its own too.
    auto* const place = static_cast<char*>(memory.allocate(text.size() + 1, 1));
    std::ranges::copy(text, place);
    return *texts.emplace(place, text.size()).first;
}

AppTable::Index AppTable::add(const FleetApp& app) {
    const FleetApp interned{intern(app.name), intern(app.identifier), intern(app.version), intern(app.path)};
    const auto [entry, isNew] = indices.try_emplace(interned, static_cast<Index>(apps.size()));
    if (isNew) apps.push_back(interned);
    return entry->second;
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
