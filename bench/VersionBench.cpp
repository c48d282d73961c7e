#include <array>
#include <benchmark/benchmark.h>
#include <cstdint>
#include <span>
#include <string_view>

#include "versions/VersionComparator.h"

namespace {

struct VersionPair {
    std::string_view candidate;
    std::string_view baseline;
};

constexpr std::array<VersionPair, 12> asciiPairs{{
    {"14.2.1", "14.2"},
    {"128.0.6613.138", "128.0.6613.120"},
    {"3.11 (1143)", "3.11 (1143)"},
    {"2.4.0", "v2.3.9"},
    {"1.0.0+45", "1.0.0"},
    {"2024.8.1", "2024.10"},
    {"5.0b3", "5.0"},
    {"1.96.2", "1.96.2"},
    {"10.1 (20240817.2)", "10.1 (20240611)"},
    {"8.0.1-rc.2", "8.0.1-rc.1"},
    {" 4.38.121", "4.38.119 "},
    {"1.2.3.20240817120000", "1.2.3.20240611093000"},
}};

constexpr std::array<VersionPair, 6> otherPairs{{
    {"2.4.0\u00A0(310)", "2.4.0"},
    {"3.1 β2", "3.1 β1"},
    {"1.0\u2011rc", "1.0"},
    {"٢.٠", "١.٩"},
    {"5.2 版", "5.1 版"},
    {"7.0½", "7.0"},
}};

/// One item is one answer.
void isNewer(benchmark::State& state, std::span<const VersionPair> pairs) {
    const quorvel::VersionComparator comparator;
    for (auto _ : state) {
        for (const auto& [candidate, baseline] : pairs) {
            bool answer = comparator.isNewer(candidate, baseline);
            benchmark::DoNotOptimize(answer);
        }
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(pairs.size()));
    state.counters["time_per_item"] =
        benchmark::Counter(static_cast<double>(pairs.size()),
                           benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

BENCHMARK_CAPTURE(isNewer, ascii, asciiPairs);
BENCHMARK_CAPTURE(isNewer, otherScripts, otherPairs);

}  // namespace
