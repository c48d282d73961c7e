#include <unistd.h>

#include "cli/JsonReport.h"
#include "cli/fleet/FleetReport.h"

namespace quorvel {

namespace {

constexpr std::string_view schema = "quorvel-fleet/1";

void writeFailure(JsonWriter& json, const FleetFailure& failure) {
    json.beginObject();
    json.member("source", failure.source);
    json.member("host", failure.host);
    json.member("code", name(failure.code));
    json.member("reason", failure.reason);
    json.endObject();
}

class JsonPrinter final : public FleetPrinter {
public:
    JsonPrinter(bool inLines, const Fleet& fleet, const ReportHead& head)
        : inLines(inLines),
          fleet(fleet),
          head(head),
          json(inLines ? JsonWriter::Layout::lines : JsonWriter::Layout::indented,
               isatty(STDOUT_FILENO) != 0) {}

    void begin() override {
        if (inLines) return writeFailures();
        json.beginObject();
        writeHead(json, schema, head);
        json.beginArray("hosts");
    }

    void add(const HostReport& report) override {
        writeHost(json, report);
        flush();
    }

    void end() override {
        if (inLines) {
            json.beginObject();
            writeHead(json, schema, head);
            json.member("hosts", fleet.hosts.size());
            json.member("failed", fleet.failures.size());
        } else {
            json.endArray();
            json.beginArray("failed");
            writeFailures();
            json.endArray();
        }
        json.endObject();
        json.endText();
        print(json.text);
    }

private:
    void writeFailures() {
        for (const auto& failure : fleet.failures) {
            writeFailure(json, failure);
            flush();
        }
    }

    /// What has been written so far; of lines, a whole one.
    void flush() {
        if (inLines) json.endText();
        print(json.text);
        json.text.clear();
    }

    const bool inLines;
    const Fleet& fleet;
    const ReportHead& head;
    JsonWriter json;
};

}  // namespace

void writeHost(JsonWriter& json, const HostReport& report) {
    json.beginObject();
    json.member("host", report.name);
    json.member("source", report.source);
    json.member("collected_at",
                report.collectedAt ? std::optional(timestamp(*report.collectedAt)) : std::nullopt);
    writeSystem(json, report.system);
    json.member("apps", report.apps);
    json.member("outside", report.outside);
    writeVerdicts(json, report);
    json.endObject();
}

std::unique_ptr<FleetPrinter> makeJsonPrinter(bool inLines, const Fleet& fleet, const ReportHead& head) {
    return std::make_unique<JsonPrinter>(inLines, fleet, head);
}

}  // namespace quorvel
