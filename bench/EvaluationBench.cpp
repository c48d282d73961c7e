#include <benchmark/benchmark.h>

#include "SampleInventory.h"
#include "check/CheckSummary.h"
#include "check/MatchEvaluation.h"
#include "support/TemporaryFolder.h"
#include "versions/VersionComparator.h"

namespace quorvel {
namespace {

/// The evaluation, summary and order of `range` applications, of which the catalog knows four in five, with
/// 20 ignored versions on the disk. A tenth of what it knows is newer.
void evaluateInventory(benchmark::State& state) {
    const TemporaryFolder folder;
    const IgnoredVersionsStore ignored(PersistenceManager::at(folder.path));
    for (int index = 0; index < 20; ++index) {
        ignored.ignore("2.0", "Sample", "com.example.ignored-" + std::to_string(index));
    }
    const auto inventory = sampleInventory(static_cast<std::size_t>(state.range(0)));
    const auto results = sampleResults(inventory);
    const VersionComparator comparator;
    for (auto _ : state) {
        auto evaluation = evaluate(inventory, results, comparator, ignored, {14, 5, 0});
        benchmark::DoNotOptimize(checkSummary(evaluation, {}, "2026-01-01T00:00:00Z"));
        sortByName(evaluation.updates, "");
        benchmark::DoNotOptimize(evaluation);
    }
}
BENCHMARK(evaluateInventory)->Arg(500)->Arg(5000)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace quorvel
