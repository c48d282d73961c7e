#include <algorithm>
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <spawn.h>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <vector>

#include "cli/JsonReport.h"
#include "cli/fleet/FleetEvaluation.h"
#include "cli/fleet/FleetReport.h"
#include "cli/fleet/InputFile.h"
#include "cli/fleet/InventoryReader.h"
#include "support/Process.h"
#include "support/TemporaryFolder.h"

namespace quorvel {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t appsOfHost = 120;
constexpr std::size_t distinctApps = 6000;
constexpr std::size_t versionsOfApp = 5;

std::string identifier(std::size_t app) {
    return "com.example.vendor" + std::to_string(app % 700) + ".application-" + std::to_string(app);
}

std::string version(std::size_t app, std::size_t patch) {
    return "12." + std::to_string(app % 40) + "." + std::to_string(patch);
}

/// A row as the recommended query gives it, of about 300 bytes.
std::string row(std::size_t host, std::size_t app) {
    const std::string name = "Sample Application " + std::to_string(app);
    return R"({"bundle_identifier":")" + identifier(app) + R"(","bundle_name":")" + name +
           R"(","bundle_short_version":")" + version(app, (host + app) % versionsOfApp) +
           R"(","bundle_version":")" + std::to_string(4000 + app) + R"(","hostname":"mac-)" +
           std::to_string(host) + R"(.example.com","name":")" + name + R"(.app","os_version":"14.)" +
           std::to_string(host % 6) + R"(","path":"/Applications/)" + name + R"(.app"})";
}

/// Inventories of osquery's rows, a file a host.
class Inventories {
public:
    explicit Inventories(std::size_t hosts) {
        for (std::size_t host = 0; host < hosts; ++host) {
            std::string rows = "[\n";
            for (std::size_t app = 0; app < appsOfHost; ++app)
                rows += "  " + row(host, (host * 37 + app * 50 + app * app % 49) % distinctApps) + ",\n";
            rows.replace(rows.size() - 2, 1, "\n]");
            const auto number = std::to_string(host);
            files.push_back(
                folder
                    .write("inventories/mac-" + std::string(5 - number.size(), '0') + number + ".json", rows)
                    .string());
        }
    }

    std::string path() const { return (folder.path / "inventories").string(); }

    TemporaryFolder folder;
    std::vector<std::string> files;
};

/// What a catalog says that knows four in five applications, in the newest of their versions; of a tenth of
/// those a newer one yet.
std::vector<AutoMatchResult> results() {
    std::vector<AutoMatchResult> list;
    for (std::size_t app = 0; app < distinctApps; ++app) {
        if (app % 5 == 0) continue;
        list.push_back({.id = static_cast<std::int64_t>(app),
                        .title = "Sample Application " + std::to_string(app),
                        .version = app % 10 == 1 ? version(app, versionsOfApp) : version(app, 0),
                        .bundleIdentifiers = {identifier(app)},
                        .minimumOSVersion = "12.0"});
    }
    return list;
}

/// What the fleet costs this process beside asking the catalog: reading, evaluating and writing lines of
/// JSON. "row" is the time for one of the 120 rows of each host.
void fleetRows(benchmark::State& state) {
    const Inventories inventories(static_cast<std::size_t>(state.range(0)));
    const IgnoredVersions ignored;
    std::size_t written = 0;
    for (auto _ : state) {
        Fleet fleet;
        for (const auto& file : listInputFiles({inventories.path()}, fleet.failures))
            readInventory(fleet, file.name, "none", *openInput(file));
        fleet.settle();
        benchmark::DoNotOptimize(distinctApplications(fleet));
        FleetEvaluation evaluation(fleet, results(), {}, ignored);
        for (const auto& host : fleet.hosts) {
            JsonWriter json(JsonWriter::Layout::lines);
            writeHost(json, {.name = host.name,
                             .source = fleet.sources[host.source],
                             .system = {.source = RunningSystem::Source::unknown},
                             .apps = host.apps.size(),
                             .verdicts = evaluation.evaluate(host, host.system)});
            written += json.text.size();
        }
    }
    if (written < static_cast<std::size_t>(state.range(0)) * appsOfHost * 100)
        state.SkipWithError("rows are missing");
    state.counters["row"] =
        benchmark::Counter(static_cast<double>(state.range(0)) * appsOfHost,
                           benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}
BENCHMARK(fleetRows)->Arg(100)->Arg(1000)->Arg(10'000)->Unit(benchmark::kMillisecond);

struct Usage {
    double cpuSeconds = 0;
    double peakMegabytes = 0;
    int status = 0;
};

/// What a program used that was looked up in the path and whose output went nowhere; none when there is none.
std::optional<Usage> run(std::vector<std::string> arguments) {
    std::vector<char*> list;
    for (auto& argument : arguments)
        list.push_back(argument.data());
    list.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t child = 0;
    const int failure = posix_spawnp(&child, list[0], &actions, nullptr, list.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    rusage usage{};
    int status = 0;
    if (failure != 0 || wait4(child, &status, 0, &usage) != child) return std::nullopt;
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return Usage{seconds(usage.ru_utime) + seconds(usage.ru_stime),
                 static_cast<double>(usage.ru_maxrss) / 1024, WEXITSTATUS(status)};
}

std::string catalogDocument() {
    std::string text = R"({"entries":[)";
    for (const auto& entry : results()) {
        text += R"({"id":)" + std::to_string(entry.id) + R"(,"title":")" + entry.title + R"(","version":")" +
                entry.version + R"(","bundle_identifiers":[")" + entry.bundleIdentifiers.front() +
                R"("],"requirements":{"minimum_os":"12.0"}},)";
    }
    text.back() = ']';
    return text + "}";
}

/// The whole program over 10,000 hosts of 120 applications, 6,000 distinct ones, with the sample catalog in a
/// process of its own: seconds of processor time, most memory, and requests. The pauses between requests are
/// in the time of the clock alone. Beside it what jq and Python's json take to read the same files.
void wholeFleet(benchmark::State& state) {
    const Inventories inventories(10'000);
    const auto programs = fs::read_symlink("/proc/self/exe").parent_path();
    const auto& folder = inventories.folder;
    Process catalog({programs / "quorvel-catalog", "--data", folder.write("catalog.json", catalogDocument()),
                     "--record", folder.path / "record"});
    const auto url = catalog.readLine();
    constexpr int newerVersions = 100;
    for (auto _ : state) {
        const auto usage = run({programs / "quorvel-check", "--inventory", inventories.path(), "--json-lines",
                                "--catalog", url, "--data-dir", folder.path / "data"});
        if (!usage || usage->status != newerVersions) {
            state.SkipWithError("the check failed or did not find what is new");
            break;
        }
        state.counters["cpu_s"] = usage->cpuSeconds;
        state.counters["peak_MB"] = usage->peakMegabytes;
    }
    std::ifstream record(folder.path / "record");
    double requests = 0;
    for (std::string line; std::getline(record, line);)
        requests += line.contains("auto-match-collection") ? 1 : 0;
    state.counters["requests"] = requests;
    auto jq = inventories.files;
    jq.insert(jq.begin(), {"jq", "-c", "length"});
    if (const auto usage = run(std::move(jq)); usage && usage->status == 0)
        state.counters["jq_s"] = usage->cpuSeconds;
    const std::string program = "import json, os\nfor name in os.scandir(" +
                                ("'" + inventories.path() + "'") + "): json.load(open(name.path))";
    if (const auto usage = run({"python3", "-c", program}); usage && usage->status == 0)
        state.counters["python_s"] = usage->cpuSeconds;
}
BENCHMARK(wholeFleet)->Iterations(1)->UseRealTime()->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace quorvel
