#pragma once

#include <string>

#include "cli/CheckReport.h"

namespace quorvel {

/// The report as one JSON document of the schema "quorvel-check/1", with a line feed at its end.
std::string jsonReport(const CheckReport& report);

}  // namespace quorvel
