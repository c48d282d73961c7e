#include <gtest/gtest.h>
#include <map>
#include <set>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

#include "persistence/ErrorLogger.h"
#include "platform/Files.h"
#include "support/TemporaryFolder.h"

namespace quorvel {
namespace {

/// Two processes write as fast as they can and each write succeeds; whoever reads meanwhile finds one of the
/// two contents, whole, as he would if the writers were killed, and in the log the whole lines of both.
TEST(TwoWriters, hinderNeitherEachOtherNorAReader) {
    constexpr int lines = 240;
    const auto contentOf = [](char writer) { return std::string(writer == 'a' ? 50U : 9'000U, writer); };
    const TemporaryFolder folder;
    const auto file = folder.write("file", contentOf('a')), log = folder.write("error.log", "");
    const auto write = [&](char writer) {
        const ErrorLogger logger(PersistenceManager::at(folder.path));
        bool isWritten = true;
        for (int line = 0; line < lines; ++line) {
            for (int time = 0; time < 10; ++time)
                isWritten &= files::writeAtomically(file, contentOf(writer));
            logger.appendRaw(std::string(200, writer) + " " + std::to_string(line));
        }
        return isWritten;
    };
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
        const auto content = files::read(file);
        EXPECT_TRUE(content == contentOf('a') || content == contentOf('b'));
    }
    std::istringstream written(TemporaryFolder::contentOf(log));
    std::map<char, int> next;
    for (std::string line; std::getline(written, line);)
        EXPECT_EQ(line, std::string(200, line[0]) + " " + std::to_string(next[line[0]]++));
    EXPECT_EQ(next, (std::map<char, int>{{'a', lines}, {'b', lines}}));
}

}  // namespace
}  // namespace quorvel
