#include <algorithm>
#include <gtest/gtest.h>

#include "support/FakeDesktop.h"
#include "support/MenuOutline.h"
#include "support/TemporaryFolder.h"
#include "ui/MenuBuilder.h"

namespace quorvel {
namespace {

AppUpdate update(std::string name, std::string local = "1.0", std::string latest = "2.0") {
    const std::filesystem::path path = "/Applications/" + name + ".app";
    return {.app = {std::move(name), "com.example.app", std::move(local), path, {path}},
            .latestVersion = std::move(latest),
            .obAppId = 5123,
            .isIgnored = false};
}

AppUpdate ignored(AppUpdate update) {
    update.isIgnored = true;
    return update;
}

std::string repeated(const std::string& text, int count) {
    std::string result;
    for (int turn = 0; turn < count; ++turn)
        result += text;
    return result;
}

class MenuBuilderTest : public testing::Test {
protected:
    std::shared_ptr<const Menu> build() {
        return MenuBuilder::buildMenu(
            context(), updates, settings, isFetching, failed, error, [this] { calls += "check "; },
            [this](const AppUpdate& chosen) { calls += "ignore " + chosen.app.name + " "; },
            [this] { calls += "changed "; }, [this] { calls += "try "; });
    }

    MenuContext context() {
        return {.delegate = {},
                .workspace = workspace,
                .alerts = alerts,
                .application = application,
                .loginItem = loginItem,
                .persistence = persistence};
    }

    /// The addresses opened by choosing an item of a fresh menu.
    std::vector<std::string> opened(MenuPath path) {
        workspace.opened.clear();
        choose(*build(), path);
        return workspace.opened;
    }

    TemporaryFolder folder;
    PersistenceManager persistence = PersistenceManager::at(folder.path);
    FakeWorkspace workspace;
    FakeAlerts alerts;
    FakeApplication application;
    FakeLoginItem loginItem;
    std::string calls;
    std::vector<AppUpdate> updates;
    Settings settings;
    bool isFetching = false;
    bool failed = false;
    std::optional<std::string> error;
};

using Opened = std::vector<std::string>;

TEST_F(MenuBuilderTest, laysOutTheWholeMenu) {
    updates = {update("Amberleaf"), ignored(update("Brindle"))};
    settings = {.openAtLogin = true, .colorIcon = false};
    EXPECT_EQ(outline(*build()),
              "Check for Updates\n"
              "New Versions Available (1)\n"
              "  <Amberleaf> (<1.0> → <2.0>)\n"
              "    Open App Page\n"
              "    Show in Finder\n"
              "    Submit Changes\n"
              "    Report <Amberleaf> Issue\n"
              "    ---\n"
              "    Ignore This Version\n"
              "---\n"
              "Settings\n"
              "  (on) Open at Login\n"
              "  (off) Color Icon\n"
              "  ---\n"
              "  Show Error Log\n"
              "  Ignored Versions\n"
              "  ---\n"
              "  Report Quorvel Issue\n"
              "Try Orbisto Hub app\n"
              "Go to Orbisto Website\n"
              "Feedback\n"
              "About\n"
              "---\n"
              "Quit ^q\n");
    EXPECT_EQ(itemAt(*build(), {"New Versions…", "Amberleaf…"}).image, updates[0].app.icon);

    loginItem.offered = false;
    settings.colorIcon = true;
    EXPECT_EQ(titleOf(itemAt(*build(), {"Settings"}).submenu->items.front()), "Color Icon");
    EXPECT_EQ(itemAt(*build(), {"Settings", "Color Icon"}).state, MenuItem::State::on);
}

TEST_F(MenuBuilderTest, listsUpdatesOrSaysWhyItDoesNot) {
    const auto a = update("A"), b = update("B", "1", "3");
    const struct {
        std::vector<AppUpdate> updates;
        bool failed;
        std::optional<std::string> error;
        const char* expected;
    } rows[] = {
        {{ignored(a), ignored(b)}, false, {}, "(0)\n  !No Updates Available\n"},
        {{a, b, ignored(a)}, true, "Off & _on_.", "(2)\n  !Last check failed\n  !<Off & _on_.>\n"},
        {{a}, true, {}, "(1)\n  !Last check failed\n"},
    };
    for (const auto& row : rows) {
        updates = row.updates;
        failed = row.failed;
        error = row.error;
        EXPECT_TRUE(outline(*build()).contains("New Versions Available " + std::string(row.expected) + "---"))
            << outline(*build());
    }
}

TEST_F(MenuBuilderTest, breaksAndShortensTitlesByUserPerceivedCharacters) {
    const std::string family = "👨‍👩‍👧‍👦", accented = "e\u0301", flag = "🇫🇷";
    // Around the versions, a plain title has six characters of its own.
    const struct {
        std::string name, local, latest;
        bool onOneLine;
        std::string reported;
    } rows[] = {
        {repeated("n", 15), "1", "2", true, repeated("n", 15)},
        {repeated("n", 20), repeated("1", 7), repeated("2", 7), true, repeated("n", 15) + "…"},
        {repeated("n", 20), repeated("1", 7), repeated("2", 8), false, repeated("n", 15) + "…"},
        {repeated("n", 21), "1", "2", false, repeated("n", 15) + "…"},
        {repeated(family, 20), "1", "2", true, repeated(family, 15) + "…"},
        {repeated(family, 21), "1", "2", false, repeated(family, 15) + "…"},
        {repeated(accented, 20), repeated(accented, 7), repeated(flag, 7), true,
         repeated(accented, 15) + "…"},
        {"Fourteen chars  and more", "1", "2", false, "Fourteen chars…"},
        {"Thirteen    \nx\u00A0andmore", "1", "2", false, "Thirteen    \nx…"},
        {repeated(" ", 16), "1", "2", true, "…"},
    };
    for (const auto& [name, local, latest, onOneLine, reported] : rows) {
        updates = {update(name, local, latest)};
        const auto text = outline(*build());
        const std::string versions = "<" + local + "> → <" + latest + ">";
        EXPECT_TRUE(text.contains("\n  <" + name + ">" +
                                  (onOneLine ? " (" + versions + ")" : " | " + versions) + "\n"))
            << text;
        EXPECT_TRUE(text.contains("    Report <" + reported + "> Issue\n")) << text;
    }
}

/// What the application's delegate does is in the tests of the controller.
TEST_F(MenuBuilderTest, runsWhatEachItemStandsFor) {
    updates = {update("Amberleaf"), update("Brindle")};
    updates[1].obAppId = -9007199254740993;
    const auto menu = build();
    for (const MenuPath item :
         {MenuPath{"Check for Updates"}, MenuPath{"New Versions…", "Brindle…", "Open App Page"},
          MenuPath{"New Versions…", "Brindle…", "Show in Finder"},
          MenuPath{"New Versions…", "Brindle…", "Submit Changes"},
          MenuPath{"New Versions…", "Brindle…", "Ignore This Version"}, MenuPath{"Settings", "Open at Login"},
          MenuPath{"Settings", "Color Icon"}, MenuPath{"Settings", "Show Error Log"},
          MenuPath{"Settings", "Ignored Versions"}, MenuPath{"Try Orbisto Hub app"},
          MenuPath{"Go to Orbisto Website"}, MenuPath{"Feedback"}, MenuPath{"About"}, MenuPath{"Quit"}})
        choose(*menu, item);
    EXPECT_EQ(calls, "check ignore Brindle changed changed try ");
    EXPECT_EQ(workspace.opened, (Opened{"https://www.orbisto.example/app/mac/-9007199254740993",
                                        "https://www.orbisto.example/content/submit/-9007199254740993",
                                        "https://hub.orbisto.example/", "https://www.orbisto.example",
                                        "mailto:support@orbisto.example?subject=Quorvel%20Feedback"}));
    EXPECT_EQ(workspace.selected, std::vector<std::filesystem::path>{"/Applications/Brindle.app"});
    EXPECT_EQ(application.terminations, 1);
}

TEST_F(MenuBuilderTest, composesReportsWithTheLogsText) {
    const std::string subjectOf = "mailto:support@orbisto.example?subject=";
    const std::string general = subjectOf + "Quorvel%20Issue%20Report&body=";
    updates = {update("T&C= 藍%", "1.0", "2.0+#")};
    const auto expectReports = [&](const std::string& updateEnd, const std::string& generalEnd) {
        EXPECT_EQ(
            opened({"New Versions…", "T&C…", "Report T&C= 藍% Issue"}),
            Opened{subjectOf +
                   "Issue%20with%20T&C=%20%E8%97%8D%25%20in%20Quorvel&body="
                   "App:%20T&C=%20%E8%97%8D%25%0ALocal%20version:%201.0%0ALatest%20version%20on%20Orbisto:"
                   "%202.0+%23%0AOrbisto%20page:%20https://www.orbisto.example/app/mac/5123" +
                   updateEnd});
        EXPECT_EQ(opened({"Settings", "Report Quorvel Issue"}), Opened{general + generalEnd});
    };
    expectReports("", "(No%20log%20entries)");
    folder.write("error.log", "[x] \"az AZ-09._~\"\n");
    expectReports("%0A%0AError%20Log:%0A---%0A%5Bx%5D%20%22az%20AZ-09._~%22%0A",
                  "%5Bx%5D%20%22az%20AZ-09._~%22%0A");
    MenuBuilder::composeUpdateReport(context(), update("bad \xC3 name"));
    EXPECT_EQ(workspace.opened.size(), 1U) << "no report of what is no Unicode";
}

TEST_F(MenuBuilderTest, aReportThatIsTooLongForTheDesktopLosesTheOldestLinesOfTheLog) {
    const std::string start = "mailto:support@orbisto.example?subject=Quorvel%20Issue%20Report&body=";
    const auto notice = [](const char* lines) {
        return "(" + std::string(lines) + "%20older%20lines%20are%20left%20out.)%0A";
    };
    const std::string oldest(100, '1');
    const std::string ends[] = {oldest + "%0A%C3%A9%0A%0Afour%0A", notice("1") + "%C3%A9%0A%0Afour%0A",
                                notice("2") + "%0Afour%0A", notice("3") + "four%0A", notice("4")};
    folder.write("error.log", oldest + "\né\n\nfour\n");
    for (std::size_t size = start.size() + ends[0].size(); size >= start.size(); --size) {
        workspace.maxSize = size;
        const auto* const longest =
            std::ranges::find_if(ends, [&](const auto& end) { return start.size() + end.size() <= size; });
        EXPECT_EQ(opened({"Settings", "Report Quorvel Issue"}),
                  Opened{start + (longest == std::end(ends) ? ends[4] : *longest)})
            << size;
    }
    updates = {update("A")};
    workspace.maxSize = 0;
    EXPECT_TRUE(opened({"New Versions…", "A…", "Report A Issue"})
                    .at(0)
                    .ends_with("123%0A%0AError%20Log:%0A---%0A" + notice("4")));
}

TEST_F(MenuBuilderTest, opensNothingButHttpsAndMailAddresses) {
    const struct {
        const char* url;
        bool opens;
    } rows[] = {
        {"https://www.orbisto.example/privacy#quorvel", true},
        {"mailto:a@b.example?subject=x%20y&body=%F0%9f", true},
        {"http://www.orbisto.example", false},
        {"file:///etc/passwd", false},
        {"https:www.orbisto.example", false},
        {"https://", false},
        {"mailto:", false},
        {"https://a.example/\n", false},
        {"https://a.example/é", false},
        {"https://a.example/%", false},
        {"https://a.example/%4g", false},
        {"https://a.example/#a#b", false},
        {"https://?x", false},
        {"", false},
    };
    for (const auto& [url, opens] : rows) {
        workspace.opened.clear();
        MenuBuilder::openLink(workspace, url);
        EXPECT_EQ(workspace.opened, opens ? Opened{url} : Opened{}) << url;
    }
}

}  // namespace
}  // namespace quorvel
