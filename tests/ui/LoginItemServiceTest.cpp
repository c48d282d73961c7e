#include <gtest/gtest.h>

#include "support/FakeDesktop.h"
#include "support/TemporaryFolder.h"
#include "ui/LoginItemService.h"

namespace quorvel {
namespace {

TEST(LoginItemService, savesTheChoiceAlsoWhenTheSystemRefusesIt) {
    const TemporaryFolder folder;
    const auto persistence = PersistenceManager::at(folder.path);
    const SettingsStore store(persistence);
    for (const bool succeeds : {true, false}) {
        FakeLoginItem loginItem;
        loginItem.succeeds = succeeds;
        const LoginItemService service(store, loginItem);
        folder.write("settings.json", "damaged");
        service.setEnabled(true);
        EXPECT_EQ(store.load(), (Settings{.openAtLogin = true, .colorIcon = false}));
        store.save({.openAtLogin = true, .colorIcon = true});
        service.setEnabled(false);
        EXPECT_EQ(store.load(), (Settings{.openAtLogin = false, .colorIcon = true}));
        EXPECT_EQ(loginItem.requests, (std::vector<std::string>{"register", "unregister"}));
    }
}

}  // namespace
}  // namespace quorvel
