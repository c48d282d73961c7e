#include "cli/OneApplication.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <optional>
#include <unistd.h>
#include <utility>

#include "check/Chunks.h"
#include "cli/CatalogFailure.h"
#include "cli/CatalogPage.h"
#include "cli/CheckSetup.h"
#include "cli/Inventory.h"
#include "cli/Output.h"
#include "cli/Progress.h"
#include "platform/Files.h"
#include "platform/linux/EventQueue.h"
#include "platform/posix/http/CurlSession.h"
#include "platform/propertylist/PropertyList.h"
#include "platform/text/DisplayText.h"
#include "platform/text/Text.h"
#include "versions/VersionComparator.h"
#include "versions/VersionOrder.h"

namespace quorvel {

namespace {

using Answer = std::expected<AutoMatchAnswer, RequestError>;

/// One chunk's worth of applications at the most.
Answer askCatalog(const CommandLine& line, std::span<const InstalledApp> apps) {
    EventQueue queue;
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

ExitStatus fail(const std::string& sentence, ExitStatus status = ExitStatus::unexpected) {
    output::say(sentence);
    return status;
}

ExitStatus failToFind(const std::string& what, const Inventory& inventory) {
    return fail("There is no application " + what + " in " + enumeration(inventory.folders) + ".");
}

MatchEvaluation evaluateOne(const InstalledApp& app, const AutoMatchAnswer& answer, const CommandLine& line) {
    return evaluate({&app, 1}, answer.results, VersionComparator(), IgnoredVersionsStore(storageOf(line)),
                    runningSystem(line).version);
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

/// An application's story, a fact a line.
class Story {
public:
    explicit Story(const InstalledApp& app) : text(forTerminal(app.name) + "\n") {
        add("Bundle", app.path);
        add("Identifier",
            app.bundleID.empty() ? "none: the catalog's entries cannot be tied to it" : app.bundleID);
    }

    void add(const std::string& label, const std::string& fact) {
        constexpr std::size_t column = 18;
        text += "  " + label + std::string(column - label.size(), ' ') + isolated(forTerminal(fact)) + "\n";
    }

    std::string text;
};

void addInstalledVersion(Story& story, const InstalledApp& app) {
    constexpr std::array<std::string_view, 2> keys{"CFBundleShortVersionString", "CFBundleVersion"};
    const auto bytes = files::read(app.path + "/Contents/Info.plist", propertyListSizeLimit);
    const auto texts = bytes ? readPropertyList(*bytes, keys) : std::nullopt;
    bool hasCounted = false;
    for (std::size_t index = 0; texts && index < keys.size(); ++index) {
        const auto& value = (*texts)[index];
        const bool counts =
            value && !value->empty() && !std::exchange(hasCounted, hasCounted || !value->empty());
        story.add(index == 0 ? "Short version" : "Bundle version",
                  std::string(keys[index]) + ": " +
                      (value ? "\"" + *value + "\"" + (counts ? ", which counts" : "") : "no text"));
    }
}

void addCatalogEntry(Story& story, const AutoMatchResult& entry) {
    story.add("Catalog's entry", entry.title + ", " + catalogPage(entry.id));
    story.add("Catalog's version", "\"" + entry.version + "\"");
}

std::string listed(const std::vector<std::string>& pieces) {
    std::string text;
    for (const auto& piece : pieces)
        text += (text.empty() ? "" : " | ") + piece;
    return text;
}

void addComparison(Story& story, const InstalledApp& app, const AutoMatchResult& entry) {
    const auto comparison = versionOrder::compareVersions(entry.version, app.version);
    story.add("Installed parts", listed(comparison.baseline));
    story.add("Catalog's parts", listed(comparison.candidate));
    if (!comparison.decisive) return story.add("Decided by", "nothing: all parts are equal");
    const std::size_t at = *comparison.decisive;
    story.add("Decided by", "part " + std::to_string(at + 1) + ": the catalog's " + comparison.candidate[at] +
                                " is " + (comparison.order > 0 ? "newer" : "older") + " than the installed " +
                                comparison.baseline[at]);
}

void addSystem(Story& story, const AutoMatchResult& entry, const CommandLine& line) {
    const auto system = runningSystem(line);
    const std::string running = "this is macOS " + toText(system.version) +
                                (system.source == RunningSystem::Source::assumed ? ", assumed" : "");
    story.add("Minimum system", entry.minimumOSVersion ? "\"" + *entry.minimumOSVersion + "\"; " + running
                                                       : "none named; " + running);
}

void addOutcome(Story& story, const MatchEvaluation& evaluation, bool isAnswered) {
    if (!evaluation.updates.empty()) {
        const auto& update = evaluation.updates.front();
        story.add("Ignored", update.isIgnored ? "yes, this version" : "no");
        story.add("Outcome", "newer version " + update.latestVersion);
    } else {
        story.add("Outcome", reason({evaluation.skipped.front(), isAnswered}));
    }
}

std::string tell(const InstalledApp& app, const AutoMatchAnswer& answer, const CommandLine& line) {
    Story story(app);
    addInstalledVersion(story, app);
    if (const auto* entry = entryFor(app, answer)) {
        addCatalogEntry(story, *entry);
        addComparison(story, app, *entry);
        addSystem(story, *entry, line);
    } else {
        story.add("Catalog's entry", answer.lostEntries > 0 ? "none that was understood" : "none");
    }
    const auto evaluation = evaluateOne(app, answer, line);
    const bool isUnknown = answer.lostEntries > 0 && entryFor(app, answer) == nullptr;
    addOutcome(story, evaluation, !isUnknown);
    return story.text;
}

}  // namespace

ExitStatus explainApplication(const CommandLine& line, const std::string& nameOrIdentifier) {
    Inventory inventory = takeInventory(line);
    const std::string wanted = text::lowerCased(nameOrIdentifier);
    const auto isMeant = [&](const InstalledApp& app) {
        return app.bundleID == nameOrIdentifier || text::lowerCased(app.name) == wanted;
    };
    std::erase_if(inventory.apps, [&](const auto& app) { return !isMeant(app); });
    std::erase_if(inventory.issues,
                  [&](const auto& issue) { return text::lowerCased(issue.appName) != wanted; });
    if (inventory.apps.empty() && inventory.issues.empty()) return failToFind(nameOrIdentifier, inventory);

    std::string stories;
    for (const auto& issue : inventory.issues) {
        stories += forTerminal(issue.appName) + "\n  Bundle            " + isolated(forTerminal(issue.path)) +
                   "\n  Outcome           " + issue.reason + "\n\n";
    }
    for (std::size_t index = 0; index < chunkCount(inventory.apps.size()); ++index) {
        const auto apps = chunk(inventory.apps, index);
        const auto answer = askCatalog(line, apps);
        if (!answer) {
            const auto failure = catalogFailure(answer.error());
            return fail(failure.sentence, failure.status);
        }
        for (const auto& app : apps)
            stories += tell(app, *answer, line) + "\n";
    }
    stories.pop_back();
    return output::print(stories) ? ExitStatus::nothingNewer : ExitStatus::unexpected;
}

ExitStatus ignoreOfferedVersion(const CommandLine& line, const std::string& bundleIdentifier) {
    const Inventory inventory = takeInventory(line);
    const auto app = std::ranges::find(inventory.apps, bundleIdentifier, &InstalledApp::bundleID);
    if (app == inventory.apps.end()) return failToFind("with the identifier " + bundleIdentifier, inventory);
    const auto answer = askCatalog(line, {&*app, 1});
    if (!answer) {
        const auto failure = catalogFailure(answer.error());
        return fail(failure.sentence, failure.status);
    }
    const auto evaluation = evaluateOne(*app, *answer, line);
    if (evaluation.updates.empty()) {
        return fail("There is no newer version of " + app->name +
                    " to ignore: " + evaluation.skipped.front().reason + ".");
    }
    const auto& version = evaluation.updates.front().latestVersion;
    const auto storage = storageOf(line);
    const IgnoredVersionsStore store(storage);
    store.ignore(version, app->name, bundleIdentifier);
    if (!evaluateOne(*app, *answer, line).updates.front().isIgnored) {
        return fail("Could not keep that in " + storage.appSupportURL.string() + ".");
    }
    const std::string done = "Version " + version + " of " + app->name + " is ignored from now on.";
    return output::print(forTerminal(done) + "\n") ? ExitStatus::nothingNewer : ExitStatus::unexpected;
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
    return output::print(forTerminal(done) + "\n") ? ExitStatus::nothingNewer : ExitStatus::unexpected;
}

}  // namespace quorvel
