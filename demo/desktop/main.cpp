#include <charconv>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <getopt.h>
#include <string>
#include <string_view>
#include <vector>

#include "entry/DesktopProgram.h"
#include "platform/OperatingSystem.h"
#include "platform/ProgramInfo.h"

namespace {

constexpr const char* usage =
    "Usage: quorvel-demo [--watch-network] [--check-every SECONDS]\n"
    "                    SYSTEM-FOLDER CATALOG-URL STORAGE-FOLDER [ACTION]\n";

/// 0 for a word that is no number above it.
std::chrono::seconds secondsFrom(std::string_view word) {
    int seconds = 0;
    const char* const end = word.data() + word.size();
    const auto [rest, error] = std::from_chars(word.data(), end, seconds);
    const bool isNumber = error == std::errc{} && rest == end && seconds > 0;
    return std::chrono::seconds(isNumber ? seconds : 0);
}

}  // namespace

/// The status-item program with the sample applications and the sample catalog in place of the product's
/// constants. Its catalog is on this machine, so the network is taken to be there unless it is to be watched.
int main(int argc, char* argv[]) {
    bool watchesNetwork = false;
    std::chrono::seconds period = std::chrono::hours(6);
    bool isUsable = true;
    const option options[] = {
        {"watch-network", no_argument, nullptr, 'n'}, {"check-every", required_argument, nullptr, 's'}, {}};
    for (int found = 0; (found = getopt_long(argc, argv, "+", options, nullptr)) != -1;) {
        if (found == 'n') watchesNetwork = true;
        if (found == 's') period = secondsFrom(optarg);
        isUsable = isUsable && found != '?' && period.count() > 0;
    }
    const std::vector<std::string> words(argv + optind, argv + argc);
    if ((words.size() != 3 && words.size() != 4) || !isUsable) {
        std::fputs(usage, stderr);
        return 2;
    }
    const std::filesystem::path system = std::filesystem::absolute(words[0]);
    const auto persistence = quorvel::PersistenceManager::at(std::filesystem::absolute(words[2]));
    return quorvel::runDesktopProgram(
        {.busName = "com.ob.quorvel.Demonstration",
         .scanRoots = {system / "Applications", system / "Users/sample/Applications",
                       system / "System/Applications"},
         .catalogURL = words[1],
         .environment = {quorvel::thisProgram(), quorvel::installedOSVersion(system)},
         .persistence = persistence,
         .skipMonitoring = !watchesNetwork,
         .backgroundInterval = period},
        words.size() == 4 ? words[3] : "");
}
