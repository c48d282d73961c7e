#include <benchmark/benchmark.h>
#include <nlohmann/json.hpp>
#include <string>

#include "api/RecordCoding.h"

namespace quorvel {
namespace {

constexpr int chunkEntries = 200;

AutoMatchRequest chunkRequest() {
    AutoMatchRequest request{"Rk7vQm2XtLp9Wc4NbZs8Hy3JdGf6Ua5E", {}, {}};
    for (int index = 0; index < chunkEntries; ++index) {
        request.titles.push_back("Sample Application " + std::to_string(index));
        request.bundleIds.push_back("com.example.vendor.application-" + std::to_string(index));
    }
    return request;
}

std::string chunkAnswer() {
    nlohmann::json data = nlohmann::json::array();
    for (int index = 0; index < chunkEntries; ++index) {
        data.push_back({{"id", 10'000 + index},
                        {"title", "Sample Application " + std::to_string(index)},
                        {"version", "12.4." + std::to_string(index)},
                        {"bundle_identifiers", {"com.example.vendor.application-" + std::to_string(index)}},
                        {"requirements", {{"minimum_os", "12.0"}}}});
    }
    return nlohmann::json{{"success", true}, {"data", data}}.dump();
}

void encodeChunk(benchmark::State& state) {
    const auto request = chunkRequest();
    for (auto _ : state)
        benchmark::DoNotOptimize(encode(request));
}
BENCHMARK(encodeChunk)->Unit(benchmark::kMicrosecond);

void decodeChunk(benchmark::State& state) {
    const auto answer = chunkAnswer();
    for (auto _ : state)
        benchmark::DoNotOptimize(decodeResponse<AutoMatchData>(answer));
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(answer.size()));
}
BENCHMARK(decodeChunk)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace quorvel
