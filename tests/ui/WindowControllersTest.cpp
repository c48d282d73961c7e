#include <gtest/gtest.h>
#include <sstream>

#include "support/FakeDesktop.h"
#include "support/TemporaryFolder.h"
#include "ui/AboutWindowController.h"
#include "ui/ErrorLogWindowController.h"
#include "ui/IgnoredListWindowController.h"

namespace quorvel {
namespace {

/// A window as text, its views a line each: kind, frame, font and what it says.
std::string describe(const WindowContent& window) {
    std::ostringstream text;
    const auto frame = [&](const char* kind, const Frame& of) -> std::ostream& {
        return text << kind << " " << of.x << "," << of.y << " " << of.width << "x" << of.height << " ";
    };
    const auto font = [&](const Font& of) -> std::ostream& {
        const char* const roles[] = {"system", "bold", "monospaced"};
        return text << roles[static_cast<int>(of.role)] << of.points << " ";
    };
    text << window.title << " " << window.width << "x" << window.height
         << (window.isResizable ? " resizable\n" : "\n");
    for (const auto& view : window.views) {
        if (const auto* label = std::get_if<Label>(&view)) {
            frame("label", label->frame);
            font(label->font) << "color" << static_cast<int>(label->color) << " " << label->text;
        } else if (const auto* button = std::get_if<Button>(&view)) {
            frame(button->style == Button::Style::link ? "link" : "button", button->frame) << button->title;
        } else if (const auto* log = std::get_if<TextView>(&view)) {
            frame("text", log->frame) << log->inset << " ";
            font(log->font) << log->text;
        } else if (const auto* table = std::get_if<TableView>(&view)) {
            frame("table", table->frame) << table->rowHeight << " ";
            font(table->font);
            for (const auto& column : table->columns)
                text << column.identifier << "=" << column.title << " " << column.width << " ";
        }
        text << "\n";
    }
    return text.str();
}

class WindowControllersTest : public testing::Test {
protected:
    TemporaryFolder folder;
    PersistenceManager persistence = PersistenceManager::at(folder.path);
    FakeWindowServer server;
    FakeWorkspace workspace;
    FakePasteboard pasteboard;
};

TEST_F(WindowControllersTest, aboutNamesTheProgramAndOpensItsFourPages) {
    const auto controller = makeWindowController<AboutWindowController>(
        server, ProgramInfo{"com.ob.quorvel", "1.4.2"}, InstanceStore(persistence), workspace);
    EXPECT_EQ(describe(server.windows.at(0)->content),
              "About Quorvel 400x320\n"
              "label 0,220 400x30 bold18 color0 Quorvel\n"
              "label 0,188 400x22 system13 color1 Version 1.4.2\n"
              "label 0,164 400x18 system11 color2 Instance ID: not registered yet\n"
              "link 50,120 140x22 Orbisto Website\n"
              "link 210,120 140x22 Orbisto Hub\n"
              "link 90,80 100x22 Terms of Use\n"
              "link 210,80 110x22 Privacy Policy\n");
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
    EXPECT_EQ(describe(window.content),
              "Error Log 600x400 resizable\n"
              "text 0,40 600x360 8 monospaced11 (No log entries)\n"
              "button 8,8 80x24 Refresh\n"
              "button 96,8 80x24 Copy\n");
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
    EXPECT_EQ(describe(window.content),
              "Ignored Versions 480x320 resizable\n"
              "table 0,44 480x276 20 system13 name=App Name 280 version=Ignored Version 160 \n"
              "button 8,8 90x28 Reset All\n");
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
