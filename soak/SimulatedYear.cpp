#include <algorithm>
#include <array>
#include <cstdlib>
#include <functional>
#include <optional>
#include <random>

#include "support/AppDelegateFixture.h"

namespace quorvel {
namespace {

using namespace std::chrono_literals;

constexpr auto year = 365 * 24h;
constexpr std::array names{"Alder", "Birch", "Cedar", "Dogwood", "Elm"};

/// A year in the life of the program, chosen by a seed: checks of all triggers, some of them at the same
/// time, outages, a catalog that fails, changes to what is installed and to what the catalog knows, and
/// everything that the menu offers. What holds of every state is looked for after every step; and once
/// nothing goes wrong any more, a check finds the world as it is.
class SimulatedYear : public AppDelegateFixture, public testing::WithParamInterface<std::uint64_t> {
protected:
    enum class Catalog { works, overloaded, blocked, talksNonsense, isGone };

    int upTo(int limit) { return std::uniform_int_distribution<int>(0, limit)(random); }
    std::string anyName() { return names.at(static_cast<std::size_t>(upTo(names.size() - 1))); }

    // The world

    void install(const std::string& name, int version) {
        addApp(name, std::to_string(version) + ".0");
        installed[name] = version;
    }

    void list(const std::string& name, int version) {
        listed[name] = version;
        std::map<std::string, std::string> versions;
        for (const auto& [listedName, newest] : listed)
            versions[listedName] = std::to_string(newest) + ".0";
        listInCatalog(versions);
    }

    void changePath(PathStatus status) {
        const bool retries = isOut && status == PathStatus::satisfied && !iconShowsFetching() &&
                             updatesText() == "!Last check failed\n!<No internet connection.>\n";
        path->report(status);
        queue.runUntilIdle();
        isOut = status == PathStatus::unsatisfied;
        EXPECT_TRUE(!retries || iconShowsFetching()) << "a lost connection returned and nobody tried again";
    }

    HttpOutcome outcomeOf(const std::string& body) const {
        if (catalog == Catalog::works) return {body, 200, {}};
        if (catalog == Catalog::overloaded) return {"overloaded", 503, {}};
        if (catalog == Catalog::blocked) return {"IP blocked", 403, {}};
        if (catalog == Catalog::talksNonsense) return {"<html>", 200, {}};
        return {{}, {}, SessionError{SessionError::Code::timedOut, "The request timed out."}};
    }

    /// The requests without an answer that `part` of their address tells from others.
    std::vector<std::size_t> open(const std::string& part) const {
        std::vector<std::size_t> requests;
        for (auto request = firstOpen; request < session.requests.size(); ++request) {
            if (session.completions[request] && session.requests[request].url.contains(part))
                requests.push_back(request);
        }
        return requests;
    }

    /// Ends a request, by what the catalog is up to at that time.
    void answerOne() {
        const auto requests = open("");
        const auto request =
            requests.at(static_cast<std::size_t>(upTo(static_cast<int>(requests.size()) - 1)));
        const auto body = answerTo(session.requests[request]).body;
        std::exchange(session.completions[request], nullptr)(outcomeOf(body));
        queue.runUntilIdle();
    }

    /// No request outlives a minute.
    void answerAll() {
        while (!open("").empty())
            answerOne();
        firstOpen = session.requests.size();
    }

    // The user

    void ignoreAny() {
        const auto header = itemAt(*statusBar.menu, {"New Versions Available (…"});
        const auto& item = header.submenu->items.at(
            static_cast<std::size_t>(upTo(static_cast<int>(header.submenu->items.size()) - 1)));
        if (item.submenu) chooseItem({"New Versions Available (…", titleOf(item), "Ignore This Version"});
    }

    void resetIgnored() {
        chooseItem({"Settings", "Ignored Versions"});
        const auto titled = [](const auto& window) { return window->content.title == "Ignored Versions"; };
        (*std::ranges::find_if(windowServer.windows, titled))->press("Reset All");
    }

    void toggle(const std::string& title) {
        const auto before = itemAt(*statusBar.menu, {"Settings", title}).state;
        chooseItem({"Settings", title});
        EXPECT_NE(itemAt(*statusBar.menu, {"Settings", title}).state, before);
    }

    void doSomething() {
        const auto changeCatalog = [&] { catalog = static_cast<Catalog>(upTo(4)); };
        const std::function<void()> deeds[] = {
            [&] { chooseItem({"Check for Updates"}); },
            [&] { chooseItem({"Settings", "Show Error Log"}); },
            [&] { ignoreAny(); },
            [&] { upTo(3) == 0 ? resetIgnored() : void(); },
            [&] { toggle("Color Icon"); },
            [&] { toggle("Open at Login"); },
            [&] { changePath(isOut ? PathStatus::satisfied : PathStatus::unsatisfied); },
            changeCatalog,
            changeCatalog,
            [&] { install(anyName(), upTo(9)); },
            [&] { list(anyName(), upTo(9)); },
            [&] { std::filesystem::remove(instanceStore.url); },
            [&] { queue.advance(std::chrono::seconds(upTo(50))); },
        };
        deeds[static_cast<std::size_t>(upTo(std::size(deeds) - 1))]();
    }

    // What must hold

    void expectOfEveryState() {
        queue.runUntilIdle();
        const bool isChecking = !open("auto-match").empty() || !open("instance").empty();
        EXPECT_TRUE(isChecking || !iconShowsFetching()) << "the icon shows a check that nobody runs";
        const auto shown = statusBar.menu;
        delegate->rebuildMenu();
        EXPECT_EQ(outline(*shown), menuText()) << "the menu is the one that would be built now";
        statusBar.menu = shown;
        EXPECT_LE(std::ranges::count(log(), '\n'), 500);
        EXPECT_LE(queue.untilNext(), 6h) << "the next check is later than its timer";
    }

    /// What a check must list that nothing keeps from its end.
    std::string updatesOfTheWorld() const {
        const auto ignored = IgnoredVersionsStore(persistence).load();
        std::string text;
        for (const auto& [name, local] : installed) {
            const auto newest = listed.at(name);
            const auto version = std::to_string(newest) + ".0";
            const auto entry = ignored.find("com.example." + name);
            if (newest <= local || (entry != ignored.end() && entry->second.version == version)) continue;
            text += "<" + name + "> (<" + std::to_string(local) + ".0> → <" + version + ">)\n";
        }
        return text.empty() ? "!No Updates Available\n" : text;
    }

    void expectACheckToFindTheWorld() {
        catalog = Catalog::works;
        changePath(PathStatus::satisfied);
        answerAll();
        chooseItem({"Check for Updates"});
        answerAll();
        expectOfEveryState();
        const auto updates = updatesOfTheWorld();
        EXPECT_EQ(updatesText(), updates);
        const auto count = std::ranges::count(updates, '(');
        EXPECT_EQ(updatesTitle(), "New Versions Available (" + std::to_string(count) + ")");
        EXPECT_TRUE(instanceStore.load().has_value()) << "a check that succeeds has registered";
    }

    std::mt19937_64 random{GetParam()};
    Catalog catalog = Catalog::works;
    std::map<std::string, int> installed, listed;
    bool isOut = false;
    std::size_t firstOpen = 0;
};

TEST_P(SimulatedYear, everyCheckThatCanFindsTheWorldAsItIs) {
    for (const char* name : names) {
        install(name, upTo(5));
        list(name, upTo(9));
    }
    changePath(upTo(1) == 0 ? PathStatus::satisfied : PathStatus::unsatisfied);
    launch();
    for (int step = 0; queue.now < year; ++step) {
        SCOPED_TRACE("seed " + std::to_string(GetParam()) + ", step " + std::to_string(step));
        if (!open("").empty() && upTo(2) == 0) answerOne();
        doSomething();
        expectOfEveryState();
        if (upTo(2) == 0) {
            answerAll();
            queue.advance(std::chrono::minutes(upTo(6 * 60)));
            expectOfEveryState();
        }
        if (upTo(9) == 0) expectACheckToFindTheWorld();
        if (HasFailure()) FAIL() << "see above";
    }
}

/// QUORVEL_SOAK_SEED tries one of your own.
std::vector<std::uint64_t> seeds() {
    if (const char* const given = std::getenv("QUORVEL_SOAK_SEED"))
        return {std::strtoull(given, nullptr, 10)};
    return {1, 2};
}

INSTANTIATE_TEST_SUITE_P(Seeds, SimulatedYear, testing::ValuesIn(seeds()), testing::PrintToStringParamName());

}  // namespace
}  // namespace quorvel
