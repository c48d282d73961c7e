#include <algorithm>
#include <array>
#include <cstdio>
#include <optional>
#include <unistd.h>
#include <utility>

#include "check/Chunks.h"
#include "cli/CatalogFailure.h"
#include "cli/CatalogRun.h"
#include "cli/Commands.h"
#include "cli/Inventory.h"
#include "cli/Report.h"
#include "platform/Files.h"
#include "platform/ProgramInfo.h"
#include "platform/posix/TaskQueue.h"
#include "platform/posix/http/CurlSession.h"
#include "platform/propertylist/PropertyList.h"
#include "platform/text/DisplayText.h"
#include "platform/text/Text.h"
#include "versions/VersionComparator.h"

namespace quorvel {

namespace {

using Answer = std::expected<AutoMatchAnswer, RequestError>;

/// One chunk's worth of applications at the most.
Answer askCatalog(const CommandLine& line, std::span<const InstalledApp> apps) {
    TaskQueue queue;
    Progress progress(queue, describeTerminal(STDERR_FILENO), stderr);
    CurlSession session;
    const auto client = makeClient(line, queue, session);
    Answer answer;
    progress.waitFor("Asking the catalog");
    client->autoMatch(texts(apps, &InstalledApp::name), texts(apps, &InstalledApp::bundleID),
                      [&](Answer arrived) {
                          answer = std::move(arrived);
                          queue.quit();
                      });
    queue.run();
    return answer;
}

ExitStatus fail(const std::string& sentence) {
    return console::fail(ExitStatus::unexpected, sentence);
}

ExitStatus fail(const RequestError& error, const CommandLine& line) {
    return sayFailure(catalogFailure(error), line.catalog);
}

ExitStatus failToFind(const std::string& what, const Inventory& inventory) {
    if (!inventory.hasFolder) return console::fail(ExitStatus::nothingScanned, lackOfFolders(inventory));
    const auto& unread = inventory.folderIssues;
    return fail("No application " + what + " was found in " + enumeration(inventory.folders) +
                (unread.empty() ? "." : "; the folder " + unread.front().path + " could not be read."));
}

MatchEvaluation evaluateAnswer(std::span<const InstalledApp> apps, const AutoMatchAnswer& answer,
                               const CommandLine& line) {
    return evaluate(apps, answer.results, VersionComparator(), IgnoredVersionsStore(storageOf(line)),
                    line.system.version);
}

/// What is not recognised may be among the entries that were lost.
std::string reasonOf(const SkippedApp& app, const AutoMatchAnswer& answer) {
    return std::string(skippedVerdict({}, app.code, app.reason, answer.lostEntries == 0).reason);
}

/// A line of how one application came to its outcome.
std::string fact(const std::string& label, const std::string& text) {
    constexpr std::size_t column = 18;
    return "  " + label + std::string(column - label.size(), ' ') + isolated(onOneLine(text)) + "\n";
}

enum Key : std::size_t { shortVersion, bundleVersion, identifier };

constexpr std::array<std::string_view, 3> infoKeys{"CFBundleShortVersionString", "CFBundleVersion",
                                                   "CFBundleIdentifier"};

/// By key; none where there is no property list that can be read.
std::optional<PropertyListTexts> readInfo(const std::string& bundle) {
    const auto bytes = files::read(bundle + "/Contents/Info.plist", propertyListSizeLimit);
    return bytes ? readPropertyList(*bytes, infoKeys) : std::nullopt;
}

std::string describeBundle(const std::string& name, const std::string& path, const std::string& bundleID,
                           const std::optional<PropertyListTexts>& info) {
    std::string text =
        onOneLine(name) + "\n" + fact("Bundle", path) +
        fact("Identifier", bundleID.empty() ? "none: the catalog's entries cannot be tied to it" : bundleID);
    bool hasCounted = false;
    for (const auto key : {shortVersion, bundleVersion}) {
        if (!info) break;
        const auto& value = (*info)[key];
        const bool counts = value && !value->empty() && !std::exchange(hasCounted, true);
        text += fact(key == shortVersion ? "Short version" : "Bundle version",
                     std::string(infoKeys[key]) + ": " +
                         (value ? "\"" + *value + "\"" + (counts ? ", which counts" : "") : "no text"));
    }
    return text;
}

std::string joined(const std::vector<std::string>& pieces) {
    std::string text;
    for (const auto& piece : pieces)
        text += (text.empty() ? "" : " | ") + piece;
    return text;
}

std::string decisionOf(const VersionComparison& comparison, const MatchEvaluation& evaluation) {
    const auto code = evaluation.skipped.empty() ? SkipCode::upToDate : evaluation.skipped.front().code;
    if (code == SkipCode::installedVersionInvalid || code == SkipCode::catalogVersionInvalid)
        return "nothing: a version without a digit is not compared";
    if (!comparison.decisive) return "nothing: all parts are equal";
    const std::size_t at = *comparison.decisive;
    return "part number " + std::to_string(at + 1) + ": the catalog's " + comparison.candidate[at] + " is " +
           (comparison.order > 0 ? "newer" : "older") + " than the installed " + comparison.baseline[at];
}

std::string describeEntry(const AutoMatchResult& entry, const InstalledApp& app,
                          const MatchEvaluation& evaluation, const CommandLine& line) {
    const auto comparison = VersionComparator::compare(entry.version, app.version);
    return fact("Catalog's entry", entry.title + ", " + appPageURL(entry.id)) +
           fact("Catalog's version", "\"" + entry.version + "\"") +
           fact("Installed parts", joined(comparison.baseline)) +
           fact("Catalog's parts", joined(comparison.candidate)) +
           fact("Decided by", decisionOf(comparison, evaluation)) +
           fact("Minimum system",
                (entry.minimumOSVersion ? '"' + *entry.minimumOSVersion + '"' : "none named") +
                    "; this is macOS " + toText(line.system.version) +
                    (line.system.source == RunningSystem::Source::assumed ? ", assumed" : ""));
}

std::string explain(const InstalledApp& app, const AutoMatchAnswer& answer, const CommandLine& line) {
    std::string text = describeBundle(app.name, app.path, app.bundleID, readInfo(app.path));
    const auto evaluation = evaluateAnswer({&app, 1}, answer, line);
    if (const auto* entry = findResult(indexResults(answer.results), app.bundleID)) {
        text += describeEntry(*entry, app, evaluation, line);
    } else {
        text += fact("Catalog's entry", answer.lostEntries > 0 ? "none that was understood" : "none");
    }
    if (evaluation.updates.empty())
        return text + fact("Outcome", reasonOf(evaluation.skipped.front(), answer));
    const auto& update = evaluation.updates.front();
    return text + fact("Ignored", update.isIgnored ? "yes, this version" : "no") +
           fact("Outcome", "newer version " + update.latestVersion);
}

std::string explain(const ScanIssue& issue) {
    const auto info = readInfo(issue.path);
    return describeBundle(issue.appName, issue.path, info ? (*info)[identifier].value_or("") : "unknown",
                          info) +
           fact("Outcome", issue.reason);
}

}  // namespace

ExitStatus explainApplication(const CommandLine& line, const std::string& nameOrIdentifier) {
    Inventory inventory = scanInventory(line);
    const std::string wanted = text::lowerCased(nameOrIdentifier);
    std::erase_if(inventory.apps, [&](const InstalledApp& app) {
        return app.bundleID != nameOrIdentifier && text::lowerCased(app.name) != wanted;
    });
    std::erase_if(inventory.issues, [&](const ScanIssue& issue) {
        const auto info = readInfo(issue.path);
        return text::lowerCased(issue.appName) != wanted &&
               (!info || (*info)[identifier] != nameOrIdentifier);
    });
    if (inventory.apps.empty() && inventory.issues.empty()) return failToFind(nameOrIdentifier, inventory);

    std::string text;
    for (const auto& issue : inventory.issues)
        text += explain(issue) + "\n";
    for (std::size_t index = 0; index < chunkCount(inventory.apps.size()); ++index) {
        const auto apps = chunk(inventory.apps, index);
        const auto answer = askCatalog(line, apps);
        if (!answer) return fail(answer.error(), line);
        for (const auto& app : apps)
            text += explain(app, *answer, line) + "\n";
    }
    text.pop_back();
    return console::print(text);
}

ExitStatus ignoreOfferedVersion(const CommandLine& line, const std::string& bundleIdentifier) {
    Inventory inventory = scanInventory(line);
    auto& copies = inventory.apps;
    std::erase_if(copies, [&](const InstalledApp& app) { return app.bundleID != bundleIdentifier; });
    if (copies.empty()) return failToFind("with the identifier " + bundleIdentifier, inventory);
    const auto answer = askCatalog(line, std::span(copies).first(1));
    if (!answer) return fail(answer.error(), line);
    const auto evaluation = evaluateAnswer(copies, *answer, line);
    if (evaluation.updates.empty()) {
        return fail("There is no newer version of " + copies.front().name +
                    " to ignore: " + reasonOf(evaluation.skipped.front(), *answer) + ".");
    }
    const auto& [app, version, id, wasIgnored] = evaluation.updates.front();
    const auto storage = storageOf(line);
    IgnoredVersionsStore(storage).ignore(version, app.name, bundleIdentifier);
    if (!evaluateAnswer(copies, *answer, line).updates.front().isIgnored) {
        return fail("Could not keep that in " + storage.appSupportURL.string() + ".");
    }
    return console::print(onOneLine("Version " + version + " of " + app.name + " is ignored from now on.") +
                          "\n");
}

ExitStatus unignore(const CommandLine& line, const std::string& bundleIdentifier) {
    const auto storage = storageOf(line);
    const IgnoredVersionsStore store(storage);
    IgnoredVersions entries = store.load();
    const auto entry = entries.find(bundleIdentifier);
    if (entry == entries.end()) return fail("No version of " + bundleIdentifier + " is ignored.");
    const std::string done =
        "Version " + entry->second.version + " of " + entry->second.appName + " is no longer ignored.";
    entries.erase(entry);
    store.save(entries);
    if (store.load().contains(bundleIdentifier)) {
        return fail("Could not keep that in " + storage.appSupportURL.string() + ".");
    }
    return console::print(onOneLine(done) + "\n");
}

}  // namespace quorvel
