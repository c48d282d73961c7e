#pragma once

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "cli/Console.h"
#include "cli/Report.h"

namespace quorvel {

/// The outcome of a check as metrics in Prometheus's text format, for node_exporter's textfile collector. No
/// label names an application, of which there is no bound.
class Metrics {
public:
    void add(const HostReport& host);

    /// Replaces the file in one step, so that a collector sees all of it or what was there before. The time
    /// of the last success is taken over from the file where this check failed. A failure is said.
    /// Does nothing where the command line names no file.
    ExitStatus write(const CommandLine& line, const ReportHead& head, std::size_t unreadableHosts) const;

private:
    std::string updates;
    std::string applications;
    std::string timestamps;
    std::size_t hosts = 0;
};

}  // namespace quorvel
