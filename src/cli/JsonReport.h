#pragma once

#include <string>

#include "cli/CheckReport.h"
#include "cli/Terminal.h"

namespace quorvel {

/// The report as one JSON document of the schema "quorvel-check/1", with a line feed at its end: the same for
/// the same report in every locale. On a terminal, everything beyond ASCII is escaped, so that nothing in it
/// is obeyed.
std::string jsonReport(const CheckReport& report, const Terminal& terminal);

}  // namespace quorvel
