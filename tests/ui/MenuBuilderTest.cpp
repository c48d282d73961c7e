#include <algorithm>

#include "support/AppDelegateFixture.h"
#include "support/Texts.h"
#include "ui/MenuBuilder.h"
#include "ui/ReportMail.h"

namespace quorvel {
namespace {

using Opened = std::vector<std::string>;

class MenuBuilderTest : public AppDelegateFixture {
protected:
    /// The addresses opened by choosing an item.
    Opened opened(MenuPath item) {
        workspace.opened.clear();
        chooseItem(item);
        return workspace.opened;
    }
};

TEST_F(MenuBuilderTest, laysOutTheWholeMenu) {
    for (const char* name : {"Amberleaf", "Brindle"})
        addApp(name, "1.0");
    listInCatalog({{"Amberleaf", "2.0"}, {"Brindle", "2.0"}});
    IgnoredVersionsStore(persistence).ignore("2.0", "Brindle", "com.example.Brindle");
    SettingsStore(persistence).save({.openAtLogin = true, .colorIcon = false});
    finishLaunch();
    EXPECT_EQ(menuText(),
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
    EXPECT_EQ(itemAt(*statusBar.menu, {"New Versions…", "Amberleaf…"}).image,
              BundleIcon{folder.path / "Applications/Amberleaf.app"});
    loginItem.offered = false;
    delegate->rebuildMenu();
    EXPECT_TRUE(menuText().contains("Settings\n  (off) Color Icon\n"));
}

TEST_F(MenuBuilderTest, breaksAndShortensTitlesByUserPerceivedCharacters) {
    const std::string family = "👨‍👩‍👧‍👦", accented = "e\u0301", flag = "🇫🇷";
    // Around the versions, a plain title has six characters of its own.
    const struct {
        std::string name, local, latest;
        bool onOneLine;
        std::string reported;
    } rows[] = {
        {repeated(15, "n"), "1", "2", true, repeated(15, "n")},
        {repeated(20, "n"), repeated(7, "1"), repeated(7, "2"), true, repeated(15, "n") + "…"},
        {repeated(20, "m"), repeated(7, "1"), repeated(8, "2"), false, repeated(15, "m") + "…"},
        {repeated(21, "n"), "1", "2", false, repeated(15, "n") + "…"},
        {repeated(21, family), "1", "2", false, repeated(15, family) + "…"},
        {repeated(20, accented), "1" + repeated(6, accented), "2" + repeated(6, flag), true,
         repeated(15, accented) + "…"},
        {"Fourteen chars  and more", "1", "2", false, "Fourteen chars…"},
        {"Thirteen    \nx\u00A0andmore", "1", "2", false, "Thirteen    \nx…"},
        {repeated(15, " ") + "n", "1", "2", true, "…"},
    };
    Versions versions;
    for (const auto& row : rows) {
        addApp(row.name, row.local, std::to_string(versions.size()));
        versions[row.name] = row.latest;
    }
    listInCatalog(versions);
    finishLaunch();
    const auto text = menuText();
    for (const auto& [name, local, latest, onOneLine, reported] : rows) {
        const std::string detail = "<" + local + "> → <" + latest + ">";
        const std::string title = "<" + name + ">" + (onOneLine ? " (" + detail + ")" : " | " + detail);
        const auto item = text.find("\n  " + title + "\n");
        ASSERT_NE(item, std::string::npos) << title << "\n" << text;
        EXPECT_TRUE(
            text.substr(text.find("    Report", item)).starts_with("    Report <" + reported + "> Issue\n"))
            << reported;
    }
}

TEST_F(MenuBuilderTest, runsWhatEachItemStandsFor) {
    addApp("Amberleaf", "1.0");
    listInCatalog({{"Amberleaf", "2.0"}});
    finishLaunch();
    const std::string id = std::to_string(catalogId);
    for (const MenuPath item :
         {MenuPath{"New Versions…", "Amberleaf…", "Open App Page"},
          MenuPath{"New Versions…", "Amberleaf…", "Show in Finder"},
          MenuPath{"New Versions…", "Amberleaf…", "Submit Changes"}, MenuPath{"Try Orbisto Hub app"},
          MenuPath{"Go to Orbisto Website"}, MenuPath{"Feedback"}, MenuPath{"Quit"}})
        chooseItem(item);
    EXPECT_EQ(workspace.opened, (Opened{"https://www.orbisto.example/app/mac/" + id,
                                        "https://www.orbisto.example/content/submit/" + id,
                                        "https://hub.orbisto.example/", "https://www.orbisto.example",
                                        "mailto:support@orbisto.example?subject=Quorvel%20Feedback"}));
    EXPECT_EQ(workspace.selected,
              std::vector<std::filesystem::path>{folder.path / "Applications/Amberleaf.app"});
    EXPECT_EQ(newRequests(), "/qvl/tracking success try_desktop\n");
    EXPECT_EQ(application.terminations, 1);
}

TEST_F(MenuBuilderTest, composesReportsWithTheLogsText) {
    addApp("T&C= 藍%", "1.0");
    listInCatalog({{"T&C= 藍%", "2.0+#"}});
    finishLaunch();
    const std::string start = "mailto:support@orbisto.example?subject=";
    const std::string ofUpdate =
        start +
        "Issue%20with%20T&C=%20%E8%97%8D%25%20in%20Quorvel&body="
        "App:%20T&C=%20%E8%97%8D%25%0ALocal%20version:%201.0%0ALatest%20version%20on%20Orbisto:"
        "%202.0+%23%0AOrbisto%20page:%20https://www.orbisto.example/app/mac/-9007199254740993";
    const std::tuple<std::string, std::string, std::string> rows[] = {
        {"", "", "(No%20log%20entries)"},
        {"[x] \"az AZ-09._~\"\n", "%0A%0AError%20Log:%0A---%0A%5Bx%5D%20%22az%20AZ-09._~%22%0A",
         "%5Bx%5D%20%22az%20AZ-09._~%22%0A"},
    };
    for (const auto& [logText, updateEnd, generalEnd] : rows) {
        folder.write("data/error.log", logText);
        EXPECT_EQ(opened({"New Versions…", "T&C…", "Report T&C= 藍% Issue"}), Opened{ofUpdate + updateEnd});
        EXPECT_EQ(opened({"Settings", "Report Quorvel Issue"}),
                  Opened{start + "Quorvel%20Issue%20Report&body=" + generalEnd});
    }
    workspace.maxSize = ofUpdate.size();
    EXPECT_TRUE(opened({"New Versions…", "T&C…", "Report T&C= 藍% Issue"})
                    .at(0)
                    .ends_with("Error%20Log:%0A---%0A(1%20older%20lines%20are%20left%20out.)%0A"));
}

TEST_F(MenuBuilderTest, aReportThatIsTooLongForTheDesktopLosesTheOldestLinesOfTheLog) {
    const std::string start = "mailto:support@orbisto.example?subject=s&body=t";
    const auto notice = [](const char* lines) {
        return "(" + std::string(lines) + "%20older%20lines%20are%20left%20out.)%0A";
    };
    const std::string oldest(100, '1');
    const std::string ends[] = {oldest + "%0A%C3%A9%0A%0Afour%0A", notice("1") + "%C3%A9%0A%0Afour%0A",
                                notice("2") + "%0Afour%0A", notice("3") + "four%0A", notice("4")};
    for (std::size_t size = start.size() + ends[0].size() + 1; size-- > 0;) {
        const auto* const longest =
            std::ranges::find_if(ends, [&](const auto& end) { return start.size() + end.size() <= size; });
        EXPECT_EQ(reportMailURL("s", "t", oldest + "\né\n\nfour\n", size),
                  start + (longest == std::end(ends) ? ends[4] : *longest))
            << size;
    }
}

TEST_F(MenuBuilderTest, opensNothingButHttpsAndMailAddresses) {
    const Opened opening{"https://www.orbisto.example/privacy#quorvel",
                         "mailto:a@b.example?subject=x%20y&body=%F0%9f"};
    for (const auto& url : opening)
        MenuBuilder::openLink(workspace, url);
    for (const char* const url :
         {"http://www.orbisto.example", "file:///etc/passwd", "https:www.orbisto.example",
          "https://a.example/\n", "https://a.example/é", ""})
        MenuBuilder::openLink(workspace, url);
    EXPECT_EQ(workspace.opened, opening);
}

}  // namespace
}  // namespace quorvel
