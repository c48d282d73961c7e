#pragma once

#include <algorithm>
#include <cstddef>
#include <gtest/gtest.h>
#include <map>
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

    /// Rows of an inventory that has the applications from number `first` on.
    static std::string rows(std::size_t first, std::size_t count, const std::string& host) {
        nlohmann::json list = nlohmann::json::array();
        for (std::size_t index = first; index < first + count; ++index) {
            const auto number = std::to_string(index);
            list.push_back({{"bundle_identifier", "com.example." + number},
                            {"bundle_name", "App " + number},
                            {"bundle_short_version", "1.0"},
                            {"hostname", host},
                            {"path", "/Applications/App " + number + ".app"}});
        }
        return list.dump();
    }

    /// Asks from now on a catalog that knows the first `entries` applications, in version 2.0.
    void startCatalog(std::size_t entries, std::vector<std::string> options = {}) {
        nlohmann::json data = nlohmann::json::array();
        for (std::size_t index = 0; index < entries; ++index) {
            const auto number = std::to_string(index);
            data.push_back({{"id", index + 1},
                            {"title", "App " + number},
                            {"version", "2.0"},
                            {"bundle_identifiers", {"com.example." + number}}});
        }
        options.insert(options.begin(),
                       {catalog, "--data",
                        folder.write("catalog.json", nlohmann::json{{"entries", data}}.dump()).string(),
                        "--record", (folder.path / "record").string()});
        server.emplace(std::move(options));
        url = server->readLine();
    }

    /// Over the applications, unless the options say over what.
    std::vector<std::string> command(std::vector<std::string> options) const {
        const bool isDefault = std::ranges::find(options, "--inventory") == options.end() &&
                               std::ranges::find(options, "--root") == options.end();
        if (isDefault) options.insert(options.end(), {"--root", (folder.path / "Applications").string()});
        options.insert(options.begin(), check);
        options.insert(options.end(), {"--data-dir", (folder.path / "data").string(), "--catalog", url});
        return options;
    }

    Process::Result run(std::vector<std::string> options) const {
        return Process(command(std::move(options))).finish();
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

    /// A check's one document, or a line, which is held against the schema when the test ends.
    nlohmann::json document(const std::string& output, const std::string& schema = "quorvel-check-1") {
        EXPECT_TRUE(nlohmann::json::accept(output)) << output;
        auto& list = documents[schema];
        list.push_back(folder.write(schema + std::to_string(list.size()) + ".json", output).string());
        return nlohmann::json::parse(output, nullptr, false);
    }
    nlohmann::json fleetDocument(const std::string& output) { return document(output, "quorvel-fleet-1"); }

    void TearDown() override {
        for (const auto& [schema, list] : documents) {
            std::vector<std::string> command{JSONSCHEMA};
            for (const auto& name : list)
                command.insert(command.end(), {"-i", name});
            command.push_back(SOURCE_ROOT "/packaging/schema/" + schema + ".schema.json");
            const auto verdict = Process(std::move(command)).finish();
            EXPECT_EQ(verdict.status, 0) << verdict.output << verdict.errors;
        }
    }

    TemporaryFolder folder;
    std::optional<Process> server;
    /// Nobody answers there.
    std::string url = "http://127.0.0.1:1/v1";
    /// Files by schema.
    std::map<std::string, std::vector<std::string>> documents;
};

}  // namespace quorvel
