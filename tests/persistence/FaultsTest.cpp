#include <fcntl.h>
#include <gtest/gtest.h>
#include <map>
#include <sys/resource.h>
#include <sys/stat.h>

#include "persistence/Storage.h"
#include "support/ForkedChild.h"
#include "support/MemoryFileSystem.h"
#include "support/TemporaryFolder.h"

namespace quorvel {
namespace {

namespace fs = std::filesystem;

constexpr uid_t nobody = 65534;

using Files = std::map<std::string, std::string>;

/// Everything in the folder, temporary files too; of a long content its beginning, length and hash.
Files filesIn(const fs::path& folder) {
    Files files;
    for (const auto& entry : fs::directory_iterator(folder)) {
        std::string content = TemporaryFolder::contentOf(entry.path());
        const auto size = content.size();
        if (size > 100) {
            const auto hash = std::hash<std::string>{}(content);
            content =
                content.substr(0, 60) + "... " + std::to_string(size) + " bytes, " + std::to_string(hash);
        }
        files[entry.path().filename()] = std::move(content);
    }
    return files;
}

/// What the folder holds after these writes when nothing goes wrong.
Files filesAfter(std::initializer_list<int> numbers) {
    const TemporaryFolder folder;
    const Storage storage(folder.path);
    for (const int number : numbers)
        storage.write(number);
    return filesIn(folder.path);
}

void chmodAll(const fs::path& folder, mode_t folderMode, mode_t fileMode) {
    chmod(folder.c_str(), S_IRWXU);
    for (const auto& entry : fs::directory_iterator(folder))
        chmod(entry.path().c_str(), fileMode);
    chmod(folder.c_str(), folderMode);
}

/// Permissions do not bind root; the child goes on as an ordinary user who owns the folder.
void becomeOrdinaryUser(const fs::path& folder) {
    if (geteuid() != 0) return;
    if (chown(folder.c_str(), nobody, nobody) != 0 || setresgid(nobody, nobody, nobody) != 0 ||
        setresuid(nobody, nobody, nobody) != 0) {
        GTEST_SKIP() << "cannot become another user";
    }
    if (access(folder.c_str(), R_OK | W_OK | X_OK) != 0)
        GTEST_SKIP() << "another user cannot reach " << folder;
}

class FaultsTest : public testing::Test {
protected:
    void SetUp() override { fs::create_directory(path); }

    using Step = std::function<void()>;

    /// Runs in a child: write 1 succeeds, `strike` breaks something, write 2 must change nothing and leave
    /// nothing, and after `mend` write 3 is as good as ever.
    void expectWritesChangeNothing(const Step& prepare, const Step& strike, const Step& mend) {
        runAsChild([&] {
            prepare();
            if (testing::Test::IsSkipped()) return;
            const Storage storage(path);
            storage.write(1);
            strike();
            storage.write(2);
            mend();
            EXPECT_EQ(filesIn(path), filesAfter({1}));
            storage.write(3);
            EXPECT_EQ(filesIn(path), filesAfter({1, 3}));
        });
    }

    void runAsChild(const Step& body) {
        const auto report = runInChild(body);
        if (!report.skipped.empty()) GTEST_SKIP() << report.skipped;
        EXPECT_EQ(report.failure, "");
    }

    TemporaryFolder folder;
    const fs::path path = folder.path / "storage";
};

/// Takes every byte that is left, as one file outside the folder's own names.
void fillUp(const fs::path& filler) {
    const int file = open(filler.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    const std::string page(4096, 'x');
    while (::write(file, page.data(), page.size()) > 0) {
    }
    EXPECT_EQ(errno, ENOSPC);
    close(file);
}

TEST_F(FaultsTest, aFullDiskCostsNothingButTheNewContent) {
    const fs::path filler = path.parent_path() / "filler";
    expectWritesChangeNothing(
        [&] {
            mountMemory(folder.path, "size=256k");
            fs::create_directory(path);
        },
        [&] { fillUp(filler); }, [&] { fs::remove(filler); });
}

TEST_F(FaultsTest, aReadOnlyFolderKeepsWhatItHolds) {
    chmod(folder.path.c_str(), 0755);
    expectWritesChangeNothing([&] { becomeOrdinaryUser(path); }, [&] { chmodAll(path, 0500, 0400); },
                              [&] { chmodAll(path, 0700, 0600); });
}

/// From no descriptor to enough of them, so that each open in turn is the one that fails. With some limits
/// the log can be appended to but not replaced.
TEST_F(FaultsTest, aWriteThatRunsOutOfDescriptorsOnItsWayIsDoneOrNotDone) {
    runAsChild([&] {
        const Storage storage(path);
        rlimit usual{};
        getrlimit(RLIMIT_NOFILE, &usual);
        const int firstFree = open("/", O_RDONLY | O_CLOEXEC);
        close(firstFree);
        const auto without = filesAfter({1}), with = filesAfter({1, 2});
        int writesDone = 0;
        for (rlim_t more = 0; more <= 4; ++more) {
            storage.write(1);
            const rlimit tight{static_cast<rlim_t>(firstFree) + more, usual.rlim_max};
            setrlimit(RLIMIT_NOFILE, &tight);
            storage.writeStores(2);
            storage.log.resetWithEntry("2");
            setrlimit(RLIMIT_NOFILE, &usual);
            for (const auto& [name, content] : filesIn(path)) {
                const auto& expected = with.contains(name) ? with.at(name) : "no such file";
                const bool isNew = content == expected || content == "[1970-01-01T00:00:00Z] 2\n";
                EXPECT_TRUE(isNew || (without.contains(name) && content == without.at(name)))
                    << name << " with " << more << " descriptors: " << content;
                if (isNew && name == "settings.json") ++writesDone;
            }
        }
        EXPECT_EQ(writesDone, 3) << "a write needs the folder and the file at once";
    });
}

TEST_F(FaultsTest, aFileThatItsOwnerMayNotReadIsAsGoodAsNone) {
    chmod(folder.path.c_str(), 0755);
    runAsChild([&] {
        becomeOrdinaryUser(path);
        if (testing::Test::IsSkipped()) return;
        const Storage storage(path);
        storage.write(1);
        const auto before = filesIn(path);
        chmodAll(path, 0700, 0000);
        EXPECT_TRUE(storage.readsAsFresh());
        chmodAll(path, 0700, 0600);
        EXPECT_EQ(filesIn(path), before) << "reading must leave the file alone";

        chmodAll(path, 0700, 0000);
        storage.log.appendRaw("alone");
        EXPECT_EQ(filesIn(path)["error.log"], "alone\n");
    });
}

TEST_F(FaultsTest, aFolderThatIsRemovedUnderItsStoresIsMissedByNobody) {
    const Storage storage(path);
    fs::remove_all(path);
    storage.write(2);
    EXPECT_TRUE(storage.readsAsFresh());
    EXPECT_FALSE(fs::exists(path)) << "only the manager makes the folder";
}

}  // namespace
}  // namespace quorvel
