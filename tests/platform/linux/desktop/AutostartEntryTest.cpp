#include <gtest/gtest.h>

#include "platform/linux/desktop/AutostartEntry.h"
#include "support/ForkedChild.h"
#include "support/TemporaryFolder.h"

namespace quorvel {
namespace {

class AutostartEntryTest : public testing::Test {
protected:
    AutostartEntry entryFor(std::vector<std::string> command) const {
        return {folder.path / "autostart", std::move(command)};
    }

    TemporaryFolder folder;
    const std::filesystem::path file = "autostart/com.ob.quorvel.desktop";
};

TEST_F(AutostartEntryTest, namesTheProgramAsDesktopEntriesQuoteIt) {
    const std::vector<std::pair<std::string, std::string>> rows{
        {"/usr/bin/quorvel", R"("/usr/bin/quorvel")"},
        {"/opt/My Apps/quorvel", R"("/opt/My Apps/quorvel")"},
        {"/a\"b$c`d", R"("/a\\"b\\$c\\`d")"},
        {"/100%/x", R"("/100%%/x")"},
        {R"(/a\b)", R"("/a\\\\b")"},
        {"/a\nb", R"("/a\nb")"},
    };
    for (const auto& [program, expected] : rows) {
        EXPECT_TRUE(entryFor({program, "--data-dir", "/a b"}).registerItem());
        EXPECT_EQ(folder.read(file),
                  "[Desktop Entry]\nType=Application\nName=Quorvel\n"
                  "Comment=Tells which installed applications have newer versions\n"
                  "Icon=com.ob.quorvel\nTerminal=false\nExec=" +
                      expected + " \"--data-dir\" \"/a b\"\n");
    }
}

/// By the XDG base directory rules.
TEST_F(AutostartEntryTest, liesWhereDesktopsLookForIt) {
    const auto report = runInChild([] {
        setenv("HOME", "/home/somebody", 1);
        for (const auto& [chosen, expected] :
             {std::pair{"/chosen", "/chosen/autostart"}, {"relative", "/home/somebody/.config/autostart"}}) {
            setenv("XDG_CONFIG_HOME", chosen, 1);
            EXPECT_EQ(AutostartEntry::standardFolder(), expected);
        }
    });
    EXPECT_EQ(report.failure, "");
}

TEST_F(AutostartEntryTest, leavesAnEntryAloneThatTheDesktopHasSwitchedOff) {
    for (const std::string line : {"Hidden=true", "X-GNOME-Autostart-enabled=false"}) {
        const std::string off = "[Desktop Entry]\nExec=other\n" + line + "\n";
        folder.write(file, off);
        EXPECT_FALSE(entryFor({"/usr/bin/quorvel"}).registerItem()) << line;
        EXPECT_EQ(folder.read(file), off);
    }
}

TEST_F(AutostartEntryTest, goesAwayWhenItIsUnregisteredHoweverOften) {
    auto entry = entryFor({"/usr/bin/quorvel"});
    entry.registerItem();
    EXPECT_TRUE(entry.unregisterItem());
    EXPECT_TRUE(entry.unregisterItem());
    EXPECT_FALSE(std::filesystem::exists(folder.path / file));
    EXPECT_TRUE(entry.registerItem()) << "what the user switched off here may be switched on again";
}

}  // namespace
}  // namespace quorvel
