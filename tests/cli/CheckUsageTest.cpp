#include <filesystem>
#include <gtest/gtest.h>
#include <sstream>
#include <utility>

#include "cli/CheckProgramFixture.h"
#include "support/ScopedVariable.h"

namespace quorvel {
namespace {

namespace fs = std::filesystem;

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
        const ScopedVariable unusable("QUORVEL_CATALOG_URL", "ftp://x");
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

TEST_F(CheckUsageTest, showsTheDemonstrationsAsTheReadmeSays) {
    server.emplace(std::vector<std::string>{catalog, "--data", SOURCE_ROOT "/demo/catalog.json"});
    url = server->readLine();
    const auto demonstrate = [&](const std::string& options) {
        const auto command = "cd " SOURCE_ROOT " && " + check + " --data-dir " + folder.path.string() +
                             "/data --catalog " + url + options;
        return Process({"/bin/sh", "-c", command}).finish().output;
    };
    const auto readme = TemporaryFolder::contentOf(SOURCE_ROOT "/README.md");
    for (const char* options : {" --system-root demo/system --all", " --inventory demo/inventories"}) {
        const auto table = demonstrate(options);
        EXPECT_TRUE(readme.contains("```\n" + table + "```\n")) << table;
    }
    const auto all = demonstrate(" --inventory demo/inventories --all");
    for (const char* part : {"\n\nNo newer version (8)\n"
                             "  APPLICATION       HOSTS  REASON\n"
                             "  Amberleaf         1      requires 12.0\n",
                             "\n\nNot listed (2)\n"
                             "  APPLICATION  HOSTS  REASON\n"
                             "  Fallowmere   1      no version\n",
                             "not known; 3 bundles outside the application folders left out.\n"})
        EXPECT_TRUE(all.contains(part)) << all;
    EXPECT_EQ(document(demonstrate(" --system-root demo/system --json")).at("os_version_source"), "system");
    const auto fleet = fleetDocument(demonstrate(" --inventory demo/inventories --json"));
    std::string systems;
    for (const auto& each : fleet.at("hosts"))
        systems +=
            each.at("os_version").dump() + " of " + each.at("os_version_source").get<std::string>() + ", ";
    EXPECT_EQ(systems, "\"11.7.10\" of inventory, null of unknown, \"14.5.0\" of inventory, ");
}

}  // namespace
}  // namespace quorvel
