#include <algorithm>
#include <array>
#include <cstdlib>
#include <iostream>
#include <optional>
#include <random>

#include "app/AppDelegateFixture.h"

namespace quorvel {
namespace {

using namespace std::chrono_literals;

constexpr int backgroundChecksAYear = 1460;
constexpr std::array names{"Alder", "Birch", "Cedar", "Dogwood", "Elm"};
constexpr const char* autoMatch = "/apps/auto-match-collection";

/// A year in the life of the program, chosen by a seed: checks of all triggers, some of them at the same
/// time, outages, a catalog that fails, changes to what is installed and to what the catalog knows, and
/// everything that the menu offers. Beside it runs a model of the program, small enough to be seen to be
/// right; after every step the two must agree.
class SimulatedYearTest : public AppDelegateFixture, public testing::WithParamInterface<std::uint64_t> {
protected:
    enum class Catalog { works, overloaded, blocked, talksNonsense, isGone };

    struct Check {
        std::string trigger;
        std::map<std::string, int> installed;
    };
    /// A request that a check waits for.
    struct Open {
        std::size_t request;
        bool registers;
        Check check;
    };
    struct Update {
        std::string name;
        int local, latest;
        bool isIgnored;
    };

    int upTo(int limit) { return std::uniform_int_distribution<int>(0, limit)(random); }
    std::string anyName() { return names.at(static_cast<std::size_t>(upTo(names.size() - 1))); }

    // The world

    void install(const std::string& name, int version) {
        addApp(name, std::to_string(version) + ".0");
        installed[name] = version;
    }

    std::string catalogAnswer() {
        std::map<std::string, std::string> versions;
        for (const auto& [name, version] : listed)
            versions[name] = std::to_string(version) + ".0";
        listInCatalog(versions);
        return answers[autoMatch].body;
    }

    void changePath(PathStatus status) {
        path->report(status);
        const bool isRestored = !isOnline && wasOut && status == PathStatus::satisfied;
        if (status == PathStatus::unsatisfied) wasOut = true;
        isOnline = status == PathStatus::satisfied;
        queue.runUntilIdle();
        if (isRestored && std::exchange(retryIsArmed, false)) begin("launch");
    }

    void passTime(std::chrono::nanoseconds duration) {
        const auto end = queue.now + duration;
        queue.advance(duration);
        while (nextBackground && *nextBackground <= end) {
            *nextBackground += 6h;
            ++backgroundChecks;
            begin("background");
        }
    }

    // The model

    void begin(const std::string& trigger) {
        isFetching = true;
        if (trigger != "launch") menuKnowsOfCheck = true;
        if (!isOnline) return endWithoutConnection(trigger);
        take(Check{trigger, installed});
    }

    /// Finds the request that the check has just sent.
    void take(Check check) {
        bool isFound = false;
        for (; seen < session.requests.size(); ++seen) {
            const auto& url = session.requests[seen].url;
            if (!url.ends_with(autoMatch) && !url.ends_with("/qvl/instance")) continue;
            EXPECT_FALSE(std::exchange(isFound, true)) << "two requests for one step of a check";
            open.push_back({seen, !url.ends_with(autoMatch), check});
        }
        EXPECT_TRUE(isFound) << "the check of trigger " << check.trigger << " sent nothing";
    }

    void end(const std::string& trigger) {
        isFetching = menuKnowsOfCheck = false;
        if (trigger == "launch") nextBackground = queue.now + 6h;
    }

    void endWithoutConnection(const std::string& trigger) {
        failure = "No internet connection.";
        retryIsArmed = true;
        end(trigger);
    }

    void succeed(const Check& check) {
        updates.clear();
        for (const auto& [name, local] : check.installed) {
            const auto entry = listed.find(name);
            if (entry == listed.end() || entry->second <= local) continue;
            const auto ignoredVersion = ignored.find(name);
            updates.push_back({name, local, entry->second,
                               ignoredVersion != ignored.end() && ignoredVersion->second == entry->second});
        }
        failure.reset();
        if (isRegistered) ++runningEvents;
        end(check.trigger);
    }

    void fail(const Check& check) {
        const std::string scanned = " (scanned " + std::to_string(check.installed.size()) + " apps)";
        failure = catalog == Catalog::blocked ? "Orbisto has blocked requests from your network" + scanned
                                              : "Failed to check for updates" + scanned;
        if (isRegistered) ++errorReports;
        end(check.trigger);
        if (check.trigger != "launch") {
            EXPECT_EQ(log().rfind('['), 0U) << "the failure is all there is\n" << log();
        }
    }

    /// Ends a request that is under way, by what the catalog is up to at that time.
    void answerOne() {
        const auto chosen = open.begin() + upTo(static_cast<int>(open.size()) - 1);
        const Open ended = *chosen;
        open.erase(chosen);
        const bool registers = ended.registers && catalog == Catalog::works;
        if (registers) isRegistered = true;
        complete(ended.request, registers ? answers["/qvl/instance"].body : catalogAnswer());
        if (ended.registers) return take(ended.check);
        catalog == Catalog::works ? succeed(ended.check) : fail(ended.check);
    }

    void complete(std::size_t request, std::string body) {
        HttpOutcome outcome;
        switch (catalog) {
            case Catalog::works:
                outcome = {std::move(body), 200, {}};
                break;
            case Catalog::overloaded:
                outcome = {"overloaded", 503, {}};
                break;
            case Catalog::blocked:
                outcome = {"IP blocked", 403, {}};
                break;
            case Catalog::talksNonsense:
                outcome = {"<html>", 200, {}};
                break;
            case Catalog::isGone:
                outcome.error = SessionError{SessionError::Code::timedOut, "The request timed out."};
                break;
        }
        std::exchange(session.completions[request], nullptr)(std::move(outcome));
        queue.runUntilIdle();
    }

    /// Nobody looks at how these end.
    void answerEvents() {
        for (std::size_t request = 0; request < session.completions.size(); ++request) {
            const bool isAwaited = std::ranges::find(open, request, &Open::request) != open.end();
            if (session.completions[request] && !isAwaited) complete(request, R"({"success":true})");
        }
    }

    // The user

    void chooseCheck() {
        const bool isRefused = isFetching;
        const auto alertsBefore = alerts.shown.size();
        chooseItem({"Check for Updates"});
        queue.runUntilIdle();
        EXPECT_EQ(alerts.shown.size() - alertsBefore, menuKnowsOfCheck ? 1U : 0U);
        if (!isRefused) begin("manual");
    }

    void ignoreAny() {
        std::vector<Update*> shown;
        for (auto& update : updates) {
            if (!update.isIgnored) shown.push_back(&update);
        }
        if (failure || shown.empty()) return;
        Update& update = *shown[static_cast<std::size_t>(upTo(static_cast<int>(shown.size()) - 1))];
        chooseItem({"New Versions Available (…", titleOf(update), "Ignore This Version"});
        update.isIgnored = true;
        ignored[update.name] = update.latest;
        menuKnowsOfCheck = isFetching;
    }

    void resetIgnored() {
        chooseItem({"Settings", "Ignored Versions"});
        const auto titled = [](const auto& window) { return window->content.title == "Ignored Versions"; };
        (*std::ranges::find_if(windowServer.windows, titled))->press("Reset All");
        ignored.clear();
        menuKnowsOfCheck = isFetching;
    }

    void toggle(const char* title, bool& setting) {
        chooseItem({"Settings", title});
        setting = !setting;
        menuKnowsOfCheck = isFetching;
    }

    void doSomething() {
        switch (upTo(13)) {
            case 0:
                return chooseCheck();
            case 1:
                return ignoreAny();
            case 2:
                return upTo(3) == 0 ? resetIgnored() : void();
            case 3:
                return toggle("Color Icon", settings.colorIcon);
            case 4:
                return toggle("Open at Login", settings.openAtLogin);
            case 5:
                return changePath(isOnline ? PathStatus::unsatisfied : PathStatus::satisfied);
            case 6:
                catalog = static_cast<Catalog>(upTo(4));
                return;
            case 7:
                catalog = Catalog::works;
                return;
            case 8:
                return install(anyName(), upTo(9));
            case 9:
                listed[anyName()] = upTo(9);
                return;
            case 10:
                std::filesystem::remove(instanceStore.url);
                isRegistered = false;
                return;
            case 11:
                return chooseItem({"Settings", "Show Error Log"});
            case 12:
                return chooseItem({"About"});
            default:
                return passTime(std::chrono::seconds(upTo(50)));
        }
    }

    // What must hold after every step

    static std::string titleOf(const Update& update) {
        return update.name + " (" + std::to_string(update.local) + ".0 → " + std::to_string(update.latest) +
               ".0)";
    }

    std::string expectedUpdates() const {
        if (failure) return "Last check failed\n" + *failure;
        std::string text;
        for (const auto& update : updates) {
            if (!update.isIgnored) text += titleOf(update) + "\n";
        }
        return text.empty() ? "No Updates Available\n" : text;
    }

    void expectAgreement() {
        EXPECT_EQ(iconShowsFetching(), isFetching);
        const auto count = std::ranges::count(updates, false, &Update::isIgnored);
        EXPECT_EQ(updatesTitle(), "New Versions Available (" + std::to_string(count) + ")");
        EXPECT_TRUE(updatesText().starts_with(expectedUpdates())) << updatesText();
        const auto shown = statusBar.menu;
        delegate->rebuildMenu();
        EXPECT_EQ(outline(*shown), menuText()) << "the menu is the one that would be built now";
        statusBar.menu = shown;
        EXPECT_EQ(SettingsStore(persistence).load().colorIcon, settings.colorIcon);
        EXPECT_EQ(SettingsStore(persistence).load().openAtLogin, settings.openAtLogin);
        EXPECT_EQ(instanceStore.load().has_value(), isRegistered);
        EXPECT_LE(std::ranges::count(log(), '\n'), 500);
        EXPECT_EQ(seen + countEvents(), session.requests.size()) << "a request that no check accounts for";
    }

    /// Looks at what came since the last check's own request: events, by what they say.
    std::size_t countEvents() {
        for (; counted < session.requests.size(); ++counted) {
            const auto& [url, method, headers, body, timeout] = session.requests[counted];
            if (body.contains("instance_running")) --runningEvents;
            if (body.contains(R"("status":"error")")) --errorReports;
        }
        EXPECT_EQ(runningEvents, 0);
        EXPECT_EQ(errorReports, 0);
        std::size_t events = 0;
        for (auto later = seen; later < session.requests.size(); ++later) {
            EXPECT_FALSE(session.requests[later].url.ends_with(autoMatch)) << "a check that nobody began";
            ++events;
        }
        return events;
    }

    std::mt19937_64 random{GetParam()};
    Catalog catalog = Catalog::works;
    std::map<std::string, int> installed, listed;
    bool isOnline = false, wasOut = false;

    std::vector<Open> open;
    std::size_t seen = 0, counted = 0;
    std::vector<Update> updates;
    std::map<std::string, int> ignored;
    std::optional<std::string> failure;
    Settings settings;
    bool isFetching = false, menuKnowsOfCheck = false, retryIsArmed = false, isRegistered = true;
    std::optional<std::chrono::nanoseconds> nextBackground;
    int backgroundChecks = 0;
    /// Expected and not yet seen.
    int runningEvents = 0, errorReports = 0;
};

TEST_P(SimulatedYearTest, endsInTheStateThatItsEventsAddUpTo) {
    for (const char* name : names) {
        install(name, upTo(5));
        listed[name] = upTo(9);
    }
    changePath(upTo(1) == 0 ? PathStatus::satisfied : PathStatus::unsatisfied);
    launch();
    begin("launch");
    for (int step = 0; backgroundChecks < backgroundChecksAYear; ++step) {
        SCOPED_TRACE("seed " + std::to_string(GetParam()) + ", step " + std::to_string(step));
        if (!open.empty() && upTo(2) == 0) answerOne();
        doSomething();
        expectAgreement();
        if (upTo(2) == 0) {
            // No request outlives a minute.
            while (!open.empty())
                answerOne();
            answerEvents();
            passTime(std::chrono::minutes(upTo(6 * 60)));
            expectAgreement();
        }
        if (HasFailure()) FAIL() << "see above";
    }
}

/// QUORVEL_TEST_SEED tries one of your own.
std::vector<std::uint64_t> seeds() {
    if (const char* const given = std::getenv("QUORVEL_TEST_SEED"))
        return {std::strtoull(given, nullptr, 10)};
    return {1, 2};
}

INSTANTIATE_TEST_SUITE_P(Seeds, SimulatedYearTest, testing::ValuesIn(seeds()),
                         testing::PrintToStringParamName());

}  // namespace
}  // namespace quorvel
