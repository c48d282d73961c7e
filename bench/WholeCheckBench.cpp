#include <benchmark/benchmark.h>
#include <fstream>
#include <malloc.h>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <sys/resource.h>

#include "SampleInventory.h"
#include "api/OrbistoAPIService.h"
#include "check/UpdateCheckService.h"
#include "platform/linux/EventQueue.h"
#include "platform/posix/http/CurlSession.h"
#include "scanner/AppScannerService.h"
#include "support/Process.h"
#include "support/TemporaryFolder.h"
#include "versions/VersionComparator.h"

namespace quorvel {
namespace {

constexpr std::size_t appCount = 5000;
constexpr std::size_t expectedUpdates = appCount / 10;
constexpr std::size_t documentTypes = 14;

/// An information property list of about 4 KB, as a document-based application has it.
std::string informationList(const InstalledApp& app) {
    const auto entry = [](const std::string& key, const std::string& value) {
        return "\t<key>" + key + "</key>\n\t<string>" + value + "</string>\n";
    };
    std::string list =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
        "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n<plist version=\"1.0\">\n<dict>\n"
        "\t<key>CFBundleDocumentTypes</key>\n\t<array>\n";
    for (std::size_t type = 0; type < documentTypes; ++type) {
        list += "\t<dict>\n" + entry("CFBundleTypeName", "Sample Document " + std::to_string(type)) +
                entry("CFBundleTypeRole", "Editor") + entry("LSHandlerRank", "Owner") + "\t</dict>\n";
    }
    return list + "\t</array>\n" + entry("CFBundleExecutable", app.name) +
           entry("CFBundleIdentifier", app.bundleID) + entry("CFBundleName", app.name) +
           entry("CFBundlePackageType", "APPL") + entry("CFBundleShortVersionString", app.version) +
           entry("CFBundleVersion", "4711") + entry("LSMinimumSystemVersion", "12.0") +
           "\t<key>NSHighResolutionCapable</key>\n\t<true/>\n</dict>\n</plist>\n";
}

std::string catalogDocument(const std::vector<InstalledApp>& inventory) {
    nlohmann::json entries = nlohmann::json::array();
    for (const auto& known : sampleResults(inventory)) {
        entries.push_back({{"id", known.id},
                           {"title", known.title},
                           {"version", known.version},
                           {"bundle_identifiers", known.bundleIdentifiers},
                           {"requirements", {{"minimum_os", *known.minimumOSVersion}}}});
    }
    return nlohmann::json{{"entries", std::move(entries)}}.dump();
}

/// User and system time of all threads of this process, in milliseconds.
double processorMilliseconds() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto milliseconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) / 1e3;
    };
    return milliseconds(usage.ru_utime) + milliseconds(usage.ru_stime);
}

void resetPeakResident() {
    malloc_trim(0);  // what the preparations have used is not the check's
    std::ofstream("/proc/self/clear_refs") << "5";
}

double peakResidentMegabytes() {
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;) {
        double kilobytes = 0;
        if (word == "VmHWM:" && status >> kilobytes) return kilobytes / 1024;
    }
    return 0;
}

/// A machine's applications on the disk, and the catalog as the program that it is, so that its time is not
/// this process's.
class Machine {
public:
    Machine() {
        const auto inventory = sampleInventory(appCount);
        for (const auto& app : inventory) {
            folder.write("Applications/" + app.name + ".app/Contents/Info.plist", informationList(app));
        }
        const auto program =
            std::filesystem::read_symlink("/proc/self/exe").replace_filename("quorvel-catalog");
        catalog = std::make_unique<Process>(std::vector<std::string>{
            program, "--data", folder.write("catalog.json", catalogDocument(inventory))});
        url = catalog->readLine();
    }

    std::shared_ptr<UpdateCheckService> makeService(EventQueue& queue, HttpSession& session) const {
        const auto storage = PersistenceManager::at(folder.path / "storage");
        const Environment environment{.program = {"com.example.bench", "1.0"}, .os = {14, 5, 0}};
        return std::make_shared<UpdateCheckService>(UpdateCheckService::Parts{
            .scanner =
                std::make_unique<AppScannerService>(std::vector{folder.path / "Applications"}, std::nullopt),
            .api = std::make_unique<OrbistoAPIService>(session, queue, environment, url),
            .versionComparator = std::make_unique<VersionComparator>(),
            .instanceStore = InstanceStore(storage),
            .firstRunStore = FirstRunStore(storage),
            .ignoredVersionsStore = IgnoredVersionsStore(storage),
            .errorLogger = ErrorLogger(storage),
            .connectivity = std::make_unique<ConnectivityService>(nullptr, /*skipMonitoring=*/true),
            .interChunkDelay = {},
            .environment = environment,
            .mainQueue = queue});
    }

private:
    TemporaryFolder folder;
    std::unique_ptr<Process> catalog;
    std::string url;
};

/// The number of updates that one check finds, once its tracking event is out; none when the check fails.
std::optional<std::size_t> check(UpdateCheckService& service, EventQueue& queue, CurlSession& session) {
    std::optional<std::size_t> updates;
    service.scanAndCheck("background", [&](const auto& result) {
        if (result) updates = result->size();
        queue.quit();
    });
    queue.run();
    session.finish(std::chrono::seconds(5));
    return updates;
}

/// A whole check of 5,000 applications, from the folders on the disk to the tracking event, without the
/// pauses between its requests. Run it alone, with --benchmark_filter=wholeCheck: memory that other
/// benchmarks have used stays resident and would count as the check's. "cpu_ms" holds both threads; the CPU
/// column is the main thread's alone.
void wholeCheck(benchmark::State& state) {
    const Machine machine;
    EventQueue queue;
    CurlSession session;
    const auto service = machine.makeService(queue, session);
    resetPeakResident();
    const double before = processorMilliseconds();
    for (auto _ : state) {
        if (check(*service, queue, session) != expectedUpdates) {
            state.SkipWithError("the check failed or did not find what is new");
            break;
        }
    }
    state.counters["cpu_ms"] =
        benchmark::Counter(processorMilliseconds() - before, benchmark::Counter::kAvgIterations);
    state.counters["peak_MB"] = peakResidentMegabytes();
}
BENCHMARK(wholeCheck)->Iterations(10)->UseRealTime()->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace quorvel
