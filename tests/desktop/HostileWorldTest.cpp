#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <limits>
#include <nlohmann/json.hpp>

#include "desktop/DesktopProgramFixture.h"
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
        words[1] = (folder.path / "system").string();
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
                         "<key>CFBundleShortVersionString</key><string>1.0</string></dict></plist>");
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
