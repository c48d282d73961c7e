#include <cerrno>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "persistence/ErrorLogger.h"
#include "persistence/SettingsStore.h"
#include "support/ForkedChild.h"
#include "support/MemoryFileSystem.h"
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
    const bool isRun = runInChild([&] {
        mountMemory(manager.appSupportURL, "size=64k");
        if (testing::Test::IsSkipped()) return;
        write(false, "old");
        const auto before = files();
        const auto filler = manager.appSupportURL / "filler";
        const int file = open(filler.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
        while (::write(file, std::string(4096, 'x').data(), 4096) > 0) {
        }
        EXPECT_EQ(errno, ENOSPC);
        // The log's page takes the beginning of an entry that is longer than a page.
        write(true, std::string(6000, 'n'));
        fs::remove(filler);
        close(file);
        EXPECT_EQ(files(), before);
        write(true, "new");
        EXPECT_EQ(files(), R"({"openAtLogin":true,"colorIcon":true}old)"
                           "\nnew\n");
    });
    if (!isRun) GTEST_SKIP();
}

TEST_F(FaultsTest, aFolderThatIsRemovedUnderItsStoresIsMissedByNobody) {
    fs::remove_all(manager.appSupportURL);
    write(true, "new");
    EXPECT_EQ(settings.load(), Settings{});
    EXPECT_FALSE(fs::exists(manager.appSupportURL)) << "only the manager makes the folder";
}

}  // namespace
}  // namespace quorvel
