#include "entry/ProgramOptions.h"

#include <cerrno>
#include <cstdio>
#include <system_error>
#include <utility>

#include "platform/OperatingSystem.h"
#include "platform/ProgramInfo.h"
#include "platform/System.h"
#include "platform/posix/http/CatalogAddress.h"
#include "platform/text/DisplayText.h"
#include "scanner/AppScannerService.h"

namespace quorvel {

namespace {

constexpr int wrongUsage = 2;

int fail(int status, const std::string& sentence) {
    std::fprintf(stderr, "quorvel: %s\n", onOneLine(sentence).c_str());
    return status;
}

}  // namespace

std::vector<CommandOption> ProgramOptions::readers() {
    return {textOption("system-root", systemRoot), textOption("catalog", catalog),
            textOption("data-dir", dataFolder), flagOption("version", version, 'V'),
            flagOption("help", help, 'h')};
}

void ProgramOptions::makeAbsolute() {
    for (auto* const folder : {&systemRoot, &dataFolder}) {
        if (*folder) *folder = std::filesystem::absolute(**folder).lexically_normal().string();
    }
}

std::expected<ProgramSetup, std::string> setUp(const ProgramOptions& options) {
    auto catalog = catalogAddress(options.catalog);
    if (!catalog) return std::unexpected(std::move(catalog.error()));
    return ProgramSetup{
        .scanRoots = options.systemRoot ? AppScannerService::rootsOfVolume(*options.systemRoot)
                                        : AppScannerService::standardRoots(),
        .catalogURL = *catalog,
        .environment = {thisProgram(), installedOSVersion(options.systemRoot.value_or("/"))},
        .persistence = options.dataFolder ? PersistenceManager::at(*options.dataFolder)
                                          : PersistenceManager::shared(applicationSupportFolder())};
}

int refuse(const std::string& problem) {
    return fail(wrongUsage, problem + " Try 'quorvel --help'.");
}

int print(const std::string& text) {
    if (std::fputs(text.c_str(), stdout) >= 0 && std::fflush(stdout) == 0) return 0;
    return fail(1, "Could not write to standard output: " + std::generic_category().message(errno) + ".");
}

int printVersion() {
    return print("quorvel " + *thisProgram().shortVersion + "\n");
}

}  // namespace quorvel
