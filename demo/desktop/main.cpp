#include <cstdio>

#include "entry/DesktopProgram.h"
#include "platform/OperatingSystem.h"
#include "platform/ProgramInfo.h"

/// The status-item program with the sample applications and the sample catalog in place of the product's
/// constants:
///     quorvel-demo SYSTEM-FOLDER CATALOG-URL STORAGE-FOLDER [ACTION]
int main(int argc, char* argv[]) {
    if (argc != 4 && argc != 5) {
        std::fputs("Usage: quorvel-demo SYSTEM-FOLDER CATALOG-URL STORAGE-FOLDER [ACTION]\n", stderr);
        return 2;
    }
    const std::filesystem::path system = std::filesystem::absolute(argv[1]);
    const auto persistence = quorvel::PersistenceManager::at(std::filesystem::absolute(argv[3]));
    return quorvel::runDesktopProgram(
        {.busName = "com.ob.quorvel.Demonstration",
         .scanRoots = {system / "Applications", system / "Users/sample/Applications",
                       system / "System/Applications"},
         .catalogURL = argv[2],
         .environment = {quorvel::thisProgram(), quorvel::installedOSVersion(system)},
         .persistence = persistence,
         .skipMonitoring = true},
        argc == 5 ? argv[4] : "");
}
