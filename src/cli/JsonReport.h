#pragma once

#include <chrono>
#include <string>
#include <string_view>

#include "cli/JsonWriter.h"
#include "cli/Report.h"

/// The pieces of which every JSON document of quorvel-check consists: members of the object that is open.
namespace quorvel {

void writeHead(JsonWriter& json, std::string_view schema, const ReportHead& head);
void writeSystem(JsonWriter& json, const RunningSystem& system);
/// The lists, in an order that no locale decides.
void writeVerdicts(JsonWriter& json, const HostReport& report);

/// ISO 8601, UTC, to the second.
std::string timestamp(std::chrono::system_clock::time_point time);

}  // namespace quorvel
