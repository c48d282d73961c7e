#include <unistd.h>

#include "cli/JsonEntries.h"
#include "cli/fleet/FleetReport.h"

namespace quorvel {

namespace {

constexpr std::string_view schema = "quorvel-fleet/1";

ApplicationEntry entry(const FleetApp& app) {
    return {app.name, app.identifier, app.path, app.version};
}

std::optional<std::string> isoTime(const std::optional<std::chrono::sys_seconds>& time) {
    return time ? std::optional(timestamp(*time)) : std::nullopt;
}

void writeSystem(JsonWriter& json, const std::optional<RunningSystem>& system) {
    json.member("os_version", system ? std::optional(toText(system->version)) : std::nullopt);
    json.member("os_version_source", !system                                          ? "unknown"
                                     : system->source == RunningSystem::Source::given ? "given"
                                                                                      : "inventory");
}

void writeFailure(JsonWriter& json, const FleetFailure& failure) {
    json.beginObject();
    json.member("source", failure.source);
    json.member("host", failure.host);
    json.member("code", name(failure.code));
    json.member("reason", failure.reason);
    json.endObject();
}

class JsonPrinter : public FleetPrinter {
public:
    JsonPrinter(const Fleet& fleet, const ReportHead& head, JsonWriter::Layout layout)
        : fleet(fleet), head(head), json(layout, isatty(STDOUT_FILENO) != 0) {}

protected:
    /// What has been written so far.
    void flush() {
        print(json.text);
        json.text.clear();
    }

    const Fleet& fleet;
    const ReportHead& head;
    JsonWriter json;
};

class DocumentPrinter final : public JsonPrinter {
public:
    DocumentPrinter(const Fleet& fleet, const ReportHead& head)
        : JsonPrinter(fleet, head, JsonWriter::Layout::indented) {}

    void begin() override {
        json.beginObject();
        writeHead(json, schema, head);
        json.beginArray("hosts");
    }

    void add(const HostReport& report) override {
        writeHost(json, report);
        flush();
    }

    void end() override {
        json.endArray();
        json.beginArray("failed");
        for (const auto& failure : fleet.failures)
            writeFailure(json, failure);
        json.endArray();
        json.endObject();
        json.endText();
        flush();
    }
};

class LinesPrinter final : public JsonPrinter {
public:
    LinesPrinter(const Fleet& fleet, const ReportHead& head)
        : JsonPrinter(fleet, head, JsonWriter::Layout::lines) {}

    void begin() override {
        for (const auto& failure : fleet.failures) {
            writeFailure(json, failure);
            endLine();
        }
    }

    void add(const HostReport& report) override {
        writeHost(json, report);
        endLine();
    }

    void end() override {
        json.beginObject();
        writeHead(json, schema, head);
        json.member("hosts", fleet.hosts.size());
        json.member("failed", fleet.failures.size());
        json.endObject();
        endLine();
    }

private:
    void endLine() {
        json.endText();
        flush();
    }
};

}  // namespace

void writeHost(JsonWriter& json, const HostReport& report) {
    const FleetHost& host = report.host;
    json.beginObject();
    json.member("host", host.name);
    json.member("source", report.source);
    json.member("collected_at", isoTime(host.collectedAt));
    writeSystem(json, report.system);
    json.member("apps", host.apps.size());
    json.member("outside", host.outside);
    json.beginArray("updates");
    for (const auto& update : report.result.updates)
        writeUpdate(json, entry(*update.app), update.result->version, update.result->id, update.isIgnored);
    json.endArray();
    json.beginArray("skipped");
    for (const auto& skipped : report.result.skipped)
        writeSkipped(json, entry(*skipped.app), skipped.skip->code, skipped.skip->reason, skipped.isAnswered);
    json.endArray();
    json.beginArray("issues");
    for (const auto& issue : host.issues)
        writeIssue(json, issue, codeOf(issue));
    json.endArray();
    json.endObject();
}

std::unique_ptr<FleetPrinter> makeJsonPrinter(const Fleet& fleet, const ReportHead& head) {
    return std::make_unique<DocumentPrinter>(fleet, head);
}

std::unique_ptr<FleetPrinter> makeJsonLinesPrinter(const Fleet& fleet, const ReportHead& head) {
    return std::make_unique<LinesPrinter>(fleet, head);
}

}  // namespace quorvel
