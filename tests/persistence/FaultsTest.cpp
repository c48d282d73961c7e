#include <fcntl.h>
#include <gtest/gtest.h>
#include <map>
#include <sys/resource.h>

#include "persistence/Storage.h"
#include "support/ForkedChild.h"
#include "support/MemoryFileSystem.h"
#include "support/TemporaryFolder.h"

namespace quorvel {
namespace {

namespace fs = std::filesystem;

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

class FaultsTest : public testing::Test {
protected:
    void SetUp() override { fs::create_directory(path); }

    void runAsChild(const std::function<void()>& body) {
        if (!runInChild(body)) GTEST_SKIP();
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
    runAsChild([&] {
        mountMemory(folder.path, "size=256k");
        if (testing::Test::IsSkipped()) return;
        const Storage storage(path);
        storage.write(1);
        const fs::path filler = folder.path / "filler";
        fillUp(filler);
        storage.write(2);
        fs::remove(filler);
        EXPECT_EQ(filesIn(path), filesAfter({1}));
        storage.write(3);
        EXPECT_EQ(filesIn(path), filesAfter({1, 3}));
    });
}

/// From no descriptor to enough of them, so that each open in turn is the one that fails. With some limits
/// the log can be appended to but not replaced.
TEST_F(FaultsTest, aWriteThatRunsOutOfDescriptorsOnItsWayIsDoneOrNotDone) {
    runAsChild([&] {
        const Storage storage(path);
        rlimit usual{};
        getrlimit(RLIMIT_NOFILE, &usual);
        int firstFree = -1;
        for (int gap = 0; gap < 32; ++gap)  // below it, nothing is free
            firstFree = open("/", O_RDONLY | O_CLOEXEC);
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

TEST_F(FaultsTest, aFolderThatIsRemovedUnderItsStoresIsMissedByNobody) {
    const Storage storage(path);
    fs::remove_all(path);
    storage.write(2);
    EXPECT_TRUE(storage.readsAsFresh());
    EXPECT_FALSE(fs::exists(path)) << "only the manager makes the folder";
}

}  // namespace
}  // namespace quorvel
