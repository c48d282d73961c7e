#include <gtest/gtest.h>

#include "platform/linux/AutostartEntry.h"
#include "support/TemporaryFolder.h"

namespace quorvel {
namespace {

class AutostartEntryTest : public testing::Test {
protected:
    AutostartEntry entryFor(const std::string& program) const { return {folder.path / "autostart", program}; }

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
    };
    for (const auto& [program, expected] : rows) {
        EXPECT_TRUE(entryFor(program).registerItem());
        EXPECT_TRUE(folder.read(file).contains("\nExec=" + expected + "\n")) << folder.read(file);
    }
}

TEST_F(AutostartEntryTest, leavesAnEntryAloneThatTheDesktopHasSwitchedOff) {
    for (const std::string line : {"Hidden=true", "X-GNOME-Autostart-enabled=false"}) {
        const std::string off = "[Desktop Entry]\nExec=other\n" + line + "\n";
        folder.write(file, off);
        EXPECT_FALSE(entryFor("/usr/bin/quorvel").registerItem()) << line;
        EXPECT_EQ(folder.read(file), off);
    }
}

TEST_F(AutostartEntryTest, goesAwayWhenItIsUnregisteredHoweverOften) {
    const auto entry = std::make_unique<AutostartEntry>(folder.path / "autostart", "/usr/bin/quorvel");
    entry->registerItem();
    EXPECT_TRUE(entry->unregisterItem());
    EXPECT_TRUE(entry->unregisterItem());
    EXPECT_FALSE(std::filesystem::exists(folder.path / file));
    EXPECT_TRUE(entry->registerItem()) << "what the user switched off here may be switched on again";
}

}  // namespace
}  // namespace quorvel
