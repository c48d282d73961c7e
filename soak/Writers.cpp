#include <array>
#include <chrono>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <map>
#include <random>
#include <set>
#include <signal.h>
#include <sstream>

#include "persistence/ErrorLogger.h"
#include "platform/Files.h"
#include "support/ForkedChild.h"
#include "support/MemoryFileSystem.h"
#include "support/TemporaryFolder.h"

namespace quorvel {
namespace {

/// A file that is replaced and a log that grows, by turns; what a write leaves tells its number.
struct Storage {
    explicit Storage(const std::filesystem::path& folder)
        : log(PersistenceManager::at(folder), maxLines), file(folder / "file") {}

    static std::string text(int number) {
        return std::to_string(number) + std::string(number % 4 == 0 ? 9'000U : 50U, 'x');
    }
    /// Short, so that the log stays within one page: of a write across two, the system itself may keep the
    /// first part when it kills.
    static std::string line(int number) { return std::to_string(number) + " said at length, and whole"; }

    void write(int number) const {
        number % 2 == 0 ? static_cast<void>(files::writeAtomically(file, text(number)))
                        : log.appendRaw(line(number));
    }

    /// Whether the newest write of that kind is this one.
    bool holds(int number) const {
        const auto content = TemporaryFolder::contentOf(number % 2 == 0 ? file : log.url);
        return number % 2 == 0 ? content == text(number) : content.ends_with(line(number) + '\n');
    }

    void expectWholeLog() const {
        std::istringstream lines(TemporaryFolder::contentOf(log.url));
        std::size_t count = 0;
        int number = 0;
        for (std::string found; std::getline(lines, found); ++count, number += 2) {
            if (count == 0) number = std::stoi(found);
            ASSERT_EQ(found, line(number));
        }
        EXPECT_LE(count, maxLines + 1) << "a killed writer may not have trimmed its last line";
    }

    /// Makes what a killed writer left behind an hour old; how many there were.
    int ageLeftovers() const {
        int leftovers = 0;
        for (const auto& entry : std::filesystem::directory_iterator(file.parent_path())) {
            if (!entry.path().filename().string().starts_with('.')) continue;
            last_write_time(entry.path(), entry.last_write_time() - std::chrono::hours(1));
            ++leftovers;
        }
        return leftovers;
    }

    static constexpr std::size_t maxLines = 20;
    const ErrorLogger log;
    const std::filesystem::path file;
};

/// Lets a process write on from number `first`, reporting each write that is done, and kills it `delay` after
/// its first `atLeast`; gives the number of writes that it reported.
int writesUntilKilled(const Storage& storage, int first, int atLeast, std::chrono::nanoseconds delay) {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    const pid_t child = fork();
    for (int number = first; child == 0; ++number) {
        storage.write(number);
        if (write(ends[1], "", 1) != 1) _exit(1);
    }
    close(ends[1]);
    int done = 0;
    for (char byte = 0; done < atLeast && read(ends[0], &byte, 1) == 1;)
        ++done;
    for (const auto end = std::chrono::steady_clock::now() + delay; std::chrono::steady_clock::now() < end;)
        continue;
    kill(child, SIGKILL);
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << status;
    for (char byte = 0; read(ends[0], &byte, 1) == 1;)
        ++done;
    close(ends[0]);
    return done;
}

/// In a process and a folder of its own, in memory: there nearly all time goes by between two steps of a
/// write; on a disk, in waiting for it.
void runInMemory(const std::function<void(const std::filesystem::path& folder)>& body) {
    const TemporaryFolder folder;
    const bool hasRun = runInChild([&] {
        mountMemory(folder.path, "size=4m");
        if (!testing::Test::IsSkipped()) body(folder.path);
    });
    if (!hasRun) GTEST_SKIP();
}

TEST(KilledWriter, leavesEveryFileOldOrNewAtAnyMoment) {
    constexpr int kills = 1000;
    const unsigned seed = std::random_device{}();
    std::printf("seed %u\n", seed);
    runInMemory([&](const auto& folder) {
        const Storage storage(folder);
        int next = 0, finished = 0, leftovers = 0;
        std::mt19937 random(seed);
        std::uniform_int_distribution<int> writes(0, 8), nanoseconds(0, 150'000);
        for (int count = 0; count < kills && !testing::Test::HasFailure(); ++count) {
            storage.write(next++);
            storage.write(next++);
            EXPECT_EQ(storage.ageLeftovers(), 0) << "the next write removes them";
            const int atLeast = writes(random);
            next += writesUntilKilled(storage, next, atLeast, std::chrono::nanoseconds(nanoseconds(random)));
            EXPECT_TRUE(storage.holds(next - 1)) << "after " << next << " writes";
            EXPECT_TRUE(storage.holds(next) || storage.holds(next - 2)) << "after " << next << " writes";
            storage.expectWholeLog();
            leftovers += storage.ageLeftovers();
            // The write that was not reported may be done all the same.
            if (storage.holds(next)) ++next, ++finished;
        }
        std::printf("%d kills, %d writes; %d killed after the change, %d left a temporary file\n", kills,
                    next, finished, leftovers);
        std::fflush(stdout);
    });
}

/// Two processes write as fast as they can and each write succeeds; whoever reads meanwhile finds one of the
/// two contents, whole, and in the log the whole lines of both.
TEST(TwoWriters, hinderNeitherEachOtherNorAReader) {
    constexpr int lines = 240;
    const auto contentOf = [](char writer) { return std::string(writer == 'a' ? 50U : 9'000U, writer); };
    runInMemory([&](const auto& folder) {
        const auto persistence = PersistenceManager::at(folder);
        const auto file = folder / "file";
        const auto write = [&](char writer) {
            const ErrorLogger log(persistence);
            bool isWritten = true;
            for (int line = 0; line < lines; ++line) {
                for (int time = 0; time < 10; ++time)
                    isWritten &= files::writeAtomically(file, contentOf(writer));
                log.appendRaw(std::string(200, writer) + " " + std::to_string(line));
            }
            return isWritten;
        };
        files::writeAtomically(file, contentOf('a'));
        files::writeAtomically(folder / "error.log", "");
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
        std::istringstream log(TemporaryFolder::contentOf(folder / "error.log"));
        std::map<char, int> next;
        for (std::string line; std::getline(log, line);)
            EXPECT_EQ(line, std::string(200, line[0]) + " " + std::to_string(next[line[0]]++));
        EXPECT_EQ(next, (std::map<char, int>{{'a', lines}, {'b', lines}}));
    });
}

}  // namespace
}  // namespace quorvel
