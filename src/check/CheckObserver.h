#pragma once

#include <cstddef>
#include <functional>

#include "api/OrbistoAPIError.h"
#include "check/MatchEvaluation.h"

namespace quorvel {

/// Callbacks about the progress of a check; any of them may be empty. Main thread.
struct CheckObserver {
    /// Before the request of chunk `index`, counted from 0, of `count`.
    std::function<void(std::size_t index, std::size_t count)> onChunk;
    /// After an answer in which `lostEntries` could not be read.
    std::function<void(std::size_t index, std::size_t lostEntries)> onAnswer;
    std::function<void(std::size_t index, const RequestError&)> onChunkFailed;
    /// Before the updates are sorted; after it the result follows at once.
    std::function<void(const MatchEvaluation&)> onEvaluated;
};

}  // namespace quorvel
