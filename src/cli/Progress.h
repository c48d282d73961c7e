#pragma once

#include <cstdio>
#include <string>

#include "cli/Terminal.h"
#include "platform/Queue.h"

namespace quorvel {

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
