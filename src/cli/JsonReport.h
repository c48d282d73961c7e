#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

#include "cli/JsonWriter.h"
#include "cli/Report.h"

/// The pieces of which every JSON document of quorvel-check consists.
namespace quorvel {

/// An application as an entry of one of the lists names it.
struct ApplicationEntry {
    std::string_view name;
    std::string_view bundleIdentifier;
    std::string_view path;
    std::string_view installedVersion;
};

/// Members of the object that is open.
void writeHead(JsonWriter& json, std::string_view schema, const ReportHead& head);

void writeUpdate(JsonWriter& json, const ApplicationEntry& app, std::string_view availableVersion,
                 std::int64_t catalogId, bool isIgnored);
/// `isAnswered`: see SkippedEntry.
void writeSkipped(JsonWriter& json, const ApplicationEntry& app, SkipCode code, std::string_view reason,
                  bool isAnswered);
void writeIssue(JsonWriter& json, const ScanIssue& issue, std::string_view code);

/// Of a bundle that could not be listed.
std::string_view codeOf(const ScanIssue& issue);

std::string_view name(ReportHead::Outcome outcome);

/// ISO 8601, UTC, to the second.
std::string timestamp(std::chrono::system_clock::time_point time);

}  // namespace quorvel
