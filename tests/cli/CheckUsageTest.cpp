#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <nlohmann/json.hpp>
#include <regex>
#include <set>
#include <sstream>
#include <utility>

#include "cli/CheckProgramFixture.h"

namespace quorvel {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

/// What the program says apart from a check, and of its command line.
class CheckUsageTest : public CheckProgramTest {};

TEST_F(CheckUsageTest, saysThatItsOutputIsLost) {
    const std::string emptyCheck = check + " --catalog http://127.0.0.1:1/v1 --root " + folder.path.string() +
                                   " --data-dir " + (folder.path / "data").string();
    for (const auto& command : {check + " --version", statusItem + " --version", catalog + " --version",
                                catalog + " --data " SOURCE_ROOT "/demo/catalog.json", emptyCheck}) {
        for (const char* redirection : {" >/dev/full", " >&-"}) {
            const auto cut = Process({"/bin/sh", "-c", command + redirection}).finish();
            EXPECT_EQ(cut.status, 1) << command << redirection;
            const auto end = command.starts_with(catalog) ? "." : ": ";
            EXPECT_TRUE(cut.errors.contains(std::string(": Could not write to standard output") + end))
                << cut.errors;
        }
    }
}

TEST_F(CheckUsageTest, refusesWrongUsageWithAReasonAndHelps) {
    const std::string noFolders =
        "--inventory stands in place of folders: neither --root nor --system-root goes with it.";
    const std::vector<std::pair<std::vector<std::string>, std::string>> rows{
        {{check, "--jsno"}, "There is no option --jsno. Did you mean --json?"},
        {{check, "--frobnicate"}, "There is no option --frobnicate."},
        {{check, "--ex"}, "--ex can stand for several options: --exit-zero, --explain."},
        {{check, "-x"}, "There is no option -x."},
        {{check, "--", "--json"}, "There is no use for the word --json."},
        {{check, "--os-version=14.5.0.1"}, "--os-version: 14.5.0.1 is not of the form X.Y.Z."},
        {{check, "--catalog", "ftp://x"}, "--catalog: ftp://x is no https or http address."},
        {{check, "--timeout", "0"}, "--timeout takes a number of seconds from 1 to 3600, not 0."},
        {{check, "--timeout", "3601"}, "--timeout takes a number of seconds from 1 to 3600, not 3601."},
        {{check, "--data-dir="}, "--data-dir needs a value."},
        {{check, "--root"}, "--root needs a value."},
        {{check, "--all=yes"}, "--all takes no value."},
        {{check, "--ignore", "a", "--explain", "b"},
         "Only one of --show-request, --explain, --ignore and --unignore can be done at a time."},
        {{check, "--json", "--show-request"}, "--json goes with a check, and with nothing in place of one."},
        {{check, "--inventory", "x", "--root", "y"}, noFolders},
        {{check, "--inventory", "x", "--system-root", "/"}, noFolders},
        {{check, "--inventory", "x", "--explain", "y"},
         "--explain, --ignore and --unignore are about this Mac, and do not go with --inventory."},
        {{check, "--inventory", "x", "--json", "--json-lines"},
         "Only one of --json and --json-lines can be printed at a time."},
        {{check, "--inventory", "x", "--show-request", "--json-lines"},
         "--json-lines goes with a check, and with nothing in place of one."},
        {{check, "--unignore", "x", "--prometheus", "y"},
         "--prometheus goes with a check, and with nothing in place of one."},
        {{check, "--json-lines"}, "--json-lines needs an --inventory."},
        {{check, "--host", "x"}, "--host needs an --inventory."},
        {{statusItem, "--actoin", "about"}, "There is no option --actoin. Did you mean --action?"},
        {{statusItem, "--action", "dance"}, "There is no action dance; --help lists them."},
        {{statusItem, "--catalog", "ftp://x"}, "--catalog: ftp://x is no https or http address."},
        {{catalog, "--scenario", "odd"}, "There is no scenario odd; --help lists them."},
        {{catalog, "--port", "65536"}, "--port takes a number from 0 to 65535, not 65536."},
        {{catalog, "--data", "x", "--key", "y"}, "--certificate and --key go together."},
    };
    for (const auto& program : {check, statusItem, catalog}) {
        std::istringstream lines(Process({program, "--help"}).finish().output);
        std::string line;
        EXPECT_TRUE(std::getline(lines, line) && line.starts_with("Usage: ")) << program;
        for (; std::getline(lines, line);)
            EXPECT_LE(line.size(), 80U) << "a terminal is not wider: " << line;
    }
    for (const auto& [words, complaint] : rows) {
        const auto result = Process(words).finish();
        const auto name = fs::path(words[0]).filename().string();
        EXPECT_EQ(result.status, 2) << complaint;
        EXPECT_EQ(result.errors, name + ": " + complaint + " Try " +
                                     (words[0] == catalog ? "--help." : "'" + name + " --help'.") + "\n");
        EXPECT_EQ(result.output, "") << complaint;
    }
}

TEST_F(CheckUsageTest, showsTheDemonstrationsAsTheirTablesAndTheReadmeSay) {
    server.emplace(std::vector<std::string>{catalog, "--data", SOURCE_ROOT "/demo/catalog.json"});
    const auto url = server->readLine();
    const auto demonstrate = [&](std::vector<std::string> options) {
        options.insert(options.begin(), {"/usr/bin/env", "-C", SOURCE_ROOT, check, "--data-dir",
                                         (folder.path / "data").string(), "--catalog", url});
        return Process(std::move(options)).finish().output;
    };
    const std::vector<std::string> mac{"--system-root", "demo/system"},
        fleet{"--inventory", "demo/inventories"};
    const auto with = [](std::vector<std::string> options, const std::string& more) {
        options.push_back(more);
        return options;
    };
    const auto readme = TemporaryFolder::contentOf(SOURCE_ROOT "/README.md");
    for (const auto& options : {with(mac, "--all"), fleet}) {
        const auto table = demonstrate(options);
        EXPECT_TRUE(readme.contains("```\n" + table + "```\n")) << table;
    }

    std::map<std::string, std::string> outcomes;
    const auto note = [&](const json& host, const auto& keyOf) {
        for (const char* list : {"updates", "skipped", "issues"}) {
            for (const auto& app : host.at(list)) {
                outcomes[keyOf(app)] =
                    (list == std::string("issues") ? "issue: " : "") +
                    (app.contains("reason") ? app.at("reason").get<std::string>()
                                            : "update to " + app.at("available_version").get<std::string>());
            }
        }
    };
    const auto report = document(demonstrate(with(mac, "--json")));
    EXPECT_EQ(report.at("os_version").get<std::string>() + " of " +
                  report.at("os_version_source").get<std::string>(),
              "14.5.0 of system");
    note(report, [](const json& app) {
        return fs::path(app.at("path")).lexically_relative(SOURCE_ROOT "/demo/system").string();
    });
    const auto reportOfFleet = fleetDocument(demonstrate(with(fleet, "--json")));
    for (const auto& host : reportOfFleet.at("hosts")) {
        note(host, [&](const json& app) {
            return host.at("host").get<std::string>() + " " + app.at("name").get<std::string>() +
                   (app.at("path").get<std::string>().starts_with("/Users/") ? ", of a user" : "");
        });
    }

    // Each row reads "| `path` | kind | purpose | outcome |" or "| host | application | purpose | outcome |".
    const std::regex row(R"(^\| (?:`([^`]+)`|([a-z]+-[a-z0-9.]+) \| ([^|]+)) \|.*\| `?(.+?)`? \|$)");
    const std::set<std::string> absences{"not found", "left out", "outside"};
    std::istringstream lines(TemporaryFolder::contentOf(SOURCE_ROOT "/demo/README.md"));
    std::size_t found = 0;
    std::smatch match;
    for (std::string line; std::getline(lines, line);) {
        if (!std::regex_match(line, match, row)) continue;
        const auto key = match[1].matched ? match[1].str() : match[2].str() + " " + match[3].str();
        const bool isAbsent = absences.contains(match[4]);
        EXPECT_EQ(outcomes.contains(key) ? outcomes[key] : "absent", isAbsent ? "absent" : match[4].str())
            << key;
        found += isAbsent ? 0 : 1;
    }
    EXPECT_EQ(found, outcomes.size()) << "each application is described";
}

}  // namespace
}  // namespace quorvel
