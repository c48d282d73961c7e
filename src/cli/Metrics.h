#pragma once

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "cli/Console.h"
#include "cli/ReportHead.h"

namespace quorvel {

/// The outcome of a check as metrics in Prometheus's text format, for node_exporter's textfile collector. No
/// label names an application, of which there is no bound.
class Metrics {
public:
    struct Host {
        std::string_view name;
        std::size_t apps = 0;
        /// Newer versions that are not ignored.
        std::size_t updates = 0;
        /// When the inventory was collected, where it says.
        std::optional<std::chrono::system_clock::time_point> collectedAt;
    };

    void add(const Host& host);

    /// Replaces the file in one step, so that a collector sees all of it or what was there before. The time
    /// of the last success is taken over from the file where this check failed. A failure is said.
    ExitStatus write(const std::filesystem::path& file, const ReportHead& head, std::size_t unreadableHosts);

private:
    std::string updates;
    std::string applications;
    std::string timestamps;
    std::size_t hosts = 0;
};

}  // namespace quorvel
