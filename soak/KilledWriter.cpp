#include <array>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <random>
#include <signal.h>
#include <sstream>

#include "Storage.h"
#include "support/ForkedChild.h"
#include "support/MemoryFileSystem.h"
#include "support/TemporaryFolder.h"

namespace quorvel {
namespace {

/// Writes until it is killed, each of four kinds in turn, and reports each write that is done by one byte.
class Writer {
public:
    enum Kind { settings, ignored, instance, log, kinds };

    static void write(const Storage& storage, int number) {
        switch (number % kinds) {
            case settings:
                return storage.writeSettings(number / kinds);
            case ignored:
                return storage.writeIgnored(number / kinds);
            case instance:
                return storage.writeInstance(number / kinds);
            default:
                return storage.log.appendRaw(logLine(number / kinds));
        }
    }

    /// Short, so that the log stays within one page: of a write across two, the system itself may keep the
    /// first part when it kills.
    static std::string logLine(int round) { return std::to_string(round) + " said at length, and whole"; }

    Writer(const Storage& storage, int firstNumber) {
        std::array<int, 2> ends{};
        if (pipe2(ends.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
        child = fork();
        if (child == 0) {
            for (int number = firstNumber;; ++number) {
                write(storage, number);
                if (::write(ends[1], "", 1) != 1) _exit(1);
            }
        }
        close(ends[1]);
        reports = ends[0];
    }

    /// Kills it `delay` after its first `atLeast` writes; gives the number of writes that it reported.
    int killAfter(int atLeast, std::chrono::nanoseconds delay) {
        int done = 0;
        for (char byte = 0; done < atLeast && read(reports, &byte, 1) == 1;)
            ++done;
        const auto moment = std::chrono::steady_clock::now() + delay;
        while (std::chrono::steady_clock::now() < moment) {
        }
        kill(child, SIGKILL);
        int status = 0;
        waitpid(child, &status, 0);
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << status;
        for (char byte = 0; read(reports, &byte, 1) == 1;)
            ++done;
        close(reports);
        return done;
    }

private:
    pid_t child = -1;
    int reports = -1;
};

/// Finds every file as the last reported write of its kind left it, or as the next one does.
class Survivor {
public:
    explicit Survivor(const Storage& storage) : storage(storage) {}

    /// `next` is the number of the write that had not been reported. True when it was done all the same.
    bool expectOldOrNew(int next) {
        bool isDone = false;
        for (int kind = 0; kind < Writer::kinds; ++kind) {
            const int newest = next - 1 - (next - 1 - kind + Writer::kinds) % Writer::kinds;
            const bool underWay = next % Writer::kinds == kind;
            const auto found = contentOf(kind);
            isDone |= underWay && found == expected(kind, next / Writer::kinds);
            EXPECT_TRUE((underWay && isDone) || found == expected(kind, newest / Writer::kinds))
                << "kind " << kind << " after " << next << " writes: " << found;
        }
        expectWholeLog();
        for (const auto& leftover : temporaryFiles())
            age(leftover);
        finished += isDone ? 1 : 0;
        return isDone;
    }

    /// As if the writer had been killed an hour ago.
    void age(const std::filesystem::path& leftover) {
        using namespace std::chrono_literals;
        last_write_time(leftover, last_write_time(leftover) - 1h);
        ++leftovers;
    }

    std::vector<std::filesystem::path> temporaryFiles() const {
        std::vector<std::filesystem::path> files;
        for (const auto& entry : std::filesystem::directory_iterator(storage.persistence.appSupportURL))
            if (entry.path().filename().string().starts_with('.')) files.push_back(entry.path());
        return files;
    }

    int finished = 0;
    int leftovers = 0;

private:
    /// One word for a file's content: what its one further reader, the next start of the program, makes of
    /// it.
    std::string contentOf(int kind) const {
        if (kind == Writer::log) return lastLogLine();
        if (kind == Writer::instance) return std::to_string(storage.instance.load().value_or(-1));
        if (kind == Writer::settings) return text(storage.settings.load());
        const auto entries = storage.ignored.load();
        for (const auto& [bundleID, entry] : entries)
            if (entry.version != entries.begin()->second.version) return "mixed";
        return entries.size() == Storage::ignoredApps ? entries.begin()->second.version : "torn";
    }

    static std::string expected(int kind, int round) {
        if (kind == Writer::log) return Writer::logLine(round);
        if (kind == Writer::settings) return text({round % 2 != 0, round % 4 > 1});
        return std::to_string(round);
    }

    static std::string text(const Settings& settings) {
        return std::string(settings.openAtLogin ? "login" : "no login") +
               (settings.colorIcon ? ", colour" : "");
    }

    std::string lastLogLine() const {
        const std::string text = TemporaryFolder::contentOf(storage.log.url);
        return text.substr(text.rfind('\n', text.size() - 2) + 1,
                           text.size() - text.rfind('\n', text.size() - 2) - 2);
    }

    void expectWholeLog() const {
        std::istringstream lines(TemporaryFolder::contentOf(storage.log.url));
        std::size_t count = 0;
        int round = 0;
        for (std::string line; std::getline(lines, line); ++count, ++round) {
            if (count == 0) round = std::stoi(line);
            ASSERT_EQ(line, Writer::logLine(round));
        }
        EXPECT_LE(count, Storage::logLines + 1) << "a killed writer may not have trimmed its last line";
    }

    const Storage& storage;
};

constexpr int kills = 1000;

TEST(KilledWriter, leavesEveryFileOldOrNewAtAnyMoment) {
    const TemporaryFolder folder;
    const unsigned seed = std::random_device{}();
    const bool hasRun = runInChild([&] {
        // In memory nearly all time goes by between two steps of a write; on a disk, in waiting for it.
        mountMemory(folder.path, "size=1m");
        if (testing::Test::IsSkipped()) return;
        const Storage storage(folder.path);
        Survivor survivor(storage);
        int next = 0;
        for (int round = 0; round < Writer::kinds; ++round)
            Writer::write(storage, next++);
        std::mt19937 random(seed);
        std::uniform_int_distribution<int> writes(0, 8), nanoseconds(0, 150'000);
        for (int number = 0; number < kills && !testing::Test::HasFailure(); ++number) {
            Writer writer(storage, next);
            const int atLeast = writes(random);
            next += writer.killAfter(atLeast, std::chrono::nanoseconds(nanoseconds(random)));
            if (survivor.expectOldOrNew(next)) ++next;
            for (int kind = 0; kind < Writer::kinds; ++kind)
                Writer::write(storage, next++);
            EXPECT_TRUE(survivor.temporaryFiles().empty()) << survivor.temporaryFiles().front();
        }
        std::printf("%d kills, %d writes; %d killed after the change, %d left a temporary file\n", kills,
                    next, survivor.finished, survivor.leftovers);
        std::fflush(stdout);
    });
    std::printf("seed %u\n", seed);
    if (!hasRun) GTEST_SKIP();
}

}  // namespace
}  // namespace quorvel
