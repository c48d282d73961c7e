#pragma once

#include <cstddef>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "support/Process.h"
#include "support/TemporaryFolder.h"

namespace quorvel {

inline const std::string check = PROGRAM_FOLDER "/quorvel-check";
inline const std::string statusItem = PROGRAM_FOLDER "/quorvel";
inline const std::string catalog = PROGRAM_FOLDER "/quorvel-catalog";

/// Runs quorvel-check over applications of its own against a sample catalog.
class CheckProgramTest : public testing::Test {
protected:
    void installApp(const std::string& name, const std::string& identifier,
                    const std::string& version) const {
        const auto entry = [](const std::string& key, const std::string& text) {
            return "<key>CFBundle" + key + "</key><string>" + text + "</string>";
        };
        folder.write("Applications/" + name + ".app/Contents/Info.plist",
                     "<plist version=\"1.0\"><dict>" + entry("Identifier", identifier) +
                         entry("ShortVersionString", version) +
                         (version.empty() ? "" : entry("Version", "7")) + "</dict></plist>");
    }

    void installApps(std::size_t count) const {
        for (std::size_t index = 0; index < count; ++index) {
            const auto number = std::to_string(index);
            installApp("App " + number, "com.example." + number, "1.0");
        }
    }

    /// A catalog that knows the first `entries` applications, in version 2.0.
    std::string startCatalog(std::size_t entries, std::vector<std::string> options = {}) {
        nlohmann::json data = nlohmann::json::array();
        for (std::size_t index = 0; index < entries; ++index) {
            const auto number = std::to_string(index);
            data.push_back({{"id", index + 1},
                            {"title", "App " + number},
                            {"version", "2.0"},
                            {"bundle_identifiers", {"com.example." + number}}});
        }
        std::vector<std::string> arguments{
            catalog, "--data",
            folder.write("catalog.json", nlohmann::json{{"entries", data}}.dump()).string(), "--record",
            (folder.path / "record").string()};
        arguments.insert(arguments.end(), options.begin(), options.end());
        server.emplace(std::move(arguments));
        return server->readLine();
    }

    std::vector<std::string> command(std::vector<std::string> options) const {
        options.insert(options.begin(), check);
        options.insert(options.end(), {"--root", (folder.path / "Applications").string(), "--data-dir",
                                       (folder.path / "data").string(), "--os-version", "14.5.0"});
        return options;
    }

    Process::Result run(std::vector<std::string> options) const {
        return Process(command(std::move(options))).finish();
    }

    /// All that is written where both streams are a terminal of 40 columns.
    std::string runOnTerminal(std::vector<std::string> options) const {
        return Process(command(std::move(options)), 40).finish().output;
    }

    /// What the catalog was asked for: paths and bodies, in order.
    std::vector<std::string> recorded() const {
        std::vector<std::string> requests;
        std::istringstream lines(folder.read("record"));
        for (std::string line; std::getline(lines, line);) {
            const auto record = nlohmann::json::parse(line);
            requests.push_back(record.at("path").get<std::string>() + " " +
                               record.at("body").get<std::string>());
        }
        return requests;
    }

    /// A check's one document, which is held against the schema when the test ends.
    nlohmann::json document(const Process::Result& result) {
        return document(result.output, result.errors, documents);
    }
    /// The same of a fleet, or one of its lines.
    nlohmann::json fleetDocument(const std::string& output, const std::string& errors = "") {
        return document(output, errors, fleetDocuments);
    }

    void TearDown() override {
        holdAgainst("quorvel-check-1", documents);
        holdAgainst("quorvel-fleet-1", fleetDocuments);
    }

    nlohmann::json document(const std::string& output, const std::string& errors,
                            std::vector<std::string>& list) const {
        EXPECT_TRUE(nlohmann::json::accept(output)) << output << errors;
        const auto name = "document" + std::to_string(documents.size() + fleetDocuments.size()) + ".json";
        list.push_back(folder.write(name, output).string());
        return nlohmann::json::parse(output, nullptr, false);
    }

    static void holdAgainst(const std::string& schema, const std::vector<std::string>& list) {
        if (list.empty()) return;
        std::vector<std::string> command{JSONSCHEMA};
        for (const auto& name : list)
            command.insert(command.end(), {"-i", name});
        command.push_back(SOURCE_ROOT "/packaging/schema/" + schema + ".schema.json");
        const auto verdict = Process(std::move(command)).finish();
        EXPECT_EQ(verdict.status, 0) << verdict.output << verdict.errors;
    }

    TemporaryFolder folder;
    std::optional<Process> server;
    std::vector<std::string> documents;
    std::vector<std::string> fleetDocuments;
};

}  // namespace quorvel
