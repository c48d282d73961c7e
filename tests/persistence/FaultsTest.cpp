#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <utility>

#include "persistence/ErrorLogger.h"
#include "persistence/SettingsStore.h"
#include "support/ForkedChild.h"
#include "support/TemporaryFolder.h"

namespace quorvel {
namespace {

namespace fs = std::filesystem;

/// A settings file and a log in a folder where something goes wrong.
class FaultsTest : public testing::Test {
protected:
    /// Both files, which are all that the folder holds: no temporary file stays.
    std::string files() const {
        EXPECT_EQ(std::distance(fs::directory_iterator(manager.appSupportURL), {}), 2);
        return folder.read("storage/settings.json") + folder.read("storage/error.log");
    }
    void write(bool value, const std::string& entry) const {
        settings.save({.openAtLogin = value, .colorIcon = value});
        log.appendRaw(entry);
    }

    TemporaryFolder folder;
    PersistenceManager manager = PersistenceManager::at(folder.path / "storage");
    SettingsStore settings{manager};
    ErrorLogger log{manager};
};

TEST_F(FaultsTest, aFullDiskCostsNothingButTheNewContent) {
    write(false, "old");
    const auto old = files();
    runInChild([&] {
        // Like a disk with little room, this takes the first bytes of a file and refuses the next.
        signal(SIGXFSZ, SIG_IGN);
        rlimit limit{};
        getrlimit(RLIMIT_FSIZE, &limit);
        const auto before = std::exchange(limit.rlim_cur, 20);
        setrlimit(RLIMIT_FSIZE, &limit);
        write(true, "an entry of more than twenty bytes");
        limit.rlim_cur = before;
        setrlimit(RLIMIT_FSIZE, &limit);
    });
    EXPECT_EQ(files(), old);
    write(true, "new");
    EXPECT_EQ(files(), R"({"openAtLogin":true,"colorIcon":true}old)"
                       "\nnew\n");
}

}  // namespace
}  // namespace quorvel
