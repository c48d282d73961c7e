#include <benchmark/benchmark.h>

#include "persistence/ErrorLogger.h"
#include "support/TemporaryFolder.h"

namespace quorvel {
namespace {

/// One entry more onto a log of `range` lines: 100 lines grow, 500 are trimmed at every entry.
void appendToLog(benchmark::State& state) {
    const TemporaryFolder folder;
    const ErrorLogger logger(PersistenceManager::at(folder.path));
    const auto entry = std::string("Chunk 2/3 failed: Server returned HTTP 500 — Internal Server Error.");
    std::string lines;
    for (std::int64_t line = 0; line < state.range(0); ++line)
        lines += entry + "\n";
    for (auto _ : state) {
        state.PauseTiming();
        folder.write("error.log", lines);
        state.ResumeTiming();
        logger.log(entry);
    }
}
BENCHMARK(appendToLog)->Arg(100)->Arg(500)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace quorvel
