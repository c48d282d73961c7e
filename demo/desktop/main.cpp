#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "entry/DesktopProgram.h"
#include "platform/OperatingSystem.h"
#include "platform/ProgramInfo.h"

/// The status-item program with the sample applications and the sample catalog in place of the product's
/// constants:
///     quorvel-demo [--watch-network] SYSTEM-FOLDER CATALOG-URL STORAGE-FOLDER [ACTION]
/// Its catalog is on this machine, so the network is taken to be there unless it is to be watched.
int main(int argc, char* argv[]) {
    std::vector<std::string> words(argv + 1, argv + argc);
    const bool watchesNetwork = !words.empty() && words.front() == "--watch-network";
    if (watchesNetwork) words.erase(words.begin());
    if (words.size() != 3 && words.size() != 4) {
        std::fputs(
            "Usage: quorvel-demo [--watch-network] SYSTEM-FOLDER CATALOG-URL STORAGE-FOLDER [ACTION]\n",
            stderr);
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
         .skipMonitoring = !watchesNetwork},
        words.size() == 4 ? words[3] : "");
}
