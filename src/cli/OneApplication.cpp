#include <algorithm>
#include <array>
#include <cstdio>
#include <optional>
#include <unistd.h>
#include <utility>

#include "check/Chunks.h"
#include "cli/CatalogFailure.h"
#include "cli/CheckSetup.h"
#include "cli/Commands.h"
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
    return reason({app, answer.lostEntries == 0 || app.code != SkipCode::notRecognised});
}

/// The entry that decides, which is the last that names the application.
const AutoMatchResult* entryFor(const InstalledApp& app, const AutoMatchAnswer& answer) {
    const AutoMatchResult* entry = nullptr;
    for (const auto& result : answer.results) {
        if (std::ranges::find(result.bundleIdentifiers, app.bundleID) != result.bundleIdentifiers.end())
            entry = &result;
    }
    return entry;
}

/// How one application came to its outcome, a fact a line.
class Explanation {
public:
    Explanation(const std::string& name, const std::string& path, const std::string& bundleID)
        : text(onOneLine(name) + "\n") {
        add("Bundle", path);
        add("Identifier", bundleID.empty() ? "none: the catalog's entries cannot be tied to it" : bundleID);
    }

    void add(const std::string& label, const std::string& fact) {
        constexpr std::size_t column = 18;
        text += "  " + label + std::string(column - label.size(), ' ') + isolated(onOneLine(fact)) + "\n";
    }

    std::string text;
};

enum Key : std::size_t { shortVersion, bundleVersion, identifier };

constexpr std::array<std::string_view, 3> infoKeys{"CFBundleShortVersionString", "CFBundleVersion",
                                                   "CFBundleIdentifier"};

/// By key; none where there is no property list that can be read.
std::optional<PropertyListTexts> readInfo(const std::string& bundle) {
    const auto bytes = files::read(bundle + "/Contents/Info.plist", propertyListSizeLimit);
    return bytes ? readPropertyList(*bytes, infoKeys) : std::nullopt;
}

void addInstalledVersion(Explanation& explanation, const PropertyListTexts& info) {
    bool hasCounted = false;
    for (const auto key : {shortVersion, bundleVersion}) {
        const auto& value = info[key];
        const bool counts = value && !value->empty() && !hasCounted;
        hasCounted = hasCounted || counts;
        explanation.add(key == shortVersion ? "Short version" : "Bundle version",
                        std::string(infoKeys[key]) + ": " +
                            (value ? "\"" + *value + "\"" + (counts ? ", which counts" : "") : "no text"));
    }
}

void addCatalogEntry(Explanation& explanation, const AutoMatchResult& entry) {
    explanation.add("Catalog's entry", entry.title + ", " + appPageURL(entry.id));
    explanation.add("Catalog's version", "\"" + entry.version + "\"");
}

std::string listed(const std::vector<std::string>& pieces) {
    std::string text;
    for (const auto& piece : pieces)
        text += (text.empty() ? "" : " | ") + piece;
    return text;
}

bool areCompared(const MatchEvaluation& evaluation) {
    return evaluation.skipped.empty() ||
           (evaluation.skipped.front().code != SkipCode::installedVersionInvalid &&
            evaluation.skipped.front().code != SkipCode::catalogVersionInvalid);
}

void addComparison(Explanation& explanation, const InstalledApp& app, const AutoMatchResult& entry,
                   const MatchEvaluation& evaluation) {
    const auto comparison = VersionComparator::compare(entry.version, app.version);
    explanation.add("Installed parts", listed(comparison.baseline));
    explanation.add("Catalog's parts", listed(comparison.candidate));
    if (!areCompared(evaluation))
        return explanation.add("Decided by", "nothing: a version without a digit is not compared");
    if (!comparison.decisive) return explanation.add("Decided by", "nothing: all parts are equal");
    const std::size_t at = *comparison.decisive;
    explanation.add("Decided by", "part number " + std::to_string(at + 1) + ": the catalog's " +
                                      comparison.candidate[at] + " is " +
                                      (comparison.order > 0 ? "newer" : "older") + " than the installed " +
                                      comparison.baseline[at]);
}

void addSystem(Explanation& explanation, const AutoMatchResult& entry, const CommandLine& line) {
    explanation.add("Minimum system",
                    (entry.minimumOSVersion ? '"' + *entry.minimumOSVersion + '"' : "none named") +
                        "; this is macOS " + toText(line.system.version) +
                        (line.system.source == RunningSystem::Source::assumed ? ", assumed" : ""));
}

void addOutcome(Explanation& explanation, const MatchEvaluation& evaluation, const AutoMatchAnswer& answer) {
    if (!evaluation.updates.empty()) {
        const auto& update = evaluation.updates.front();
        explanation.add("Ignored", update.isIgnored ? "yes, this version" : "no");
        explanation.add("Outcome", "newer version " + update.latestVersion);
    } else {
        explanation.add("Outcome", reasonOf(evaluation.skipped.front(), answer));
    }
}

std::string explain(const InstalledApp& app, const AutoMatchAnswer& answer, const CommandLine& line) {
    Explanation explanation(app.name, app.path, app.bundleID);
    const auto evaluation = evaluateAnswer({&app, 1}, answer, line);
    if (const auto info = readInfo(app.path)) addInstalledVersion(explanation, *info);
    if (const auto* entry = entryFor(app, answer)) {
        addCatalogEntry(explanation, *entry);
        addComparison(explanation, app, *entry, evaluation);
        addSystem(explanation, *entry, line);
    } else {
        explanation.add("Catalog's entry", answer.lostEntries > 0 ? "none that was understood" : "none");
    }
    addOutcome(explanation, evaluation, answer);
    return explanation.text;
}

std::string explain(const ScanIssue& issue) {
    const auto info = readInfo(issue.path);
    Explanation explanation(issue.appName, issue.path, info ? (*info)[identifier].value_or("") : "unknown");
    if (info) addInstalledVersion(explanation, *info);
    explanation.add("Outcome", issue.reason);
    return explanation.text;
}

std::string identifierOf(const ScanIssue& issue) {
    const auto info = readInfo(issue.path);
    return info ? (*info)[identifier].value_or("") : "";
}

}  // namespace

ExitStatus explainApplication(const CommandLine& line, const std::string& nameOrIdentifier) {
    Inventory inventory = scanInventory(line);
    const std::string wanted = text::lowerCased(nameOrIdentifier);
    std::erase_if(inventory.apps, [&](const InstalledApp& app) {
        return app.bundleID != nameOrIdentifier && text::lowerCased(app.name) != wanted;
    });
    std::erase_if(inventory.issues, [&](const ScanIssue& issue) {
        return text::lowerCased(issue.appName) != wanted && identifierOf(issue) != nameOrIdentifier;
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
    const std::string done = "Version " + version + " of " + app.name + " is ignored from now on.";
    return console::print(onOneLine(done) + "\n");
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
