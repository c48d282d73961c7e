#include "cli/fleet/HostRows.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <utility>

#include "platform/ProgramInfo.h"

namespace quorvel {

namespace {

constexpr std::string_view extension = ".app";

/// What is left of a path below one of the three application folders; none when it lies in none of them.
std::optional<std::string_view> belowApplications(std::string_view path) {
    constexpr std::string_view users = "/Users/";
    for (const std::string_view folder : {"/Applications/", "/System/Applications/"}) {
        if (path.starts_with(folder)) return path.substr(folder.size());
    }
    if (!path.starts_with(users)) return std::nullopt;
    path.remove_prefix(std::min(path.find('/', users.size()), path.size()));
    constexpr std::string_view own = "/Applications/";
    return path.starts_with(own) ? std::optional(path.substr(own.size())) : std::nullopt;
}

/// Whether a scan would find the bundle: not inside another one, and nothing of its path hidden.
bool isListedPlace(std::string_view path) {
    auto rest = belowApplications(path);
    if (!rest) return false;
    for (;;) {
        const auto slash = rest->find('/');
        const auto name = rest->substr(0, slash);
        if (name.starts_with('.')) return false;
        const bool isBundle = name.ends_with(extension);
        if (slash == std::string_view::npos) return isBundle;
        if (isBundle) return false;
        rest->remove_prefix(slash + 1);
    }
}

std::string_view withoutExtension(std::string_view name) {
    return name.ends_with(extension) ? name.substr(0, name.size() - extension.size()) : name;
}

std::string_view fileName(std::string_view path) {
    return withoutExtension(path.substr(path.rfind('/') + 1));
}

std::string_view firstNonEmpty(std::initializer_list<std::string_view> texts) {
    const auto* const found = std::ranges::find_if(texts, [](auto text) { return !text.empty(); });
    return found == texts.end() ? std::string_view() : *found;
}

/// "0.0.0.0.0" is munki's word for none.
std::string_view versionOf(const InventoryRow& row) {
    const auto version = firstNonEmpty({row.shortVersion, row.bundleVersion});
    return version == "0.0.0.0.0" ? "" : version;
}

void sortByPath(FleetHost& host, const AppTable& table) {
    const auto path = [&](AppTable::Index app) { return table[app].path; };
    std::ranges::stable_sort(host.apps, {}, path);
    // One bundle is one application, however often a query joins it with something else.
    const auto repeated = std::ranges::unique(
        host.apps, [&](auto left, auto right) { return !path(left).empty() && path(left) == path(right); });
    host.apps.erase(repeated.begin(), repeated.end());
    host.apps.shrink_to_fit();
    std::ranges::stable_sort(host.issues, {}, &ScanIssue::path);
}

std::optional<std::int64_t> number(std::string_view digits) {
    std::int64_t value = 0;
    const auto [rest, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (error != std::errc{} || rest != digits.data() + digits.size() || value < 0) return std::nullopt;
    return value;
}

/// The offset of a time from UTC: "Z", "+01:00".
std::optional<std::chrono::minutes> parseOffset(std::string_view text) {
    if (text == "Z") return std::chrono::minutes(0);
    if (text.size() != 6 || (text[0] != '+' && text[0] != '-') || text[3] != ':') return std::nullopt;
    const auto hours = number(text.substr(1, 2)), minutes = number(text.substr(4));
    if (!hours || !minutes) return std::nullopt;
    return (text[0] == '-' ? -1 : 1) * (std::chrono::hours(*hours) + std::chrono::minutes(*minutes));
}

}  // namespace

FleetHost& HostRows::hostOf(const InventoryRow& row) {
    const auto name = row.host();
    if (!hosts.empty() && hosts[lastPlace].name == name && hosts[lastPlace].machine == row.hostId)
        return hosts[lastPlace];
    std::string key(name);
    key.append(1, '\0').append(row.hostId);
    const auto [entry, isNew] = places.try_emplace(std::move(key), hosts.size());
    if (isNew) {
        hosts.emplace_back().name = name;
        hosts.back().machine = row.hostId;
    }
    lastPlace = entry->second;
    return hosts[lastPlace];
}

void HostRows::add(const InventoryRow& row) {
    static const std::string ownIdentifier = thisProgram().bundleIdentifier.value_or("");
    ++count;
    identifierColumn = identifierColumn || row.hasIdentifierColumn;
    bundleColumn = bundleColumn || row.hasBundleColumn;
    FleetHost& host = hostOf(row);
    host.isTooLarge = host.apps.size() + host.issues.size() + host.outside >= maxRows;
    if (host.isTooLarge) return;
    if (const auto fetched = parseTimestamp(row.lastFetched); fetched > host.collectedAt)
        host.collectedAt = fetched;
    if (!host.system) host.system = parseOSVersion(row.osVersion);
    if (!row.path.empty() && !isListedPlace(row.path)) {
        ++host.outside;
        return;
    }
    if (!row.identifier.empty() && row.identifier == ownIdentifier) return;
    const auto name = firstNonEmpty(
        {row.bundleName, withoutExtension(row.name), fileName(row.path), row.identifier, "(no name)"});
    const auto version = versionOf(row);
    if (row.isRepaired) {
        host.issues.push_back({std::string(name), std::string(row.path), "row is no valid text"});
    } else if (version.empty()) {
        host.issues.push_back({std::string(name), std::string(row.path), "no version"});
    } else {
        host.apps.push_back(table->add({name, row.identifier, version, row.path}));
    }
}

std::vector<FleetHost> HostRows::finish(std::string_view name,
                                        std::optional<std::chrono::sys_seconds> collectedAt) {
    if (hosts.empty()) hosts.emplace_back();
    for (auto& host : hosts) {
        if (host.name.empty()) host.name = name;
        if (!host.collectedAt) host.collectedAt = collectedAt;
        sortByPath(host, *table);
    }
    return std::move(hosts);
}

std::optional<std::chrono::sys_seconds> parseTimestamp(std::string_view text) {
    constexpr std::string_view form = "0000-00-00T00:00:00";
    if (text.size() < form.size()) return std::nullopt;
    for (std::size_t index = 0; index < form.size(); ++index) {
        const bool isDigit = text[index] >= '0' && text[index] <= '9';
        if (form[index] == '0' ? !isDigit : text[index] != form[index]) return std::nullopt;
    }
    const auto part = [&](std::size_t start, std::size_t size) {
        return static_cast<unsigned>(*number(text.substr(start, size)));
    };
    const std::chrono::year_month_day date{std::chrono::year(static_cast<int>(part(0, 4))),
                                           std::chrono::month(part(5, 2)), std::chrono::day(part(8, 2))};
    auto rest = text.substr(form.size());
    if (rest.starts_with('.'))
        rest.remove_prefix(std::min(rest.find_first_not_of("0123456789", 1), rest.size()));
    const auto offset = parseOffset(rest);
    if (!date.ok() || !offset) return std::nullopt;
    return std::chrono::sys_days(date) + std::chrono::hours(part(11, 2)) + std::chrono::minutes(part(14, 2)) +
           std::chrono::seconds(part(17, 2)) - *offset;
}

std::optional<std::chrono::sys_seconds> parseUnixTime(std::string_view text) {
    // The year 2200: beyond it a clock of nanoseconds comes to its end.
    constexpr std::int64_t latest = 7'258'118'400;
    const auto seconds = number(text);
    if (!seconds || *seconds > latest) return std::nullopt;
    return std::chrono::sys_seconds(std::chrono::seconds(*seconds));
}

}  // namespace quorvel
