#pragma once

#include <memory>
#include <string_view>

#include "cli/CommandLine.h"
#include "cli/Console.h"
#include "cli/JsonWriter.h"
#include "cli/Report.h"
#include "cli/fleet/Fleet.h"

namespace quorvel {

/// As an object of the schema "quorvel-fleet/1".
void writeHost(JsonWriter& json, const HostReport& report);

/// Prints a fleet, a host at a time, so that only one is in memory.
class FleetPrinter {
public:
    virtual ~FleetPrinter() = default;

    /// After `head` has its outcome. Once, before the hosts.
    virtual void begin() {}
    /// In the order of names.
    virtual void add(const HostReport& report) = 0;
    virtual void end() = 0;

    /// Whether all of it could be written.
    ExitStatus status = ExitStatus::nothingNewer;

protected:
    /// After a failure, which has been said, nothing more is written.
    void print(std::string_view text) {
        if (status == ExitStatus::nothingNewer) status = console::print(text);
    }
};

/// By application, or with `--host` the table of each host. What is held by reference outlives the printer.
std::unique_ptr<FleetPrinter> makeTablePrinter(const CommandLine& line, const Fleet& fleet,
                                               const ReportHead& head);

/// One document of the schema "quorvel-fleet/1", or the same in lines: of each failed inventory, of each
/// host, and of the whole.
std::unique_ptr<FleetPrinter> makeJsonPrinter(bool inLines, const Fleet& fleet, const ReportHead& head);

}  // namespace quorvel
