#include <gtest/gtest.h>
#include <map>
#include <regex>
#include <sys/stat.h>

#include "persistence/ErrorLogger.h"
#include "persistence/FirstRunStore.h"
#include "persistence/IgnoredVersionsStore.h"
#include "persistence/InstanceStore.h"
#include "persistence/PersistenceManager.h"
#include "persistence/SettingsStore.h"
#include "platform/Files.h"
#include "support/ForkedChild.h"
#include "support/TemporaryFolder.h"

namespace quorvel {
namespace {

class StoresTest : public testing::Test {
protected:
    ~StoresTest() override {
        for (const auto& entry : std::filesystem::directory_iterator(folder.path)) {
            EXPECT_NE(entry.path().extension(), ".tmp") << "a temporary file stayed: " << entry.path();
        }
    }

    mode_t modeOf(const std::filesystem::path& path) const {
        struct stat status{};
        return stat(path.c_str(), &status) == 0 ? status.st_mode & 0777 : 0;
    }

    TemporaryFolder folder;
    PersistenceManager persistence = PersistenceManager::at(folder.path);
};

TEST_F(StoresTest, makesItsFolderForTheOwnerAloneAndADifferentOneForEachBase) {
    const auto chosen = PersistenceManager::at(folder.path / "new/deep");
    EXPECT_EQ(modeOf(chosen.appSupportURL), 0700U);
    // The parent of a path that ends in a slash is the folder itself, there by the time its child is made.
    EXPECT_TRUE(files::makeFolder(folder.path / "slash/ed/"));

    const PersistenceManager first(folder.path), second(folder.path);
    EXPECT_NE(first.appSupportURL, second.appSupportURL);
    const std::regex name("quorvel-[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}");
    EXPECT_TRUE(std::regex_match(first.appSupportURL.filename().string(), name)) << first.appSupportURL;
    EXPECT_TRUE(std::filesystem::is_directory(first.appSupportURL));
}

TEST_F(StoresTest, storesATextThatIsNoTextWithWhatIsWrongReplaced) {
    const IgnoredVersionsStore store(persistence);
    store.ignore("1.0", "Editor", "com.example.\x80");
    store.ignore("2\xff.0", "Edi\xfftor", "com.example.\x80");
    EXPECT_EQ(store.load(), (IgnoredVersions{{"com.example.\uFFFD", {"Edi\uFFFDtor", "2\uFFFD.0"}}}));
}

TEST_F(StoresTest, writesTheFilesThatReadersExpectForTheOwnerAlone) {
    SettingsStore(persistence).save({.openAtLogin = true, .colorIcon = false});
    InstanceStore(persistence).save(48213);
    const IgnoredVersionsStore ignored(persistence);
    ignored.ignore("2.0", "Editor", "com.example.editor");
    ignored.ignore("2.1", "Editor", "com.example.editor");
    folder.write("isFirstRun.txt", "something");
    FirstRunStore(persistence).markFirstRun();

    const std::map<std::string, std::string> expected{
        {"settings.json", R"({"openAtLogin":true,"colorIcon":false})"},
        {"instance_id.json", R"({"id":48213})"},
        {"ignored_versions.json", R"({"com.example.editor":{"appName":"Editor","version":"2.1"}})"},
        {"isFirstRun.txt", ""},
    };
    for (const auto& [name, content] : expected) {
        EXPECT_EQ(folder.read(name), content) << name;
        EXPECT_EQ(modeOf(folder.path / name), 0600U) << name;
    }
    ignored.removeAll();
    EXPECT_EQ(folder.read("ignored_versions.json"), "{}");
}

TEST_F(StoresTest, readsSettingsOnlyWhenBothMembersAreBooleans) {
    const Settings both{.openAtLogin = true, .colorIcon = true};
    const std::vector<std::pair<std::string, Settings>> rows{
        {R"({"colorIcon":true,"openAtLogin":true})", both},
        {R"( {"openAtLogin":true,"colorIcon":true,"later":[1,{}]} )", both},
        {R"({"openAtLogin":true})", {}},
        {R"({"openAtLogin":true,"colorIcon":1})", {}},
        {R"({"openAtLogin":true,"colorIcon":null})", {}},
        {R"([true,true])", {}},
        {"", {}},
        {"\xff\xfe", {}},
        {std::string(100'000, '['), {}},
    };
    for (const auto& [content, expected] : rows) {
        folder.write("settings.json", content);
        EXPECT_EQ(SettingsStore(persistence).load(), expected) << content.substr(0, 80);
        EXPECT_EQ(folder.read("settings.json"), content) << "reading must leave a damaged file alone";
    }
}

TEST_F(StoresTest, readsAnInstanceIdOnlyFromAnObjectWithAnInteger) {
    const std::vector<std::pair<std::string, std::optional<std::int64_t>>> rows{
        {R"({"id":7,"other":"x"})", 7},
        {R"({"id":7.0})", 7},
        {R"({"id":-9223372036854775808})", std::numeric_limits<std::int64_t>::min()},
        {R"({"id":9223372036854775807})", std::numeric_limits<std::int64_t>::max()},
        {R"({"id":9223372036854775808})", std::nullopt},
        {R"({"id":1e300})", std::nullopt},
        {R"({"id":7.5})", std::nullopt},
        {R"({"id":"42"})", std::nullopt},
        {R"({"id":true})", std::nullopt},
        {R"([42])", std::nullopt},
        {"", std::nullopt},
    };
    for (const auto& [content, expected] : rows) {
        folder.write("instance_id.json", content);
        EXPECT_EQ(InstanceStore(persistence).load(), expected) << content;
    }
}

TEST_F(StoresTest, readsIgnoredVersionsAsAWholeOrNotAtAll) {
    const std::string good = R"("com.example.a":{"version":"2.0","appName":"A"})";
    const std::vector<std::pair<std::string, std::size_t>> rows{
        {"{" + good + "}", 1},
        {"{" + good + R"(,"":{"appName":"B","version":"1","more":0}})", 2},
        {"{" + good + R"(,"b":{"version":"1"}})", 0},
        {"{" + good + R"(,"b":{"appName":"B","version":1}})", 0},
        {"{" + good + R"(,"b":"1"})", 0},
        {"[]", 0},
    };
    for (const auto& [content, expected] : rows) {
        folder.write("ignored_versions.json", content);
        EXPECT_EQ(IgnoredVersionsStore(persistence).load().size(), expected) << content;
    }
}

TEST_F(StoresTest, everyPrefixOfAStoredFileReadsAsNothingOrAsTheWhole) {
    SettingsStore(persistence).save({true, true});
    InstanceStore(persistence).save(123);
    IgnoredVersionsStore(persistence).ignore("2 \"\n", "Ä", "com.example.a");
    for (const std::string name : {"settings.json", "instance_id.json", "ignored_versions.json"}) {
        const std::string whole = folder.read(name);
        for (std::size_t length = 0; length < whole.size(); ++length) {
            folder.write(name, whole.substr(0, length));
            EXPECT_EQ(SettingsStore(persistence).load() == Settings{}, name == "settings.json") << length;
            EXPECT_EQ(InstanceStore(persistence).load().has_value(), name != "instance_id.json") << length;
            EXPECT_EQ(IgnoredVersionsStore(persistence).load().empty(), name == "ignored_versions.json")
                << length;
        }
        folder.write(name, whole);
    }
}

TEST_F(StoresTest, followsNoSymbolicLinkWhenItWrites) {
    const auto victim = folder.write("elsewhere/victim", "precious");
    std::filesystem::create_symlink(victim, folder.path / "settings.json");
    SettingsStore(persistence).save({.openAtLogin = true, .colorIcon = false});
    EXPECT_EQ(folder.read("elsewhere/victim"), "precious");
    EXPECT_TRUE(SettingsStore(persistence).load().openAtLogin);
    EXPECT_FALSE(std::filesystem::is_symlink(folder.path / "settings.json"));
}

TEST_F(StoresTest, keepsQuietWhenItsFolderIsMissingOrIsAFile) {
    for (const auto& place : {folder.path / "gone", folder.write("file", "x")}) {
        const auto nowhere = PersistenceManager::at(place);
        std::filesystem::remove(folder.path / "gone");
        SettingsStore(nowhere).save({true, true});
        IgnoredVersionsStore(nowhere).ignore("1", "A", "a");
        FirstRunStore(nowhere).markFirstRun();
        EXPECT_EQ(SettingsStore(nowhere).load(), Settings{}) << place;
    }
    EXPECT_EQ(folder.read("file"), "x");
}

}  // namespace
}  // namespace quorvel
