#pragma once

#include <cstddef>
#include <functional>
#include <span>

#include "api/OrbistoAPIError.h"
#include "check/MatchEvaluation.h"
#include "scanner/InstalledApp.h"
#include "scanner/ScanIssue.h"

namespace quorvel {

/// What a check tells beside its result, for whom that interests; any member may be empty. All run on the
/// main thread.
struct CheckObserver {
    std::function<void(std::span<const InstalledApp>, std::span<const ScanIssue>)> onScanned;
    /// Before the request of chunk `index`, counted from 0, of `count`.
    std::function<void(std::size_t index, std::size_t count)> onChunk;
    std::function<void(const RequestError&)> onChunkFailed;
    /// Before the updates are sorted; after it the result follows at once.
    std::function<void(const MatchEvaluation&)> onEvaluated;
};

}  // namespace quorvel
