#pragma once

#include <string>

#include "platform/OperatingSystem.h"
#include "platform/ProgramInfo.h"

namespace quorvel {

/// Who asks the catalog: this program and the system that it runs on.
struct Environment {
    ProgramInfo program;
    OSVersion os;
};

/// The program's short version, "unknown" when it has none.
std::string appVersionString(const Environment& environment);

/// "macOS " and major.minor.patch.
std::string osVersionString(const Environment& environment);

/// "Quorvel/1.4.2 (macOS 14.2.1)", as the User-Agent header carries it.
std::string userAgent(const Environment& environment);

/// "version: " and the program's version, a line break, "os: " and the system's: what every tracking request
/// carries.
std::string environmentSummary(const Environment& environment);

}  // namespace quorvel
