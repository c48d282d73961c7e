#include <gtest/gtest.h>

#include "support/FakeDesktop.h"
#include "support/TemporaryFolder.h"
#include "ui/AboutWindowController.h"
#include "ui/ErrorLogWindowController.h"
#include "ui/IgnoredListWindowController.h"

namespace quorvel {
namespace {

std::string frameText(const Frame& frame) {
    std::ostringstream text;
    text << " (" << frame.x << "," << frame.y << "," << frame.width << "," << frame.height << ")";
    return text.str();
}

std::string fontText(const Font& font) {
    const char* const roles[] = {"system", "bold", "monospaced"};
    return std::string(" ") + roles[static_cast<int>(font.role)] +
           std::to_string(static_cast<int>(font.points));
}

struct Describe {
    std::string operator()(const Label& label) const {
        const char* const colors[] = {"", " secondary", " tertiary"};
        return "label " + label.text + fontText(label.font) + colors[static_cast<int>(label.color)] +
               frameText(label.frame);
    }
    std::string operator()(const Button& button) const {
        return (button.style == Button::Style::link ? "link " : "button ") + button.title +
               frameText(button.frame);
    }
    std::string operator()(const TextView& view) const {
        return "text" + fontText(view.font) + " inset " + std::to_string(static_cast<int>(view.inset)) +
               frameText(view.frame);
    }
    std::string operator()(const TableView& table) const {
        std::string text = "table" + fontText(table.font) + " rows " +
                           std::to_string(static_cast<int>(table.rowHeight)) + frameText(table.frame);
        for (const auto& column : table.columns)
            text += " " + column.identifier + "=" + column.title + frameText({0, 0, column.width, 0});
        return text;
    }
};

/// A window as text, its views a line each.
std::string describe(const WindowContent& window) {
    std::string text = window.title + frameText({0, 0, window.width, window.height}) +
                       (window.isResizable ? " resizable\n" : "\n");
    for (const auto& view : window.views)
        text += std::visit(Describe(), view) + "\n";
    return text;
}

class WindowControllersTest : public testing::Test {
protected:
    TemporaryFolder folder;
    PersistenceManager persistence = PersistenceManager::at(folder.path);
    FakeWindowServer server;
    FakeWorkspace workspace;
    FakePasteboard pasteboard;
};

TEST_F(WindowControllersTest, aboutShowsWhatItReadWhenItWasMade) {
    const InstanceStore store(persistence);
    const auto make = [&](const ProgramInfo& program) {
        return makeWindowController<AboutWindowController>(server, program, store, workspace);
    };
    const auto controller = make({"com.ob.quorvel", "1.4.2"});
    store.save(12345);
    controller->showWindow();
    controller->showWindow();
    ASSERT_EQ(server.windows.size(), 1U);
    EXPECT_EQ(server.windows[0]->shows, 2);
    const std::string expected =
        "About Quorvel (0,0,400,320)\n"
        "label Quorvel bold18 (0,220,400,30)\n"
        "label Version 1.4.2 system13 secondary (0,188,400,22)\n"
        "label Instance ID: not registered yet system11 tertiary (0,164,400,18)\n"
        "link Orbisto Website (50,120,140,22)\n"
        "link Orbisto Hub (210,120,140,22)\n"
        "link Terms of Use (90,80,100,22)\n"
        "link Privacy Policy (210,80,110,22)\n";
    EXPECT_EQ(describe(server.windows[0]->content), expected);

    const auto unnamed = make({});
    const auto views = server.windows[1]->content.views;
    EXPECT_EQ(std::get<Label>(views.at(1)).text, "Version ");
    EXPECT_EQ(std::get<Label>(views.at(2)).text, "Instance ID: 12345");
}

TEST_F(WindowControllersTest, aboutOpensItsFourPages) {
    const auto controller = makeWindowController<AboutWindowController>(
        server, ProgramInfo{}, InstanceStore(persistence), workspace);
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
              "Error Log (0,0,600,400) resizable\n"
              "text monospaced11 inset 8 (0,40,600,360)\n"
              "button Refresh (8,8,80,24)\n"
              "button Copy (96,8,80,24)\n");
    // What the file holds, what the window then shows, and what it shows and copies after a refresh.
    const struct {
        const char *content, *refreshed;
    } rows[] = {
        {"first\nline é\n", "first\nline é\n"},
        {"", "(No log entries)"},
        {"not \xC3( UTF-8", "(No log entries)"},
        {"\n", "\n"},
    };
    std::string before = "(No log entries)";
    EXPECT_EQ(window.text, before);
    window.press("Copy");
    EXPECT_EQ(pasteboard.content, before);
    for (const auto& [content, refreshed] : rows) {
        folder.write("error.log", content);
        controller->showWindow();
        window.press("Copy");
        EXPECT_EQ(window.text, before) << content;
        EXPECT_EQ(pasteboard.content, refreshed) << content;
        window.press("Refresh");
        EXPECT_EQ(window.text, refreshed) << content;
        before = refreshed;
    }
    // The log's lines are bounded, not its bytes.
    folder.write("error.log", std::string(9'000'000, 'l'));
    window.press("Copy");
    EXPECT_EQ(pasteboard.content.size(), 9'000'000U);
}

TEST_F(WindowControllersTest, theIgnoredListReadsItsFileForEveryQuestion) {
    const IgnoredVersionsStore store(persistence);
    int resets = 0;
    const auto controller = makeWindowController<IgnoredListWindowController>(server, store, [&] {
        EXPECT_TRUE(store.load().empty()) << "the list is empty when its reset is told";
        ++resets;
    });
    const auto& window = *server.windows.at(0);
    EXPECT_EQ(describe(window.content),
              "Ignored Versions (0,0,480,320) resizable\n"
              "table system13 rows 20 (0,44,480,276) name=App Name (0,0,280,0) version=Ignored Version "
              "(0,0,160,0)\n"
              "button Reset All (8,8,90,28)\n");
    EXPECT_EQ(window.rows(), TableRows{});

    store.ignore("3", "Zebra", "a");
    store.ignore("2.0 beta", "apple", "b");
    store.ignore("1", "", "c");
    store.ignore("4", "Éclair", "d");
    EXPECT_EQ(window.rows(), (TableRows{{"", "1"}, {"apple", "2.0 beta"}, {"Éclair", "4"}, {"Zebra", "3"}}));
    EXPECT_EQ(window.reloads, 0);

    for (int presses = 1; presses <= 2; ++presses) {
        window.press("Reset All");
        EXPECT_EQ(window.rows(), TableRows{});
        EXPECT_EQ(window.reloads, presses);
        EXPECT_EQ(resets, presses);
    }
    folder.write("ignored_versions.json", "[damaged");
    EXPECT_EQ(window.rows(), TableRows{});
}

}  // namespace
}  // namespace quorvel
