#include <algorithm>
#include <gtest/gtest.h>

#include "persistence/ErrorLogger.h"
#include "support/ScopedVariable.h"
#include "support/TemporaryFolder.h"

namespace quorvel {
namespace {

class ErrorLoggerTest : public testing::Test {
protected:
    static std::string numberedLines(int first, int last) {
        std::string lines;
        for (int number = first; number <= last; ++number)
            lines += "line " + std::to_string(number) + "\n";
        return lines;
    }

    std::string logText() const { return folder.read("error.log"); }
    void setLog(std::string_view text) const { folder.write("error.log", text); }

    TemporaryFolder folder;
    PersistenceManager persistence = PersistenceManager::at(folder.path);
    std::chrono::system_clock::time_point time = std::chrono::sys_days(std::chrono::year(2025) / 3 / 4) +
                                                 std::chrono::hours(5) + std::chrono::minutes(6) +
                                                 std::chrono::milliseconds(7999);
    ErrorLogger logger{persistence, [this] { return time; }};
};

TEST_F(ErrorLoggerTest, writesEntriesHeadersAndRawLinesAsTheyStand) {
    {
        const ScopedVariable timeZone("TZ", "Asia/Kathmandu");
        tzset();
        logger.log("first");
    }
    tzset();
    logger.appendRaw("---");
    logger.log("two\nlines");
    EXPECT_EQ(logText(), "[2025-03-04T05:06:07Z] first\n---\n[2025-03-04T05:06:07Z] two\nlines\n");
    logger.resetWithEntry("alone");
    EXPECT_EQ(logText(), "[2025-03-04T05:06:07Z] alone\n");
    logger.resetWithHeader("A\nB");
    EXPECT_EQ(logText(), "A\nB\n");
    logger.resetWithHeader("A\nB\n");
    EXPECT_EQ(logText(), "A\nB\n");
}

TEST_F(ErrorLoggerTest, keepsTheLastFiveHundredLines) {
    const struct {
        const char* what;
        std::string before, appended, after;
    } rows[] = {
        {"499 lines take one more", numberedLines(1, 499), "", numberedLines(1, 499) + "\n"},
        {"500 lines lose their first", numberedLines(1, 500), "new", numberedLines(2, 500) + "new\n"},
        {"a block of ten onto 495 pushes out five", numberedLines(1, 495), "1\n2\n3\n4\n5\n6\n7\n8\n9\n10",
         numberedLines(6, 495) + "1\n2\n3\n4\n5\n6\n7\n8\n9\n10\n"},
        {"text without a line feed at its end joins the new line", "half", "new", "halfnew\n"},
        {"malformed UTF-8 is never trimmed", "\xff\n" + numberedLines(1, 500), "new",
         "\xff\n" + numberedLines(1, 500) + "new\n"},
        {"what cannot be text is repaired", "", "a\xff", "a\xEF\xBF\xBD\n"},
    };
    for (const auto& row : rows) {
        setLog(row.before);
        logger.appendRaw(row.appended);
        EXPECT_EQ(logText(), row.after) << row.what;
    }
}

TEST_F(ErrorLoggerTest, boundsAnEntryOfItsOwnButNotAHeader) {
    const std::string message = numberedLines(1, 600);
    logger.resetWithEntry(message);
    EXPECT_EQ(logText(), numberedLines(102, 600) + "\n");
    logger.resetWithHeader(message);
    EXPECT_EQ(logText(), message);
}

}  // namespace
}  // namespace quorvel
