#include "platform/painterprotocol/PainterMessages.h"
#include "support/AppDelegateFixture.h"

namespace quorvel {
namespace {

class WindowControllersTest : public AppDelegateFixture {
protected:
    /// Chooses an item twice, which shows one window, and compares that with what a painter is told of it.
    const FakeWindowServer::Shown& shown(MenuPath item, const std::string& expected) {
        for (int turn = 1; turn <= 2; ++turn) {
            chooseItem(item);
            EXPECT_EQ(windowServer.windows.size(), 1U);
            EXPECT_EQ(windowServer.windows[0]->shows, turn);
        }
        const auto& window = *windowServer.windows[0];
        EXPECT_EQ(painter::encode(painter::Request(painter::ShowWindow{0, 0, window.content, {}, {}, {}})),
                  R"(["showWindow",[0,0,)" + expected + R"(,[],null,""]])");
        return window;
    }
};

TEST_F(WindowControllersTest, aboutNamesTheProgramAndOpensItsFourPages) {
    finishLaunch();
    const auto& window = shown(
        {"About"}, R"(["About Quorvel",400.0,320.0,false,[)"
                   R"(["label",[[0.0,220.0,400.0,30.0],"Quorvel",["boldSystem",18.0],"label"]],)"
                   R"(["label",[[0.0,188.0,400.0,22.0],"Version 1.4.2",["system",13.0],"secondaryLabel"]],)"
                   R"(["label",[[0.0,164.0,400.0,18.0],"Instance ID: 7",["system",11.0],"tertiaryLabel"]],)"
                   R"(["button",[[50.0,120.0,140.0,22.0],"Orbisto Website","link"]],)"
                   R"(["button",[[210.0,120.0,140.0,22.0],"Orbisto Hub","link"]],)"
                   R"(["button",[[90.0,80.0,100.0,22.0],"Terms of Use","link"]],)"
                   R"(["button",[[210.0,80.0,110.0,22.0],"Privacy Policy","link"]]]])");
    for (const char* title : {"Orbisto Website", "Orbisto Hub", "Terms of Use", "Privacy Policy"})
        window.press(title);
    EXPECT_EQ(workspace.opened,
              (std::vector<std::string>{"https://www.orbisto.example", "https://hub.orbisto.example/",
                                        "https://www.orbisto.example/terms/quorvel",
                                        "https://www.orbisto.example/privacy#quorvel"}));
}

TEST_F(WindowControllersTest, theErrorLogIsReadAgainOnlyOnRefreshAndCopy) {
    finishLaunch();
    folder.write("data/error.log", "");
    const auto& window =
        shown({"Settings", "Show Error Log"},
              R"(["Error Log",600.0,400.0,true,[)"
              R"x(["textView",[[0.0,40.0,600.0,360.0],["monospaced",11.0],8.0,"(No log entries)"]],)x"
              R"(["button",[[8.0,8.0,80.0,24.0],"Refresh","rounded"]],)"
              R"(["button",[[96.0,8.0,80.0,24.0],"Copy","rounded"]]]])");
    // What the file holds, and what the window shows and copies after a refresh.
    const std::pair<std::string, std::string> rows[] = {
        {"first\nline é\n", "first\nline é\n"},
        {"not \xC3( UTF-8", "(No log entries)"},
        {std::string(9'000'000, 'l'), std::string(9'000'000, 'l')},
    };
    std::string before = "(No log entries)";
    for (const auto& [content, refreshed] : rows) {
        folder.write("data/error.log", content);
        window.press("Copy");
        EXPECT_TRUE(window.text == before && pasteboard.content == refreshed) << content.substr(0, 80);
        window.press("Refresh");
        EXPECT_TRUE(window.text == refreshed) << content.substr(0, 80);
        before = refreshed;
    }
}

TEST_F(WindowControllersTest, theIgnoredListReadsItsFileForEveryQuestion) {
    addApp("Amberleaf", "1.0");
    listInCatalog({{"Amberleaf", "2.0"}});
    finishLaunch();
    const auto& window = shown({"Settings", "Ignored Versions"},
                               R"(["Ignored Versions",480.0,320.0,true,[)"
                               R"(["tableView",[[0.0,44.0,480.0,276.0],20.0,["system",13.0],)"
                               R"([["name","App Name",280.0],["version","Ignored Version",160.0]]]],)"
                               R"(["button",[[8.0,8.0,90.0,28.0],"Reset All","rounded"]]]])");
    chooseItem({"New Versions…", "Amberleaf…", "Ignore This Version"});
    const IgnoredVersionsStore store(persistence);
    store.ignore("3", "Zebra", "a");
    store.ignore("2.0 beta", "apple", "b");
    store.ignore("1", "Éclair", "d");
    store.ignore("4", "apple", "c");
    EXPECT_EQ(
        window.rows(),
        (TableRows{
            {"Amberleaf", "2.0"}, {"apple", "2.0 beta"}, {"apple", "4"}, {"Éclair", "1"}, {"Zebra", "3"}}));
    const int menus = statusBar.menusSet;
    window.press("Reset All");
    EXPECT_EQ(window.rows(), TableRows{});
    EXPECT_EQ(window.reloads, 1);
    EXPECT_EQ(statusBar.menusSet, menus + 1);
    EXPECT_EQ(updatesText(), "!No Updates Available\n") << "the flags stay until the next check";
    delegate->runManualCheck();
    settle();
    EXPECT_EQ(updatesText(), "<Amberleaf> (<1.0> → <2.0>)\n");
}

}  // namespace
}  // namespace quorvel
