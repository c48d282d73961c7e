#include <chrono>
#include <functional>
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
#include "support/TemporaryFolder.h"

namespace quorvel {
namespace {

class StoresTest : public testing::Test {
protected:
    mode_t modeOf(const std::filesystem::path& path) const {
        struct stat status{};
        return stat(path.c_str(), &status) == 0 ? status.st_mode & 0777 : 0;
    }

    TemporaryFolder folder;
    PersistenceManager persistence = PersistenceManager::at(folder.path);
};

TEST_F(StoresTest, makesItsFolderForTheOwnerAloneAndADifferentOneForEachBase) {
    const auto chosen = PersistenceManager::at(folder.path / "new/deep/");
    EXPECT_EQ(modeOf(chosen.appSupportURL), 0700U);
    const PersistenceManager first(folder.path), second(folder.path);
    EXPECT_NE(first.appSupportURL, second.appSupportURL);
    const std::regex name("quorvel-[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}");
    EXPECT_TRUE(std::regex_match(first.appSupportURL.filename().string(), name)) << first.appSupportURL;
    EXPECT_TRUE(std::filesystem::is_directory(first.appSupportURL));
    EXPECT_EQ(PersistenceManager::shared(folder.path).appSupportURL, folder.path / "quorvel");
}

TEST_F(StoresTest, writesTheFilesThatReadersExpectForTheOwnerAlone) {
    const auto victim = folder.write("elsewhere/victim", "precious");
    std::filesystem::create_symlink(victim, folder.path / "settings.json");
    folder.write("isFirstRun.txt", "something");
    // What writers left that were killed; only a minute's age tells it from what another one is writing.
    const auto young = folder.write(".settings.json.abcdef", "");
    const auto abandoned = folder.write(".settings.json.ABCDEF", "half");
    last_write_time(abandoned, last_write_time(abandoned) - std::chrono::seconds(61));

    SettingsStore(persistence).save({.openAtLogin = true, .colorIcon = false});
    InstanceStore(persistence).save(48213);
    const IgnoredVersionsStore ignored(persistence);
    ignored.ignore("2.0", "Editor", "com.example.\x80");
    ignored.ignore("2\xff.1", "Edi\xfftor", "com.example.\x80");
    FirstRunStore(persistence).markFirstRun();

    std::map<std::string, std::string> files;
    for (const auto& entry : std::filesystem::directory_iterator(folder.path)) {
        if (entry.path() == young || entry.is_directory()) continue;
        files[entry.path().filename()] = TemporaryFolder::contentOf(entry.path());
        EXPECT_EQ(modeOf(entry.path()), 0600U) << entry.path();
    }
    const std::map<std::string, std::string> expected{
        {"settings.json", R"({"openAtLogin":true,"colorIcon":false})"},
        {"instance_id.json", R"({"id":48213})"},
        {"ignored_versions.json",
         "{\"com.example.\uFFFD\":{\"appName\":\"Edi\uFFFDtor\",\"version\":\"2\uFFFD.1\"}}"},
        {"isFirstRun.txt", ""},
    };
    EXPECT_EQ(files, expected);
    EXPECT_TRUE(std::filesystem::exists(young));
    EXPECT_EQ(TemporaryFolder::contentOf(victim), "precious") << "a link is replaced, not followed";
    ignored.removeAll();
    EXPECT_EQ(folder.read("ignored_versions.json"), "{}");
}

TEST_F(StoresTest, readsWhatIsWellFormedAndNothingElse) {
    const auto settings = [this] {
        const auto [openAtLogin, colorIcon] = SettingsStore(persistence).load();
        return std::to_string(openAtLogin) + std::to_string(colorIcon);
    };
    const auto instance = [this] {
        const auto id = InstanceStore(persistence).load();
        return id ? std::to_string(*id) : "none";
    };
    const auto ignored = [this] {
        std::string text;
        for (const auto& [bundleID, entry] : IgnoredVersionsStore(persistence).load())
            text += bundleID + "=" + entry.appName + " " + entry.version + ";";
        return text;
    };
    const std::string good = R"({"a":{"version":"2","appName":"A"},)";
    const struct {
        const char* file;
        std::function<std::string()> load;
        std::vector<std::pair<std::string, std::string>> rows;
    } stores[] = {
        {"settings.json",
         settings,
         {{R"( {"colorIcon":true,"openAtLogin":true,"later":[1,{}]} )", "11"},
          {R"({"openAtLogin":true})", "00"},
          {R"({"colorIcon":true})", "00"},
          {R"({"openAtLogin":true,"colorIcon":1})", "00"},
          {R"({"openAtLogin":1,"colorIcon":true})", "00"},
          {"[true,true]", "00"},
          {"\xff\xfe", "00"},
          {R"({"openAtLogin":true,"colorIcon":true)", "00"}}},
        {"instance_id.json",
         instance,
         {{R"({"id":-7.0,"other":"x"})", "-7"},
          {R"({"id":"42"})", "none"},
          {R"({"ID":42})", "none"},
          {"[42]", "none"},
          {"", "none"}}},
        {"ignored_versions.json",
         ignored,
         {{good + R"("":{"appName":"B","version":"1","more":0}})", "=B 1;a=A 2;"},
          {good + R"("b":{"version":"1"}})", ""},
          {good + R"("b":{"appName":"B","version":1}})", ""},
          {good + R"("b":"1"})", ""},
          {"[]", ""}}},
    };
    for (const auto& [file, load, rows] : stores) {
        for (const auto& [content, expected] : rows) {
            folder.write(file, content);
            EXPECT_EQ(load(), expected) << content;
            EXPECT_EQ(folder.read(file), content) << "reading must leave a damaged file alone";
        }
    }
}

}  // namespace
}  // namespace quorvel
