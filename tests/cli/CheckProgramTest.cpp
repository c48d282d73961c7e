#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <pty.h>
#include <regex>
#include <sstream>

#include "support/ForkedChild.h"
#include "support/Process.h"
#include "support/TemporaryFolder.h"

namespace quorvel {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

const std::string check = PROGRAM_FOLDER "/quorvel-check";
const std::string catalog = PROGRAM_FOLDER "/quorvel-catalog";

class CheckProgramTest : public testing::Test {
protected:
    void installApps(std::size_t count) {
        for (std::size_t index = 0; index < count; ++index) {
            const auto number = std::to_string(index);
            folder.write(
                "Applications/App " + number + ".app/Contents/Info.plist",
                "<plist version=\"1.0\"><dict><key>CFBundleIdentifier</key><string>com.example." + number +
                    "</string><key>CFBundleShortVersionString</key><string>1.0</string></dict></plist>");
        }
    }

    /// A catalog that knows the first `entries` applications, in version 2.0.
    std::string startCatalog(std::size_t entries, std::vector<std::string> options = {}) {
        json data = json::array();
        for (std::size_t index = 0; index < entries; ++index) {
            const auto number = std::to_string(index);
            data.push_back({{"id", index + 1},
                            {"title", "App " + number},
                            {"version", "2.0"},
                            {"bundle_identifiers", {"com.example." + number}}});
        }
        std::vector<std::string> arguments{
            catalog, "--data", folder.write("catalog.json", json{{"entries", data}}.dump()).string(),
            "--record", (folder.path / "record").string()};
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

    /// All that is written where both streams are a terminal.
    std::string runOnTerminal(unsigned short columns, std::vector<std::string> options) const {
        auto words = command(std::move(options));
        std::vector<char*> list;
        for (auto& word : words)
            list.push_back(word.data());
        list.push_back(nullptr);
        const winsize size{.ws_row = 24, .ws_col = columns, .ws_xpixel = 0, .ws_ypixel = 0};
        int terminal = -1;
        const pid_t child = forkpty(&terminal, nullptr, nullptr, &size);
        if (child == 0) {
            execv(list[0], list.data());
            _exit(127);
        }
        const std::string output = forkedChild::readToEnd(terminal);
        close(terminal);
        waitpid(child, nullptr, 0);
        return output;
    }

    /// The paths below /v1 that the catalog was asked for, in order.
    std::vector<std::string> recordedPaths() const {
        std::vector<std::string> paths;
        std::istringstream lines(folder.read("record"));
        for (std::string line; std::getline(lines, line);) {
            paths.push_back(json::parse(line).at("path").get<std::string>());
        }
        return paths;
    }

    TemporaryFolder folder;
    std::optional<Process> server;
};

TEST_F(CheckProgramTest, tellsEveryWayACheckCanEndByStatusAndDocument) {
    struct Row {
        std::string scenario;
        int status;
        std::string outcome, error;
        std::size_t updates;
    };
    const std::vector<Row> rows{
        {"", 100, "complete", "", 201},
        {"failing-chunks", 3, "partial", "Server returned HTTP 500", 200},
        {"blocked", 5, "failed", "Orbisto has blocked requests from your network (scanned 201 apps).", 0},
        {"no-apps", 0, "complete", "", 0},
        {"html", 5, "failed", "Response decode failed: The answer is not valid JSON", 0},
        {"cut", 4, "failed", "was lost before the answer was complete.", 0},
        {"malformed-entries", 100, "complete", "", 101},
        {"very-large", 5, "failed", "sent an answer longer than", 0},
        {"unregistered", 100, "complete", "", 201},
    };
    installApps(201);
    for (const auto& row : rows) {
        const auto url =
            startCatalog(201, row.scenario.empty() ? std::vector<std::string>{}
                                                   : std::vector<std::string>{"--scenario", row.scenario});
        const auto result = run({"--json", "--catalog", url});
        ASSERT_TRUE(json::accept(result.output)) << row.scenario << ": " << result.output << result.errors;
        const auto document = json::parse(result.output);
        const std::string error = document.at("error").is_null() ? "" : document.at("error");
        EXPECT_EQ(result.status, row.status) << row.scenario << ": " << result.errors;
        EXPECT_EQ(document.at("outcome"), row.outcome) << row.scenario;
        EXPECT_TRUE(row.error.empty() ? error.empty() : error.contains(row.error))
            << row.scenario << ": " << error;
        EXPECT_EQ(document.at("updates").size(), row.updates) << row.scenario;
        EXPECT_EQ(document.at("apps"), 201) << row.scenario;
        EXPECT_EQ(result.errors.empty(), error.empty()) << row.scenario << ": " << result.errors;
        std::filesystem::remove_all(folder.path / "data");
    }
}

TEST_F(CheckProgramTest, asksTheCatalogInTheOrderOfAFirstCheckAndThenOnlyWhatIsNew) {
    installApps(2);
    const auto url = startCatalog(1);
    EXPECT_EQ(run({"--catalog", url}).status, 100);
    const std::string base = "/v1";
    const auto first = recordedPaths();
    // The install event and "first_install" go out side by side, as does the first chunk; only what waits has
    // an order.
    ASSERT_EQ(first.size(), 5U);
    EXPECT_EQ(first.front(), base + "/qvl/instance");
    EXPECT_EQ(first.back(), base + "/qvl/tracking") << "the program must wait for its last request";
    EXPECT_EQ(std::ranges::count(first, base + "/event/app/64734/install"), 1);
    EXPECT_EQ(std::ranges::count(first, base + "/apps/auto-match-collection"), 1);

    EXPECT_EQ(run({"--catalog", url}).status, 100);
    const auto all = recordedPaths();
    EXPECT_EQ(std::vector<std::string>(all.begin() + 5, all.end()),
              (std::vector<std::string>{base + "/apps/auto-match-collection", base + "/qvl/tracking"}));
}

TEST_F(CheckProgramTest, anIgnoredVersionIsListedButIsNothingNew) {
    installApps(1);
    const auto url = startCatalog(1);
    folder.write("data/ignored_versions.json", R"({"com.example.0":{"appName":"App 0","version":"2.0"}})");
    const auto result = run({"--json", "--catalog", url});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(json::parse(result.output).at("updates"),
              json::array({{{"name", "App 0"},
                            {"bundle_identifier", "com.example.0"},
                            {"path", (folder.path / "Applications/App 0.app").string()},
                            {"installed_version", "1.0"},
                            {"available_version", "2.0"},
                            {"catalog_id", 1},
                            {"catalog_url", "https://www.orbisto.example/app/mac/1"},
                            {"ignored", true}}}));
}

TEST_F(CheckProgramTest, showsItsRequestsWithoutSendingOrTellingTheSecret) {
    installApps(201);
    const auto url = startCatalog(1);
    const auto result = run({"--show-request", "--catalog", url});
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_TRUE(recordedPaths().empty());
    EXPECT_FALSE(result.output.contains("Rk7vQm2XtLp9Wc4NbZs8Hy3JdGf6Ua5E"));
    EXPECT_TRUE(result.output.starts_with("POST " + url + "/qvl/instance\n{\"version\":\"")) << result.output;
    EXPECT_TRUE(
        result.output.contains("\n{\"secret\":\"********************************\",\"titles\":[\"App "));
    EXPECT_EQ(std::ranges::count(result.output, '\n'), 6) << "a line and a body for each of three requests";
    EXPECT_FALSE(std::filesystem::exists(folder.path / "data/instance_id.json"));
}

TEST_F(CheckProgramTest, findsNothingNewerWithoutAskingWhenNothingIsInstalled) {
    std::filesystem::create_directory(folder.path / "Applications");
    const auto result = run({"--json", "--catalog", "http://127.0.0.1:1/v1"});
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_EQ(json::parse(result.output).at("apps"), 0);
    EXPECT_TRUE(folder.read("data/error.log").contains("Scanner found 0 apps — skipping API call"));
}

TEST_F(CheckProgramTest, saysWhoCouldNotBeReached) {
    installApps(1);
    const auto result = run({"--json", "--catalog", "http://127.0.0.1:1/v1"});
    EXPECT_EQ(result.status, 4);
    EXPECT_EQ(json::parse(result.output).at("error"),
              "Failed to check for updates (scanned 1 apps): Could not connect to 127.0.0.1:1: connection "
              "refused.");
    EXPECT_TRUE(folder.read("data/error.log").contains("Chunk 1/1 failed: Could not connect to 127.0.0.1:1"));
}

TEST_F(CheckProgramTest, onATerminalShowsHowFarItIsAndCutsItsTableToFit) {
    struct Row {
        const char *terminal, *noColour;
        bool isColoured, hasControls;
    };
    const Row rows[] = {{"xterm", nullptr, true, true},
                        {"xterm", "1", false, true},
                        {"xterm", "", true, true},
                        {"dumb", nullptr, false, false}};
    installApps(201);
    const auto url = startCatalog(201);
    for (const auto& [terminal, noColour, isColoured, hasControls] : rows) {
        setenv("TERM", terminal, 1);
        noColour == nullptr ? unsetenv("NO_COLOR") : setenv("NO_COLOR", noColour, 1);
        const auto output = runOnTerminal(20, {"--catalog", url});
        EXPECT_EQ(output.contains("\r\x1b[KAsking the catalog: 2 of 2"), hasControls) << output;
        EXPECT_EQ(output.contains("\x1b[1;32m"), isColoured) << output;
        EXPECT_EQ(output.contains("…"), hasControls) << output;
    }
}

TEST_F(CheckProgramTest, worksWithoutAStorageFolder) {
    installApps(1);
    folder.write("data", "a file where the folder should be");
    EXPECT_EQ(run({"--catalog", startCatalog(1)}).status, 100);
    EXPECT_EQ(folder.read("data"), "a file where the folder should be");
}

TEST_F(CheckProgramTest, exitsWithZeroWhenAskedTo) {
    installApps(1);
    EXPECT_EQ(run({"--exit-zero", "--catalog", startCatalog(1)}).status, 0);
    EXPECT_EQ(run({"--exit-zero", "--catalog", "http://127.0.0.1:1/v1"}).status, 4);
}

TEST_F(CheckProgramTest, refusesWrongUsageWithAReason) {
    std::filesystem::create_directory(folder.path / "Applications");
    const std::vector<std::pair<std::vector<std::string>, std::string>> rows{
        {{"--al"}, "unknown argument --al"},
        {{"file"}, "unknown argument file"},
        {{"--os-version", "14.x"}, "--os-version: 14.x is not of the form X.Y.Z."},
        {{"--os-version", "14.5.0.1"}, "--os-version: 14.5.0.1 is not of the form X.Y.Z."},
        {{"--catalog", "ftp://x"}, "--catalog: ftp://x is no https or http address."},
        {{"--root", "/nowhere/at/all"}, "--root: there is no folder /nowhere/at/all."},
        {{"--data-dir="}, "--data-dir needs a value."},
        {{"--all=yes"}, "unknown argument --all=yes"},
    };
    for (const auto& [options, complaint] : rows) {
        const auto result = run(options);
        EXPECT_EQ(result.status, 2) << options[0];
        EXPECT_TRUE(result.errors.contains(complaint)) << result.errors;
        EXPECT_EQ(result.output, "") << options[0];
    }
    EXPECT_EQ(Process({check, "--root"}).finish().errors,
              "quorvel-check: --root needs a value.\nTry 'quorvel-check --help'.\n");
}

TEST_F(CheckProgramTest, showsTheDemonstrationAsItsTableSays) {
    server.emplace(std::vector<std::string>{catalog, "--data", SOURCE_ROOT "/demo/catalog.json"});
    const auto result = Process({check, "--system-root", SOURCE_ROOT "/demo/system", "--data-dir",
                                 (folder.path / "data").string(), "--json", "--catalog", server->readLine()})
                            .finish();
    const auto document = json::parse(result.output);
    EXPECT_EQ(document.at("os_version"), "14.5.0");
    std::map<std::string, std::string> outcomes;
    const auto note = [&](const json& app, const std::string& outcome) {
        const fs::path path = app.at("path").get<std::string>();
        outcomes[path.lexically_relative(SOURCE_ROOT "/demo/system").string()] = outcome;
    };
    for (const auto& app : document.at("updates")) {
        note(app, "update to " + app.at("available_version").get<std::string>());
    }
    for (const auto& app : document.at("skipped"))
        note(app, app.at("reason"));
    for (const auto& app : document.at("issues"))
        note(app, "issue: " + app.at("reason").get<std::string>());

    // Each row of the table reads "| `path` | kind | purpose | outcome |".
    const std::regex row(R"(^\| `([^`]+)` \|.*\| `?(.+?)`? \|$)");
    std::istringstream table(TemporaryFolder::contentOf(SOURCE_ROOT "/demo/README.md"));
    std::size_t rows = 0;
    std::smatch match;
    for (std::string line; std::getline(table, line);) {
        if (!std::regex_match(line, match, row)) continue;
        const auto found = outcomes.find(match[1]);
        const bool absent = match[2] == "not found" || match[2] == "left out";
        EXPECT_EQ(found == outcomes.end() ? "absent" : found->second, absent ? "absent" : match[2].str())
            << match[1];
        ++rows;
    }
    EXPECT_GT(rows, 35U);
}

}  // namespace
}  // namespace quorvel
