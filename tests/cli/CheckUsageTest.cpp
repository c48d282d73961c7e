#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <nlohmann/json.hpp>
#include <regex>
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

TEST_F(CheckUsageTest, showsTheDemonstrationAsItsTableAndTheReadmeSay) {
    server.emplace(std::vector<std::string>{catalog, "--data", SOURCE_ROOT "/demo/catalog.json"});
    const auto url = server->readLine();
    const auto demonstrate = [&](const std::string& option) {
        return Process({"/usr/bin/env", "-C", SOURCE_ROOT, check, "--system-root", "demo/system",
                        "--data-dir", (folder.path / "data").string(), "--catalog", url, option})
            .finish();
    };
    const auto table = demonstrate("--all");
    EXPECT_TRUE(
        TemporaryFolder::contentOf(SOURCE_ROOT "/README.md").contains("```\n" + table.output + "```\n"))
        << table.output;
    const auto report = document(demonstrate("--json"));
    EXPECT_EQ(report.at("os_version"), "14.5.0");
    EXPECT_EQ(report.at("os_version_source"), "system");
    std::map<std::string, std::string> outcomes;
    for (const char* list : {"updates", "skipped", "issues"}) {
        for (const auto& app : report.at(list)) {
            const bool isUpdate = app.contains("available_version");
            const auto path = fs::path(app.at("path")).lexically_relative(SOURCE_ROOT "/demo/system");
            outcomes[path] = (isUpdate                        ? "update to "
                              : list == std::string("issues") ? "issue: "
                                                              : "") +
                             app.at(isUpdate ? "available_version" : "reason").get<std::string>();
        }
    }

    // Each row of the table reads "| `path` | kind | purpose | outcome |".
    const std::regex row(R"(^\| `([^`]+)` \|.*\| `?(.+?)`? \|$)");
    std::istringstream rowsOfTable(TemporaryFolder::contentOf(SOURCE_ROOT "/demo/README.md"));
    std::size_t rows = 0;
    std::smatch match;
    for (std::string line; std::getline(rowsOfTable, line);) {
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
