#include <gtest/gtest.h>
#include <map>
#include <set>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

#include "persistence/ErrorLogger.h"
#include "platform/Files.h"
#include "support/ForkedChild.h"
#include "support/MemoryFileSystem.h"
#include "support/TemporaryFolder.h"

namespace quorvel {
namespace {

/// Two processes write as fast as they can and each write succeeds; whoever reads meanwhile finds one of the
/// two contents, whole, and in the log the whole lines of both.
TEST(TwoWriters, hinderNeitherEachOtherNorAReader) {
    constexpr int lines = 240;
    const TemporaryFolder folder;
    const auto persistence = PersistenceManager::at(folder.path);
    const auto contentOf = [](char writer) { return std::string(writer == 'a' ? 50U : 9'000U, writer); };
    const auto write = [&](char writer) {
        const ErrorLogger log(persistence);
        bool isWritten = true;
        for (int line = 0; line < lines; ++line) {
            for (int time = 0; time < 10; ++time)
                isWritten &= files::writeAtomically(folder.path / "file", contentOf(writer));
            log.appendRaw(std::string(200, writer) + " " + std::to_string(line));
        }
        return isWritten;
    };
    const bool hasRun = runInChild([&] {
        // In memory nearly all time goes by between two steps of a write; on a disk, in waiting for it.
        mountMemory(folder.path, "size=4m");
        folder.write("file", contentOf('a'));
        folder.write("error.log", "");
        std::set<pid_t> writers;
        for (const char writer : {'a', 'b'}) {
            const pid_t child = fork();
            if (child == 0) _exit(write(writer) ? 0 : 1);
            writers.insert(child);
        }
        while (!writers.empty()) {
            int status = 0;
            writers.erase(waitpid(-1, &status, WNOHANG));
            EXPECT_EQ(status, 0) << "a write failed";
            const auto content = files::read(folder.path / "file");
            EXPECT_TRUE(content == contentOf('a') || content == contentOf('b'));
        }
        std::istringstream log(folder.read("error.log"));
        std::map<char, int> next;
        for (std::string line; std::getline(log, line);)
            EXPECT_EQ(line, std::string(200, line[0]) + " " + std::to_string(next[line[0]]++));
        EXPECT_EQ(next, (std::map<char, int>{{'a', lines}, {'b', lines}}));
    });
    if (!hasRun) GTEST_SKIP();
}

}  // namespace
}  // namespace quorvel
