#include <algorithm>
#include <array>
#include <cstdlib>
#include <functional>
#include <random>

#include "support/AppDelegateFixture.h"

namespace quorvel {
namespace {

using namespace std::chrono_literals;

constexpr auto year = 365 * 24h;
constexpr std::array names{"Alder", "Birch", "Cedar", "Dogwood", "Elm"};

/// A year in the life of the program, chosen by a seed: checks of all triggers, some of them at the same
/// time, outages, a catalog that fails, changes to what is installed and to what the catalog knows, and
/// everything that the menu offers. Once nothing goes wrong any more, a check finds the world as it is.
class SimulatedYear : public AppDelegateFixture, public testing::WithParamInterface<std::uint64_t> {
protected:
    int upTo(int limit) { return std::uniform_int_distribution<int>(0, limit)(random); }
    std::string anyName() { return names.at(static_cast<std::size_t>(upTo(names.size() - 1))); }
    /// Of one digit, so that its text sorts as it does.
    std::string anyVersion() { return std::to_string(upTo(9)) + ".0"; }

    void install(const std::string& name) {
        installed[name] = anyVersion();
        addApp(name, installed[name]);
    }

    void offer(const std::string& name) {
        offered[name] = anyVersion();
        listInCatalog(offered);
    }

    void ignoreTheFirst() {
        const auto item = itemAt(*statusBar.menu, {"New Versions Available (…"}).submenu->items.front();
        if (item.submenu) chooseItem({"New Versions Available (…", titleOf(item), "Ignore This Version"});
    }

    void resetIgnored() {
        chooseItem({"Settings", "Ignored Versions"});
        const auto titled = [](const auto& window) { return window->content.title == "Ignored Versions"; };
        (*std::ranges::find_if(windowServer.windows, titled))->press("Reset All");
    }

    void doSomething() {
        const std::function<void()> deeds[] = {
            [&] { chooseItem({"Check for Updates"}); },
            [&] { chooseItem({"Settings", "Show Error Log"}); },
            [&] { ignoreTheFirst(); },
            [&] { resetIgnored(); },
            [&] { chooseItem({"Settings", "Color Icon"}); },
            [&] { chooseItem({"Settings", "Open at Login"}); },
            [&] { path->report(PathStatus::unsatisfied); },
            [&] { path->report(PathStatus::satisfied); },
            [&] { failCatalog(503, "overloaded"); },
            [&] { failCatalog(200, "<html>"); },
            [&] { listInCatalog(offered); },
            [&] { install(anyName()); },
            [&] { offer(anyName()); },
            [&] { std::filesystem::remove(instanceStore.url); },
            [&] { queue.advance(std::chrono::seconds(upTo(50))); },
            // Before the ones that were asked earlier.
            [&] {
                if (session.completions.empty() || !session.completions.back()) return;
                answer(session.completions.size() - 1, answerTo(session.requests.back()));
            },
        };
        deeds[static_cast<std::size_t>(upTo(std::size(deeds) - 1))]();
    }

    /// What a check must list that nothing keeps from its end.
    std::string updatesOfTheWorld() const {
        const auto ignored = IgnoredVersionsStore(persistence).load();
        std::string text;
        for (const auto& [name, local] : installed) {
            const auto& newest = offered.at(name);
            const auto entry = ignored.find("com.example." + name);
            const bool isIgnored = entry != ignored.end() && entry->second.version == newest;
            if (newest > local && !isIgnored)
                text.append("<" + name + "> (<" + local + "> → <" + newest + ">)\n");
        }
        return text.empty() ? "!No Updates Available\n" : text;
    }

    void expectACheckToFindTheWorld() {
        listInCatalog(offered);
        path->report(PathStatus::satisfied);
        settle();
        chooseItem({"Check for Updates"});
        settle();
        EXPECT_EQ(updatesText(), updatesOfTheWorld());
        EXPECT_TRUE(instanceStore.load().has_value()) << "a check that succeeds has registered";
    }

    std::mt19937_64 random{GetParam()};
    Versions installed, offered;
};

TEST_P(SimulatedYear, everyCheckThatCanFindsTheWorldAsItIs) {
    for (const char* name : names) {
        install(name);
        offer(name);
    }
    delegate->applicationDidFinishLaunching();
    settle();
    for (int step = 0; queue.now < year && !HasFailure(); ++step) {
        SCOPED_TRACE("step " + std::to_string(step));
        doSomething();
        if (upTo(2) == 0) {
            settle();
            EXPECT_LE(std::ranges::count(log(), '\n'), 500);
            EXPECT_GT(queue.untilNext(), 0h) << "no timer runs";
            EXPECT_LE(queue.untilNext(), 6h) << "the next check is later than its timer";
            queue.advance(std::chrono::minutes(upTo(6 * 60)));
        }
        if (upTo(9) == 0) expectACheckToFindTheWorld();
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
