#include "cli/Metrics.h"

#include <concepts>

#include "platform/Files.h"
#include "platform/text/Text.h"

namespace quorvel {

namespace {

constexpr std::string_view lastSuccess = "quorvel_last_success_timestamp_seconds";
/// What this program writes for 100,000 hosts is a twentieth of it.
constexpr std::size_t maxFormerFile = 256 * 1024 * 1024;

/// The value of a label, between quotes.
std::string labelValue(std::string_view value) {
    std::string escaped;
    for (const char byte : text::repairedUtf8(value)) {
        if (byte == '"' || byte == '\\') escaped += '\\';
        escaped += byte == '\n' ? "\\n" : std::string(1, byte);
    }
    return escaped;
}

std::string sample(std::string_view metric, std::string_view host, std::integral auto value) {
    return std::string(metric) + "{host=\"" + labelValue(host) + "\"} " + std::to_string(value) + "\n";
}

/// A metric's samples with what describes them; nothing where there are none.
std::string family(std::string_view metric, std::string_view help, const std::string& samples) {
    if (samples.empty()) return "";
    const std::string name(metric);
    return "# HELP " + name + " " + std::string(help) + "\n# TYPE " + name + " gauge\n" + samples;
}

std::string plainSample(std::string_view metric, std::string_view value) {
    return std::string(metric) + " " + std::string(value) + "\n";
}

/// The sample's line in a file that this program wrote; nothing where there is none.
std::string formerSuccess(const std::filesystem::path& file) {
    const std::string content = "\n" + files::read(file, maxFormerFile).value_or("");
    const std::string start = "\n" + std::string(lastSuccess) + " ";
    const auto found = content.rfind(start);
    if (found == std::string::npos) return "";
    const auto value = std::string_view(content).substr(found + start.size());
    const auto digits = value.substr(0, value.find('\n'));
    if (digits.empty() || digits.find_first_not_of("0123456789") != std::string_view::npos) return "";
    return plainSample(lastSuccess, digits);
}

std::string outcomeSamples(ReportHead::Outcome outcome) {
    std::string samples;
    for (const auto each :
         {ReportHead::Outcome::complete, ReportHead::Outcome::partial, ReportHead::Outcome::failed}) {
        samples += "quorvel_outcome{outcome=\"" + std::string(name(each)) + "\"} " +
                   (each == outcome ? "1" : "0") + "\n";
    }
    return samples;
}

}  // namespace

void Metrics::add(const HostReport& host) {
    ++hosts;
    updates += sample("quorvel_updates", host.name, host.newer());
    applications += sample("quorvel_applications", host.name, host.apps);
    if (host.collectedAt) {
        timestamps += sample("quorvel_inventory_timestamp_seconds", host.name,
                             host.collectedAt->time_since_epoch().count());
    }
}

ExitStatus Metrics::write(const CommandLine& line, const ReportHead& head,
                          std::size_t unreadableHosts) const {
    if (!line.prometheus) return ExitStatus::nothingNewer;
    const auto& file = *line.prometheus;
    // Any user's collector reads it; nothing in it is secret that was not on every host's list.
    constexpr mode_t readableByAll = 0644;
    const bool hasFailed = head.hasFailed();
    const std::string now = std::to_string(std::chrono::system_clock::to_time_t(head.checkedAt));
    const std::string text =
        family("quorvel_updates", "Newer versions of applications on the host, without ignored ones.",
               hasFailed ? "" : updates) +
        family("quorvel_applications", "Applications in the host's inventory.", applications) +
        family("quorvel_inventory_timestamp_seconds", "When the host's inventory was collected.",
               timestamps) +
        family("quorvel_hosts", "Hosts whose inventory was read.",
               plainSample("quorvel_hosts", std::to_string(hosts))) +
        family("quorvel_hosts_unreadable", "Hosts or files whose inventory could not be read.",
               plainSample("quorvel_hosts_unreadable", std::to_string(unreadableHosts))) +
        family("quorvel_outcome", "How the last check went: one of the three is 1.",
               outcomeSamples(head.outcome)) +
        family(lastSuccess, "When a check last brought a result, also a partial one.",
               hasFailed ? formerSuccess(file) : plainSample(lastSuccess, now));
    if (files::writeAtomically(file, text, readableByAll)) return ExitStatus::nothingNewer;
    return console::fail(ExitStatus::unexpected, "Could not write " + file.string() + ".");
}

}  // namespace quorvel
