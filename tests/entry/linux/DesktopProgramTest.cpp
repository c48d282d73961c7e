#include <algorithm>
#include <gtest/gtest.h>
#include <limits>
#include <nlohmann/json.hpp>
#include <sys/stat.h>

#include "entry/linux/DesktopProgramFixture.h"
#include "platform/linux/network/NetworkNamespace.h"
#include "platform/linux/statusitem/MenuLayout.h"
#include "support/IconSamples.h"
#include "support/PrivateBus.h"

namespace quorvel {
namespace {

/// On a session bus of its own, with a panel that the test plays.
class DesktopProgramTest : public DesktopProgramFixture {
protected:
    void SetUp() override {
        if (!daemon.reasonToSkip().empty()) GTEST_SKIP() << daemon.reasonToSkip();
        watchSession();
        panel->come();
    }

    bool hasOwnIcon(const ShownItem& update) const {
        return update.properties.at("icon-data") !=
               std::to_string(MenuLayout::genericIcon().size()) + " bytes";
    }

    PrivateBus daemon;
};

TEST_F(DesktopProgramTest, fillsTheMenuAtItsFirstLaunchAndKeepsWhatIsChosenThere) {
    startCatalog();
    start();
    const auto menu = menuWith(found);
    const auto& updates = menu.root.named(found).children;
    ASSERT_EQ(updates.size(), 15U);
    EXPECT_EQ(updates.front().properties.at("label"), "Amberleaf (3.1.0 → 3.2.1)");
    EXPECT_TRUE(
        comesTrue([&] { return hasOwnIcon(panel->menu(item).root.named("Cobblestone (1.8 → 1.9)")); }));
    EXPECT_FALSE(hasOwnIcon(panel->menu(item).root.named("Driftmark (418 → 431)"))) << "it has none";
    // Those after the first may overtake each other on their way.
    ASSERT_TRUE(comesTrue([&] { return recordedMessages().size() >= 5; }));
    auto messages = recordedMessages();
    std::sort(messages.begin() + 1, messages.end());
    EXPECT_EQ(messages,
              (Words{"/v1/qvl/instance", "/v1/apps/auto-match-collection", "/v1/event/app/64734/install",
                     "first_install", "instance_running trigger=launch apps=35 updates=15"}));
    EXPECT_TRUE(log().contains("] Launch check completed in "));

    choose(updates.front().named("Ignore This Version"));
    menuWith("New Versions Available (14)");
    choose("Open at Login");
    const auto opensAtLogin = [](const ShownItem& root) {
        return root.named("Open at Login").properties.at("toggle-state") == "1";
    };
    menuWhere(opensAtLogin);
    const auto autostart = folder.read("autostart/com.ob.quorvel.desktop");
    EXPECT_TRUE(autostart.ends_with("\nExec=\"" PROGRAM_FOLDER "/quorvel\" \"--system-root\" \"" SOURCE_ROOT
                                    "/demo/system\" \"--catalog\" \"" +
                                    url + "\" \"--data-dir\" \"" + (folder.path / "storage").string() +
                                    "\"\n"))
        << autostart;
    choose("Quit");
    EXPECT_EQ(program->finish().status, 0);

    start();
    EXPECT_TRUE(opensAtLogin(menuWith("New Versions Available (14)").root));
    EXPECT_EQ(panel->registrations.size(), 2U);
}

/// In a network of its own, in which a pair of cables is the way out.
class OfflineProgramTest : public DesktopProgramTest {
protected:
    void SetUp() override {
        if (!network.reasonToSkip().empty()) GTEST_SKIP() << network.reasonToSkip();
        NetworkNamespace::ip("link set lo up\nlink add way type veth peer name out\n");
        DesktopProgramTest::SetUp();
    }

    NetworkNamespace network;
};

TEST_F(OfflineProgramTest, saysThatThereIsNoNetworkAndChecksWhenItComes) {
    startCatalog();
    // An address that leads to this machine too, but does not say so.
    url.replace(url.find("127.0.0.1"), std::string("127.0.0.1").size(), "0.0.0.0");
    start();
    EXPECT_TRUE(menuWith("No internet connection.").root.has("Last check failed"));
    EXPECT_TRUE(recordedMessages().empty());
    NetworkNamespace::ip(
        "link set way up\nlink set out up\naddress replace 192.0.2.1/24 dev way\n"
        "route add default via 192.0.2.2\n");
    EXPECT_FALSE(menuWith(found).root.has("Last check failed"));
    EXPECT_FALSE(log().contains("No internet connection.")) << "the retry starts the log afresh";
}

/// Between bundles and a catalog that somebody has prepared.
class HostileWorldTest : public DesktopProgramTest {
protected:
    Words command() const override {
        auto words = DesktopProgramTest::command();
        std::ranges::find(words, "--system-root")[1] = folder.path / "system";
        return words;
    }

    /// A bundle that the catalog has in version 2.0; the folder that its icon is in.
    std::filesystem::path addBundle(const std::string& fileName, const std::string& name, std::int64_t id) {
        const auto text = [](const std::string& value) {
            return "<string><![CDATA[" + value + "]]></string>";
        };
        const auto identifier = "com.example." + std::to_string(entries.size());
        const auto info =
            folder.write("system/Applications/" + fileName + "/Contents/Info.plist",
                         "<plist><dict><key>CFBundleIdentifier</key>" + text(identifier) +
                             "<key>CFBundleName</key>" + text(name) +
                             "<key>CFBundleShortVersionString</key><string>1.0</string>"
                             "<key>CFBundleIconFile</key><string>Icon.icns</string></dict></plist>");
        entries.push_back({{"id", id},
                           {"title", std::string(100'000, 't')},
                           {"version", "2.0\u001B]0;owned\u0007\u202E"},
                           {"bundle_identifiers", {identifier}}});
        const auto resources = info.parent_path() / "Resources";
        std::filesystem::create_directory(resources);
        return resources;
    }

    nlohmann::json entries;
};

/// All labels of a menu, of its items and of those below.
void collectLabels(const ShownItem& item, std::vector<std::string>& labels) {
    if (item.properties.contains("label")) labels.push_back(item.properties.at("label"));
    for (const auto& child : item.children)
        collectLabels(child, labels);
}

TEST_F(HostileWorldTest, isShownAsTextAndObeyedByNobody) {
    const std::string icon = iconFile(iconChunk("ic11", pngOf(32, {250, 10, 20, 255})));
    const auto first = addBundle("a\n$(touch x);`id`.app", "<b>&bold_x</b> $(touch x) %s%n",
                                 std::numeric_limits<std::int64_t>::min());
    ASSERT_EQ(mkfifo((first / "Icon.icns").c_str(), 0600), 0);
    std::ofstream(addBundle("-rf.app", "\u202Egpj.exe\u2066\u2069", 1) / "Icon.icns") << icon;
    std::ofstream(addBundle("c.app", std::string(60'000, 'W'), 2) / "Icon.icns")
        << icon.substr(0, icon.size() / 2);
    std::filesystem::create_symlink("/dev/zero", addBundle("d.app", "line\none\ttwo", 3) / "Icon.icns");
    const auto data = folder.write("hostile.json", nlohmann::json{{"entries", entries}}.dump());
    startCatalog({"--data", data.string()});
    const auto opener = folder.write("bin/xdg-open", "#!/bin/sh\nprintf '%s|' \"$@\" >>\"$HOME/opened\"\n");
    std::filesystem::permissions(opener, std::filesystem::perms::owner_all);
    environment.emplace_back("PATH", opener.parent_path().string() + ":/usr/bin:/bin");
    start();

    const char* const all = "New Versions Available (4)";
    menuWith(all);
    ASSERT_TRUE(comesTrue([&] {
        const auto menu = panel->menu(item);
        return std::ranges::count_if(menu.root.named(all).children,
                                     [&](const auto& update) { return hasOwnIcon(update); }) == 1;
    }));
    const auto menu = panel->menu(item);
    std::vector<std::string> labels;
    collectLabels(menu.root, labels);
    for (const auto& label : labels) {
        EXPECT_LE(label.size(), 2'000U);
        EXPECT_FALSE(label.contains("\u202E")) << label;
        EXPECT_TRUE(std::ranges::none_of(label, [](unsigned char byte) {
            return byte < 0x20 && byte != '\n';
        })) << label;
    }
    // Markup is text, and an underscore is doubled, which a menu shows as one.
    const auto& tricky = menu.root.named(all).children.front();
    EXPECT_TRUE(tricky.properties.at("label").starts_with("<b>&bold__x</b> $(touch x) %s%n\n1.0 → 2.0"))
        << tricky.properties.at("label");
    choose(tricky.named("Open App Page"));
    EXPECT_TRUE(comesTrue([&] {
        return folder.read("opened") == "https://www.orbisto.example/app/mac/-9223372036854775808|";
    })) << folder.read("opened");
    EXPECT_FALSE(exists(folder.path / "x")) << "a shell has read a text from outside";
}

}  // namespace
}  // namespace quorvel
