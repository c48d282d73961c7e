#import <Foundation/Foundation.h>
#include <csignal>
#include <span>

#import "entry/macos/MacProgram.h"
#include "platform/System.h"
#import "platform/macos/Kept.h"
#include "platform/macos/NetworkPathMonitor.h"
#include "platform/macos/ServiceLoginItem.h"

namespace quorvel {
namespace {

constexpr const char* usageText =
    R"(Usage: Quorvel [OPTION]...
Shows in the menu bar which installed applications have newer versions in the
Orbisto catalog.

  --system-root DIR     search the application folders of the macOS volume at
                        DIR, those of all its users included, and take its
                        OS version
  --catalog URL         base URL of the catalog's API
                        (default: $QUORVEL_CATALOG_URL, else the build's own)
  --data-dir DIR        folder for the settings, the instance id, the ignored
                        versions and the log
                        (default: ~/Library/Application Support/quorvel)
  -V, --version         print the program's version
  -h, --help            print this text
)";

OSVersion systemVersion() {
    const NSOperatingSystemVersion version = [[NSProcessInfo processInfo] operatingSystemVersion];
    return {version.majorVersion, version.minorVersion, version.patchVersion};
}

int run(std::span<const char* const> arguments) {
    ProgramOptions options;
    if (auto problem = readOptions(options.readers(), arguments)) return refuse(*problem);
    options.makeAbsolute();
    if (options.help) return print(usageText);
    if (options.version) return printVersion();
    auto setup = setUp(options);
    if (!setup) return refuse(setup.error());
    if (!options.systemRoot) setup->environment.os = systemVersion();
    ServiceLoginItem loginItem;
    runMacProgram({*setup, userLocale(), std::make_unique<NetworkPathMonitor>(), loginItem});
    return 0;
}

}  // namespace
}  // namespace quorvel

int main(int argc, char* argv[]) {
    const quorvel::Pool pool;
    std::signal(SIGPIPE, SIG_IGN);
    // The toolkit would open the options' values as documents.
    [[NSUserDefaults standardUserDefaults] registerDefaults:@{@"NSTreatUnknownArgumentsAsOpen" : @"NO"}];
    return quorvel::run({argv + 1, argv + argc});
}
