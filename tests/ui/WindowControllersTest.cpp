#include <gtest/gtest.h>

#include "platform/painterprotocol/PainterMessages.h"
#include "support/FakeDesktop.h"
#include "support/TemporaryFolder.h"
#include "ui/AboutWindowController.h"
#include "ui/ErrorLogWindowController.h"
#include "ui/IgnoredListWindowController.h"

namespace quorvel {
namespace {

class WindowControllersTest : public testing::Test {
protected:
    /// Compares the window of the controller that the test has made with what a painter is told of it.
    void expectContent(const std::string& expected) const {
        const auto message = painter::encode(
            painter::Request(painter::ShowWindow{0, 0, server.windows.at(0)->content, {}, {}, {}}));
        EXPECT_EQ(message, R"(["showWindow",[0,0,)" + expected + R"(,[],null,""]])");
    }

    TemporaryFolder folder;
    PersistenceManager persistence = PersistenceManager::at(folder.path);
    FakeWindowServer server;
    FakeWorkspace workspace;
    FakePasteboard pasteboard;
};

TEST_F(WindowControllersTest, aboutNamesTheProgramAndOpensItsFourPages) {
    const auto controller = makeWindowController<AboutWindowController>(
        server, ProgramInfo{"com.ob.quorvel", "1.4.2"}, InstanceStore(persistence), workspace);
    expectContent(
        R"(["About Quorvel",400.0,320.0,false,[)"
        R"(["label",[[0.0,220.0,400.0,30.0],"Quorvel",["boldSystem",18.0],"label"]],)"
        R"(["label",[[0.0,188.0,400.0,22.0],"Version 1.4.2",["system",13.0],"secondaryLabel"]],)"
        R"(["label",[[0.0,164.0,400.0,18.0],"Instance ID: not registered yet",["system",11.0],"tertiaryLabel"]],)"
        R"(["button",[[50.0,120.0,140.0,22.0],"Orbisto Website","link"]],)"
        R"(["button",[[210.0,120.0,140.0,22.0],"Orbisto Hub","link"]],)"
        R"(["button",[[90.0,80.0,100.0,22.0],"Terms of Use","link"]],)"
        R"(["button",[[210.0,80.0,110.0,22.0],"Privacy Policy","link"]]]])");
    for (const char* title : {"Orbisto Website", "Orbisto Hub", "Terms of Use", "Privacy Policy"})
        server.windows[0]->press(title);
    EXPECT_EQ(workspace.opened,
              (std::vector<std::string>{"https://www.orbisto.example", "https://hub.orbisto.example/",
                                        "https://www.orbisto.example/terms/quorvel",
                                        "https://www.orbisto.example/privacy#quorvel"}));
}

TEST_F(WindowControllersTest, theErrorLogIsReadAgainOnlyOnRefreshAndCopy) {
    const auto controller =
        makeWindowController<ErrorLogWindowController>(server, ErrorLogger(persistence), pasteboard);
    const auto& window = *server.windows.at(0);
    expectContent(R"(["Error Log",600.0,400.0,true,[)"
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
        folder.write("error.log", content);
        window.press("Copy");
        EXPECT_TRUE(window.text == before && pasteboard.content == refreshed) << content.substr(0, 80);
        window.press("Refresh");
        EXPECT_TRUE(window.text == refreshed) << content.substr(0, 80);
        before = refreshed;
    }
}

TEST_F(WindowControllersTest, theIgnoredListReadsItsFileForEveryQuestion) {
    const IgnoredVersionsStore store(persistence);
    int resets = 0;
    const auto controller = makeWindowController<IgnoredListWindowController>(server, store, "sv_SE", [&] {
        EXPECT_TRUE(store.load().empty());
        ++resets;
    });
    const auto& window = *server.windows.at(0);
    expectContent(R"(["Ignored Versions",480.0,320.0,true,[)"
                  R"(["tableView",[[0.0,44.0,480.0,276.0],20.0,["system",13.0],)"
                  R"([["name","App Name",280.0],["version","Ignored Version",160.0]]]],)"
                  R"(["button",[[8.0,8.0,90.0,28.0],"Reset All","rounded"]]]])");
    store.ignore("3", "Zebra", "a");
    store.ignore("2.0 beta", "apple", "b");
    store.ignore("1", "Éclair", "d");
    store.ignore("4", "apple", "c");
    EXPECT_EQ(window.rows(),
              (TableRows{{"apple", "2.0 beta"}, {"apple", "4"}, {"Éclair", "1"}, {"Zebra", "3"}}));
    window.press("Reset All");
    EXPECT_EQ(window.rows(), TableRows{});
    EXPECT_EQ(window.reloads, 1);
    EXPECT_EQ(resets, 1);
}

}  // namespace
}  // namespace quorvel
