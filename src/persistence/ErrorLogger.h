#pragma once

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>

#include "persistence/PersistenceManager.h"
#include "platform/WallClock.h"

namespace quorvel {

/// A diagnostic log in "error.log", bounded to its last lines. Holds nothing in memory, so that loggers on
/// one folder agree. Two processes never mix their lines, but one that trims or resets the log can lose a
/// line that the other appends in that moment. Every file error is swallowed: the entry is lost and the
/// program goes on. Main thread.
class ErrorLogger {
public:
    static constexpr std::size_t maxLines = 500;

    explicit ErrorLogger(const PersistenceManager& persistence,
                         WallClock now = std::chrono::system_clock::now);

    /// Appends "[" + timestamp + "] " + message as one entry line; line feeds inside make several lines.
    void log(std::string_view message) const;

    /// Appends the text and a line feed.
    void appendRaw(std::string_view text) const;

    /// Replaces the whole log with one entry line.
    void resetWithEntry(std::string_view message) const;

    /// Replaces the whole log with the text, which gets a line feed at its end when it has none.
    void resetWithHeader(std::string_view text) const;

    /// The whole log; empty when its file is missing, unreadable or not valid UTF-8.
    std::string text() const;

    /// The present time as entry lines show it: ISO 8601, UTC, to the second, for example
    /// 2025-03-04T05:06:07Z.
    std::string timestamp() const;

    const std::filesystem::path url;

private:
    std::string entryLine(std::string_view message) const;
    void append(std::string_view text) const;
    void replace(std::string_view text) const;
    void trim() const;

    const WallClock now;
};

}  // namespace quorvel
