#include "check/MatchEvaluation.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <utility>

#include "platform/text/Text.h"

namespace quorvel {

namespace {

bool isUsableVersion(std::string_view version) {
    const auto trimmed = text::trimmed(version);
    return !trimmed.empty() && trimmed != "-" && text::containsNumericCharacter(trimmed);
}

Skip invalidVersion(SkipCode code, std::string_view whose, std::string_view version) {
    return {code, std::string(whose) + " version invalid: \"" + std::string(version) + "\""};
}

/// The leading digits of one piece of a version. Digits of other scripts are numeric characters, but no
/// 64-bit integer is written with them.
std::optional<std::int64_t> leadingNumber(std::string_view piece) {
    const auto digits = text::numericPrefix(piece);
    std::int64_t number = 0;
    const auto [rest, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    if (error != std::errc{} || rest != digits.data() + digits.size()) return std::nullopt;
    return number;
}

std::string_view nextPiece(std::string_view& rest) {
    while (rest.starts_with('.'))
        rest.remove_prefix(1);
    const auto piece = rest.substr(0, rest.find('.'));
    rest.remove_prefix(piece.size());
    return piece;
}

}  // namespace

ResultIndex indexResults(std::span<const AutoMatchResult> results) {
    ResultIndex index;
    for (const auto& result : results) {
        for (const auto& bundleID : result.bundleIdentifiers)
            index.insert_or_assign(bundleID, &result);
    }
    return index;
}

const AutoMatchResult* findResult(const ResultIndex& index, std::string_view bundleID) {
    const auto found = index.find(bundleID);
    return found == index.end() ? nullptr : found->second;
}

std::optional<Skip> compareVersions(std::string_view installed, const AutoMatchResult* result,
                                    const VersionComparatorProtocol& comparator) {
    if (result == nullptr) return Skip{SkipCode::notRecognised, "not recognised by Orbisto API"};
    if (!isUsableVersion(installed)) {
        return invalidVersion(SkipCode::installedVersionInvalid, "local", installed);
    }
    if (!isUsableVersion(result->version)) {
        return invalidVersion(SkipCode::catalogVersionInvalid, "remote", result->version);
    }
    if (!comparator.isNewer(result->version, installed)) return Skip{SkipCode::upToDate, "already at latest"};
    return std::nullopt;
}

std::optional<Skip> requireSystem(const AutoMatchResult& result, const OSVersion& runningOS) {
    const auto minimumOS = parseMinimumOS(result.minimumOSVersion);
    if (!minimumOS || runningOS >= *minimumOS) return std::nullopt;
    return Skip{SkipCode::requiresNewerOS, "requires " + *result.minimumOSVersion};
}

bool isIgnored(const IgnoredVersions& ignored, std::string_view bundleID, std::string_view version) {
    const auto entry = ignored.find(bundleID);
    return entry != ignored.end() && entry->second.version == version;
}

MatchEvaluation evaluate(std::span<const InstalledApp> inventory, std::span<const AutoMatchResult> results,
                         const VersionComparatorProtocol& comparator,
                         const IgnoredVersionsStore& ignoredVersions, const OSVersion& runningOS) {
    const ResultIndex index = indexResults(results);
    MatchEvaluation evaluation;
    for (const auto& app : inventory) {
        const auto* result = findResult(index, app.bundleID);
        auto skip = compareVersions(app.version, result, comparator);
        if (!skip) skip = requireSystem(*result, runningOS);
        if (skip) {
            evaluation.skipped.push_back(
                {app.name, app.bundleID, app.version, skip->code, std::move(skip->reason), app.path});
            continue;
        }
        const bool ignored = isIgnored(ignoredVersions.load(), app.bundleID, result->version);
        evaluation.updates.push_back({app, result->version, result->id, ignored});
    }
    return evaluation;
}

void sortByName(std::vector<AppUpdate>& updates, const std::string& locale) {
    const text::NameCollator collator(locale);
    std::vector<std::pair<std::string, AppUpdate>> keyed;
    keyed.reserve(updates.size());
    for (auto& update : updates) {
        auto key = collator.sortKey(update.app.name);
        keyed.emplace_back(std::move(key), std::move(update));
    }
    std::ranges::stable_sort(keyed, {}, &std::pair<std::string, AppUpdate>::first);
    std::ranges::transform(keyed, updates.begin(), [](auto& each) { return std::move(each.second); });
}

std::optional<OSVersion> parseMinimumOS(const std::optional<std::string>& text) {
    if (!text) return std::nullopt;
    const auto firstDigit = text::findDecimalDigit(*text);
    if (!firstDigit) return std::nullopt;
    auto rest = std::string_view(*text).substr(*firstDigit);
    std::array<std::int64_t, 3> numbers{};
    for (auto& number : numbers) {
        const auto piece = nextPiece(rest);
        if (piece.empty()) break;
        const auto value = leadingNumber(piece);
        if (!value) return std::nullopt;
        number = *value;
    }
    return OSVersion{numbers[0], numbers[1], numbers[2]};
}

}  // namespace quorvel
