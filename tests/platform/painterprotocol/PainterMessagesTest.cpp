#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <set>

#include "platform/painterprotocol/PainterMessages.h"
#include "support/TemporaryFolder.h"

namespace quorvel::painter {
namespace {

/// A line of every message, by its name. The fuzz target starts from them.
std::map<std::string, std::string> sampleLines() {
    std::map<std::string, std::string> lines;
    for (const auto& file : std::filesystem::directory_iterator(SOURCE_ROOT "/fuzz/seeds/PainterMessages"))
        lines[file.path().filename()] = TemporaryFolder::contentOf(file.path());
    return lines;
}

const auto samples = sampleLines();

TEST(PainterMessages, everyMessageGoesOverTheWireWithAllItSays) {
    std::set<std::size_t> requests, events;
    for (const auto& [name, line] : samples) {
        const auto request = decodeRequest(line);
        const auto event = decodeEvent(line);
        EXPECT_EQ(request.has_value() + event.has_value(), name == "hello" ? 2 : 1) << name;
        if (request) {
            EXPECT_EQ(encode(*request), line);
            requests.insert(request->index());
        }
        if (event) {
            EXPECT_EQ(encode(*event), line);
            events.insert(event->index());
        }
    }
    EXPECT_EQ(requests.size(), std::variant_size_v<Request>);
    EXPECT_EQ(events.size(), std::variant_size_v<Event>);
    EXPECT_EQ(encode(Event(Hello{})), samples.at("hello"));
    const auto shown = std::get<ShowTrayIcon>(decodeRequest(samples.at("showTrayIcon")).value());
    EXPECT_EQ(shown.image.bitmaps.at(0).rgba, (std::vector<std::uint8_t>{1, 2, 3, 255, 0, 0, 9, 9}));
    EXPECT_EQ(encode(SetText{1, "a\r\nb\xff\u2028"}), "[\"setText\",[1,\"a\\r\\nb\uFFFD\u2028\"]]");
    EXPECT_TRUE(decodeRequest(encode(ShowWindow{})));
}

TEST(PainterMessages, refusesAsAWholeWhatDoesNotFit) {
    struct Change {
        const char *sample, *from, *to;
        bool isAccepted = false;
    };
    const char *window = "showWindow", *tray = "showTrayIcon", *closed = "windowClosed";
    const char* const bitmap = R"([2,1,"010203ff00000909"])";
    const Change rows[] = {
        {window, "showWindow", "show"},
        {window, "\"token\"]]", "\"token\",1]]"},
        {window, "[1,2,", "[-1,2,"},
        {window, "\"Title\"", "1"},
        {window, "600.0", "32000.5"},
        {window, "boldSystem", "italic"},
        {window, "-8.0,8.0,80.0,24.0", "-8.0,8.0,0,0", true},
        {window, "-8.0,8.0,80.0,24.0", "-8.0,8.0,80.0,-1"},
        {window, "[-5,7,600,400]", "null", true},
        {tray, "895000ff", "895000f"},
        {tray, "895000ff", "895000fg"},
        {tray, bitmap, R"([2,1,"010203ff"])"},
        {tray, bitmap, R"([-1,-2,"010203ff00000909"])"},
        {closed, ",[1,2,[10,20,600,400]]", ""},
    };
    for (const auto& [sample, from, to, isAccepted] : rows) {
        std::string line = samples.at(sample);
        line.replace(line.find(from), std::string_view(from).size(), to);
        EXPECT_EQ(decodeRequest(line) || decodeEvent(line), isAccepted) << from << " -> " << to;
    }
}

}  // namespace
}  // namespace quorvel::painter
