#include <cstdio>
#include <string>
#include <string_view>

#include "entry/DesktopProgram.h"
#include "platform/ProgramInfo.h"
#include "scanner/AppScannerService.h"

namespace {

constexpr int wrongUsage = 2;

constexpr const char* usage =
    "Usage: quorvel [--action NAME]\n"
    "Shows in the panel which installed applications have newer versions in the Orbisto catalog.\n\n"
    "  --action NAME  check-for-updates, show-error-log, ignored-versions, about or quit;\n"
    "                 carried out by the instance that runs already, if one does\n"
    "  --version      print the program's version\n"
    "  --help         print this text\n";

}  // namespace

int main(int argc, char* argv[]) {
    const std::string_view option = argc > 1 ? argv[1] : "";
    if (argc == 2 && option == "--help") return std::fputs(usage, stdout) < 0 ? 1 : 0;
    if (argc == 2 && option == "--version") {
        return std::printf("quorvel %s\n", quorvel::thisProgram().shortVersion.value().c_str()) < 0 ? 1 : 0;
    }
    const std::string action = argc == 3 && option == "--action" ? argv[2] : "";
    if (argc != 1 && !quorvel::isDesktopAction(action)) {
        std::fputs(usage, stderr);
        return wrongUsage;
    }
    return quorvel::runDesktopProgram({.busName = "com.ob.quorvel",
                                       .scanRoots = quorvel::AppScannerService::standardRoots(),
                                       .catalogURL = std::string(quorvel::catalogURL),
                                       .environment = {quorvel::thisProgram(), quorvel::installedOSVersion()},
                                       .persistence = quorvel::PersistenceManager::shared()},
                                      action);
}
