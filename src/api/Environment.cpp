#include "api/Environment.h"

namespace quorvel {

std::string appVersionString(const Environment& environment) {
    return environment.program.shortVersion.value_or("unknown");
}

std::string osVersionString(const Environment& environment) {
    return "macOS " + toText(environment.os);
}

std::string userAgent(const Environment& environment) {
    return "Quorvel/" + appVersionString(environment) + " (" + osVersionString(environment) + ")";
}

std::string environmentSummary(const Environment& environment) {
    return "version: " + appVersionString(environment) + "\nos: " + osVersionString(environment);
}

}  // namespace quorvel
