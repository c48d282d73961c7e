#pragma once

#include <cstddef>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>

#include "platform/Queue.h"

namespace quorvel {

/// The exit status of quorvel-check.
enum class ExitStatus {
    nothingNewer = 0,
    unexpected = 1,
    wrongUsage = 2,
    partial = 3,
    notReached = 4,
    refused = 5,
    nothingScanned = 6,
    newer = 100
};

/// The two standard streams. Both may be a terminal.
namespace console {

/// Writes "quorvel-check: ", the sentence on one line, and a line feed to standard error. Whatever the
/// sentence quotes reaches the terminal as text alone. Gives the status back.
ExitStatus fail(ExitStatus status, std::string_view sentence);
inline void say(std::string_view sentence) {
    fail(ExitStatus::unexpected, sentence);
}

/// Writes the text to standard output as it is. Where it cannot be written whole, to a full disk for example,
/// says so, and gives the status for that.
ExitStatus print(std::string_view text);

/// False, and said, when standard output was closed before the program began: the next file opened would take
/// its place.
bool isStandardOutputOpen();

}  // namespace console

/// What one of the standard streams can show.
struct Terminal {
    bool isTerminal = false;
    /// Whether it takes escape sequences; the rest needs that too.
    bool hasControls = false;
    /// False also when the user set NO_COLOR.
    bool colour = false;
    /// In columns; none where nothing is to be cut.
    std::optional<std::size_t> width;
};

Terminal describeTerminal(int descriptor);

/// Says on a terminal's standard error what is waited for, once that has taken a second, and takes it away
/// again. Main thread; outlives what the queue still runs.
class Progress {
public:
    Progress(Queue& queue, const Terminal& terminal, std::FILE* stream);
    ~Progress() { clear(); }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// Replaces what is waited for.
    void waitFor(std::string what);
    /// Shows it at once.
    void show();
    void clear();

private:
    const bool hasControls;
    std::FILE* const stream;
    std::string what;
    bool isDue = false;
    bool isShown = false;
};

}  // namespace quorvel
