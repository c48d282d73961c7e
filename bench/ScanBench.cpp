#include <array>
#include <benchmark/benchmark.h>
#include <cstddef>
#include <dirent.h>
#include <fcntl.h>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include "platform/propertylist/PropertyList.h"
#include "scanner/AppScannerService.h"
#include "support/BinaryPropertyListWriter.h"
#include "support/TemporaryFolder.h"

namespace quorvel {
namespace {

enum Encoding { xml, binary };

using Entries = std::vector<std::pair<std::string, std::string>>;

/// What a bundle of middling size says of itself.
Entries entriesOf(std::size_t bundle, std::size_t otherKeys) {
    const std::string number = std::to_string(bundle);
    Entries entries{{"CFBundleIdentifier", "com.example.sample-" + number},
                    {"CFBundleName", "Sample " + number},
                    {"CFBundleShortVersionString", "1.2." + number},
                    {"CFBundleVersion", number}};
    for (std::size_t key = 0; key < otherKeys; ++key) {
        entries.emplace_back("NSSampleUsageKey" + std::to_string(key), "A text of some words " + number);
    }
    return entries;
}

/// About 4 KB.
std::string xmlList(std::size_t bundle) {
    std::string list =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
        "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n<plist version=\"1.0\">\n<dict>\n";
    for (const auto& [key, value] : entriesOf(bundle, 48)) {
        list += "\t<key>" + key + "</key>\n\t<string>" + value + "</string>\n";
    }
    return list + "</dict>\n</plist>\n";
}

/// About 1.3 KB.
std::string binaryList(std::size_t bundle) {
    BinaryPropertyListWriter writer;
    std::vector<BinaryPropertyListWriter::Pair> pairs;
    for (const auto& [key, value] : entriesOf(bundle, 18)) {
        const auto keyIndex = writer.text(key);
        pairs.emplace_back(keyIndex, writer.text(value));
    }
    return writer.finish(writer.dictionary(pairs));
}

/// A folder with so many bundles, made once for all the benchmarks that use it.
const std::filesystem::path& folderOf(std::size_t bundles, Encoding encoding) {
    static std::map<std::pair<std::size_t, Encoding>, std::unique_ptr<TemporaryFolder>> folders;
    auto& folder = folders[{bundles, encoding}];
    if (!folder) {
        folder = std::make_unique<TemporaryFolder>();
        for (std::size_t bundle = 0; bundle < bundles; ++bundle) {
            folder->write("Sample " + std::to_string(bundle) + ".app/Contents/Info.plist",
                          encoding == xml ? xmlList(bundle) : binaryList(bundle));
        }
    }
    return folder->path;
}

void countBundles(benchmark::State& state) {
    state.counters["perBundle"] =
        benchmark::Counter(static_cast<double>(state.range(0)),
                           benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

std::size_t readFile(int file, std::string& buffer) {
    struct stat status{};
    fstat(file, &status);
    const auto size = static_cast<std::size_t>(status.st_size);
    if (buffer.size() < size) buffer.resize(size);
    const ssize_t count = read(file, buffer.data(), size);
    close(file);
    return static_cast<std::size_t>(count);
}

/// Walks to the same files, opens and reads them, and no more: what no scan can do without.
template <Encoding encoding>
void plainReading(benchmark::State& state) {
    const auto& folder = folderOf(static_cast<std::size_t>(state.range(0)), encoding);
    std::string buffer;
    for (auto _ : state) {
        std::size_t bytes = 0;
        DIR* const entries = opendir(folder.c_str());
        while (const dirent* const entry = readdir(entries)) {
            if (entry->d_name[0] == '.') continue;
            const std::string path = std::string(entry->d_name) + "/Contents/Info.plist";
            bytes += readFile(openat(dirfd(entries), path.c_str(), O_RDONLY | O_CLOEXEC), buffer);
        }
        closedir(entries);
        benchmark::DoNotOptimize(bytes);
    }
    countBundles(state);
}

template <Encoding encoding>
void scan(benchmark::State& state) {
    const AppScannerService scanner({folderOf(static_cast<std::size_t>(state.range(0)), encoding)},
                                    "com.ob.quorvel");
    for (auto _ : state) {
        std::vector<ScanIssue> issues;
        const auto apps = scanner.scan(issues);
        if (apps.size() != static_cast<std::size_t>(state.range(0)))
            state.SkipWithError("bundles are missing");
    }
    countBundles(state);
}

template <Encoding encoding>
void parse(benchmark::State& state) {
    const std::string list = encoding == xml ? xmlList(1234) : binaryList(1234);
    constexpr std::array<std::string_view, 4> keys{"CFBundleIdentifier", "CFBundleShortVersionString",
                                                   "CFBundleVersion", "CFBundleName"};
    for (auto _ : state) {
        auto texts = readPropertyList(list, keys);
        if (!texts) state.SkipWithError("the list is refused");
        benchmark::DoNotOptimize(texts);
    }
    state.counters["listBytes"] = static_cast<double>(list.size());
}

BENCHMARK(parse<xml>)->Unit(benchmark::kMicrosecond);
BENCHMARK(parse<binary>)->Unit(benchmark::kMicrosecond);
BENCHMARK(plainReading<xml>)->Arg(1'000)->Arg(10'000)->Unit(benchmark::kMillisecond);
BENCHMARK(scan<xml>)->Arg(1'000)->Arg(10'000)->Unit(benchmark::kMillisecond);
BENCHMARK(plainReading<binary>)->Arg(1'000)->Arg(10'000)->Unit(benchmark::kMillisecond);
BENCHMARK(scan<binary>)->Arg(1'000)->Arg(10'000)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace quorvel
