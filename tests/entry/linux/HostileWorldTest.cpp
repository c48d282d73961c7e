#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <limits>
#include <nlohmann/json.hpp>
#include <sys/stat.h>

#include "entry/linux/DesktopProgramFixture.h"
#include "platform/linux/statusitem/MenuLayout.h"
#include "support/IconSamples.h"
#include "support/PrivateBus.h"

namespace quorvel {
namespace {

using nlohmann::json;

/// The program between bundles and a catalog that somebody has prepared, seen as a panel sees it.
class HostileWorldTest : public DesktopProgramFixture {
protected:
    void SetUp() override {
        if (!daemon.reasonToSkip().empty()) GTEST_SKIP() << daemon.reasonToSkip();
        watchSession();
        panel->come();
    }

    std::vector<std::string> command() const override {
        auto words = DesktopProgramFixture::command();
        words[2] = (folder.path / "system").string();
        return words;
    }

    void addBundle(const std::string& fileName, const std::string& identifier,
                   const std::string& name) const {
        const auto text = [](std::string value) {
            for (const auto& [plain, escape] : {std::pair{"&", "&amp;"}, {"<", "&lt;"}}) {
                for (std::size_t at = 0; (at = value.find(plain, at)) != std::string::npos; ++at)
                    value.replace(at, 1, escape);
            }
            return "<string>" + value + "</string>";
        };
        folder.write("system/Applications/" + fileName + "/Contents/Info.plist",
                     "<plist><dict><key>CFBundleIdentifier</key>" + text(identifier) +
                         "<key>CFBundleName</key>" + text(name) +
                         "<key>CFBundleShortVersionString</key><string>1.0</string>"
                         "<key>CFBundleIconFile</key><string>Icon</string></dict></plist>");
    }

    /// Where the bundle's icon lies, in a folder that is there.
    std::filesystem::path iconOf(const std::string& fileName) const {
        const auto icon = folder.path / "system/Applications" / fileName / "Contents/Resources/Icon.icns";
        std::filesystem::create_directories(icon.parent_path());
        return icon;
    }

    /// A catalog with an entry for each of `entries`: bundle identifier, id and version.
    struct Entry {
        std::string bundleID;
        std::int64_t id;
        std::string version;
    };
    void startCatalogOf(const std::vector<Entry>& entries) {
        json list = json::array();
        for (const auto& [bundleID, id, version] : entries) {
            list.push_back({{"id", id},
                            {"title", std::string(1'000'000, 't')},
                            {"version", version},
                            {"bundle_identifiers", {bundleID}}});
        }
        startCatalog({"--data", folder.write("hostile.json", json{{"entries", list}}.dump()).string()});
    }

    /// Stands for what opens addresses; keeps its arguments, each with a bar behind it.
    void addOpener() const {
        const auto opener =
            folder.write("bin/xdg-open", "#!/bin/sh\nprintf '%s|' \"$@\" >>\"$HOME/opened\"\n");
        std::filesystem::permissions(opener, std::filesystem::perms::owner_all);
        setenv("PATH", ((folder.path / "bin").string() + ":/usr/bin:/bin").c_str(), 1);
    }
    std::string opened() const { return folder.read("opened"); }

    PrivateBus daemon;
};

/// All labels of a menu, of its items and of those below.
void collectLabels(const ShownItem& item, std::vector<std::string>& labels) {
    if (const auto found = item.properties.find("label"); found != item.properties.end())
        labels.push_back(found->second);
    for (const auto& child : item.children)
        collectLabels(child, labels);
}

TEST_F(HostileWorldTest, textsFromOutsideAreShownAndNothingElse) {
    const std::string escape = "\u001B]0;owned\u0007";
    addBundle("a\n$(touch x);`id`.app", "com.example.a", "<b>&bold_x</b> $(touch x) %s%n");
    addBundle("-rf.app", "com.example.b", "\u202Egpj.exe\u2066\u2069");
    addBundle("c.app", "com.example.c", std::string(60'000, 'W'));
    addBundle("d.app", "com.example.d", "line\none\ttwo");
    startCatalogOf({{"com.example.a", std::numeric_limits<std::int64_t>::min(), "9<i>" + escape},
                    {"com.example.b", std::numeric_limits<std::int64_t>::max(), "9.1\u202E"},
                    {"com.example.c", 3, "9" + std::string(1'000'000, '9')},
                    {"com.example.d", 4, "9\r\n\r\nHTTP/1.1 200 OK"}});
    addOpener();
    start();
    const auto menu = menuWith("New Versions Available (4)");
    std::vector<std::string> labels;
    collectLabels(menu.root, labels);
    for (const auto& label : labels) {
        EXPECT_LE(label.size(), 2'000U);
        EXPECT_FALSE(label.contains("\u202E")) << label;
        EXPECT_TRUE(std::ranges::none_of(label, [](char byte) {
            const auto value = static_cast<unsigned char>(byte);
            return value == 0x7F || (value < 0x20 && byte != '\n');
        })) << label;
    }
    // Markup is text, and an underscore is doubled, which a menu shows as one.
    EXPECT_TRUE(std::ranges::any_of(labels, [](const std::string& label) {
        return label.starts_with("<b>&bold__x</b> $(touch x) %s%n\n1.0 → 9<i>");
    })) << ::testing::PrintToString(labels);

    const auto& tricky = menu.root.named("New Versions Available (4)").children.at(0);
    for (const char* item : {"Open App Page", "Show in Finder", "Submit Changes"})
        ASSERT_TRUE(choose(tricky.named(item))) << item;
    ASSERT_TRUE(choose(tricky.children.at(3))) << "the report";
    ASSERT_TRUE(comesTrue([&] { return std::ranges::count(opened(), '|') == 4; }));
    auto addresses = opened();
    EXPECT_TRUE(addresses.contains("https://www.orbisto.example/app/mac/-9223372036854775808|")) << addresses;
    EXPECT_TRUE(addresses.contains("/content/submit/-9223372036854775808|")) << addresses;
    EXPECT_TRUE(addresses.contains((folder.path / "system/Applications").string() + "|")) << addresses;
    EXPECT_TRUE(addresses.contains("mailto:support@")) << addresses;
    EXPECT_FALSE(std::filesystem::exists("x")) << "a shell has read a text from outside";
}

TEST_F(HostileWorldTest, iconsThatAreNoneLeaveTheGenericOneAndAProgramThatAnswers) {
    std::string bomb = pngOf(1024, {1, 2, 3, 4});
    // The width that the header promises; its checksum is the bomb's own fault.
    bomb.replace(16, 4, std::string("\x7F\xFF\xFF\xFF", 4));
    const std::string good = iconFile(iconChunk("ic11", pngOf(32, {250, 10, 20, 255})));
    const std::pair<const char*, std::string> contents[] = {
        {"bomb.app", iconFile(iconChunk("ic11", bomb))},
        {"cut.app", good.substr(0, good.size() / 2)},
        {"good.app", good},
        {"huge.app", good + std::string(9 * 1024 * 1024, ' ')}};
    std::vector<Entry> entries;
    for (const char* name : {"bomb.app", "cut.app", "fifo.app", "good.app", "huge.app", "link.app"}) {
        addBundle(name, std::string("com.example.") + name, name);
        entries.push_back({std::string("com.example.") + name, std::ssize(entries) + 1, "2.0"});
    }
    for (const auto& [name, content] : contents)
        std::ofstream(iconOf(name), std::ios::binary) << content;
    ASSERT_EQ(mkfifo(iconOf("fifo.app").c_str(), 0600), 0);
    std::filesystem::create_symlink("/dev/zero", iconOf("link.app"));
    startCatalogOf(entries);
    start();
    menuWith("New Versions Available (6)");
    const auto generic = std::to_string(MenuLayout::genericIcon().size()) + " bytes";
    const auto iconIn = [](const ShownItem& root, const char* name) {
        return root.named(name + std::string(" (1.0 → 2.0)")).properties.at("icon-data");
    };
    ASSERT_TRUE(comesTrue([&] { return iconIn(panel->menu(item).root, "good.app") != generic; }));
    EXPECT_TRUE(comesTrue([&] {
        const auto id = std::to_string(program->id());
        return TemporaryFolder::contentOf("/proc/" + id + "/task/" + id + "/children").empty();
    })) << "a decoder stays though nothing is to decode";
    const auto root = panel->menu(item).root;
    for (const char* none : {"bomb.app", "cut.app", "fifo.app", "huge.app", "link.app"})
        EXPECT_EQ(iconIn(root, none), generic) << none;
    ASSERT_TRUE(choose(root.named("good.app (1.0 → 2.0)").named("Ignore This Version")));
    menuWith("New Versions Available (5)");
}

TEST_F(HostileWorldTest, thousandsOfBundlesOfOneIdentifierLeaveAMenuThatCanBeUsed) {
    for (int number = 0; number < 2'000; ++number)
        addBundle("Copy " + std::to_string(number) + ".app", "com.example.copy", "Copy");
    startCatalogOf({{"com.example.copy", 1, "2.0"}});
    start();
    const auto menu = menuWith("New Versions Available (2000)");
    const auto& updates = menu.root.named("New Versions Available (2000)").children;
    ASSERT_EQ(updates.size(), 1'001U);
    EXPECT_EQ(updates.back().properties.at("label"), "… and 1000 more");
    ASSERT_TRUE(choose(updates.front().named("Ignore This Version")));
    menuWith("No Updates Available");
}

}  // namespace
}  // namespace quorvel
