#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <optional>
#include <regex>
#include <set>
#include <unistd.h>
#include <utility>

#include "cli/CheckProgramFixture.h"
#include "platform/text/DisplayText.h"
#include "support/ScopedVariable.h"

namespace quorvel {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using namespace std::string_literals;

/// "outcome, updates, applications without an answer, folders that could not be read", of one Mac or all
/// hosts
std::string summaryOf(const json& report) {
    std::size_t updates = 0, unanswered = 0, folders = 0;
    const auto add = [](const json& list, const std::string& code, std::size_t& sum) {
        for (const auto& entry : list)
            sum += entry.at("code") == code ? 1 : 0;
    };
    for (const auto& host : report.value("hosts", json::array({report}))) {
        updates += host.at("updates").size();
        add(host.at("skipped"), "not_answered", unanswered);
        add(host.at("issues"), "unreadable_folder", folders);
    }
    return report.at("outcome").get<std::string>() + ", " + std::to_string(updates) + ", " +
           std::to_string(unanswered) + ", " + std::to_string(folders);
}

TEST_F(CheckProgramTest, reportsEveryWayACheckCanEndByStatusAndDocument) {
    const struct {
        std::string scenario;
        int status;
        std::string summary, error;
    } rows[] = {
        {"", 100, "complete, 201, 0, 0", ""},
        {"failing-chunks", 3, "partial, 200, 1, 0",
         "Some requests to the catalog failed: Server returned HTTP 500"},
        {"blocked", 5, "failed, 0, 0, 0",
         "Orbisto has blocked requests from your network (scanned 201 apps)."},
        {"rate-limited", 5, "failed, 0, 0, 0", "asks for fewer requests (HTTP 429): try again in 5 minutes."},
        {"no-apps", 0, "complete, 0, 0, 0", ""},
        {"html", 5, "failed, 0, 0, 0", "Response decode failed: The answer is not valid JSON"},
        {"cut", 4, "failed, 0, 0, 0", "was lost before the answer was complete."},
        {"malformed-entries", 3, "partial, 101, 100, 0",
         "100 entries of the catalog's answer were not understood."},
        {"very-large", 5, "failed, 0, 0, 0", "sent an answer longer than"},
        {"unregistered", 100, "complete, 201, 0, 0", ""},
    };
    installApps(201);
    const auto inventory = folder.write("inventory.json", CheckProgramTest::rows(0, 201, "host")).string();
    for (const auto& [scenario, status, summary, expected] : rows) {
        SCOPED_TRACE(scenario);
        startCatalog(201,
                     scenario.empty() ? std::vector<std::string>() : std::vector{"--scenario"s, scenario});
        for (const bool isFleet : {false, true}) {
            const auto result = isFleet ? run({"--inventory", inventory, "--json"}) : run({"--json"});
            const auto report = isFleet ? fleetDocument(result.output) : document(result.output);
            const std::string error = report.at("error").is_null() ? "" : report.at("error");
            EXPECT_EQ(result.status, status) << result.errors;
            EXPECT_EQ(summaryOf(report), summary);
            EXPECT_TRUE(expected.empty() ? error.empty() : error.contains(expected)) << error;
            EXPECT_EQ((isFleet ? report.at("hosts").at(0) : report).at("apps"), 201);
            EXPECT_EQ(report.at("catalog"), url);
            EXPECT_EQ(result.errors, error.empty() ? "" : "quorvel-check: " + onOneLine(error) + "\n");
        }
        if (scenario.empty() || scenario == "failing-chunks") {
            EXPECT_EQ(run({"--exit-zero"}).status, status % 100);
        }
        fs::remove_all(folder.path / "data");
    }
}

/// Without the right to read what its own mode forbids, which root has otherwise.
std::vector<std::string> withoutPrivilege(std::vector<std::string> command) {
    if (geteuid() == 0) {
        command.insert(command.begin(),
                       {"/usr/bin/setpriv", "--bounding-set=-dac_override,-dac_read_search"});
    }
    return command;
}

TEST_F(CheckProgramTest, distinguishesNothingReadFromNothingThere) {
    const struct {
        std::vector<std::string> roots;
        int status;
        std::string summary, message;
    } rows[] = {
        {{"missing"}, 6, "failed, 0, 0, 1", "There is no folder to look into: "},
        {{"locked"}, 6, "failed, 0, 0, 1", "--root DIR, or the volume of a Mac with --system-root DIR."},
        {{"file"}, 6, "failed, 0, 0, 1", "file is not there or cannot be read."},
        {{"empty"}, 0, "complete, 0, 0, 0", "No applications found in "},
        {{"empty", "missing"}, 3, "partial, 0, 0, 1", "Could not read the folder "},
        {{"outer"}, 3, "partial, 0, 0, 1", "outer/inner."},
    };
    folder.write("file", "");
    for (const char* name : {"empty", "locked", "outer/inner"})
        fs::create_directories(folder.path / name);
    for (const char* name : {"locked", "outer/inner"})
        fs::permissions(folder.path / name, fs::perms::none);
    for (const auto& [roots, status, summary, message] : rows) {
        SCOPED_TRACE(message);
        const auto runWith = [&](std::vector<std::string> words) {
            for (const auto& root : roots)
                words.insert(words.end(), {"--root", (folder.path / root).string()});
            return Process(withoutPrivilege(command(words))).finish();
        };
        const auto plain = runWith({});
        EXPECT_EQ(plain.status, status) << plain.errors;
        EXPECT_TRUE((plain.output + plain.errors).contains(message)) << plain.output << plain.errors;
        EXPECT_EQ(summaryOf(document(runWith({"--json"}).output)), summary);
        const std::pair<std::vector<std::string>, std::string> modes[] = {
            {{"--explain", "x"}, "quorvel-check: No application x was found in "},
            {{"--ignore", "x"}, "quorvel-check: No application with the identifier x was found in "},
            {{"--show-request"}, "Nothing would be sent: no applications were found in "},
        };
        for (const auto& [mode, sentence] : modes) {
            const auto other = runWith(mode);
            EXPECT_EQ(other.status == 6, status == 6) << mode[0];
            EXPECT_TRUE(status == 6
                            ? other.errors == plain.errors
                            : (other.output + other.errors).starts_with(sentence + folder.path.string()))
                << other.errors;
        }
    }
    for (const char* name : {"locked", "outer/inner"})
        fs::permissions(folder.path / name, fs::perms::owner_all);
}

TEST_F(CheckProgramTest, countsWhatSeveralFoldersHoldOnceAndPrintsTheSameInEveryLocale) {
    installApps(2);
    for (const char* name : {"Zoo", "Ängel", "ant"})
        installApp(std::string("Sub/") + name, "com.example.0", "1.0");
    startCatalog(1);
    std::set<std::string> outputs;
    for (const char* locale : {"sv_SE.UTF-8", "C"}) {
        const ScopedVariable variable("LC_ALL", locale);
        const auto root = (folder.path / "Applications").string();
        const auto report = document(run({"--json", "--root", root + "/Sub/../Sub", "--root", root}).output);
        EXPECT_EQ(report.at("apps"), 5) << report;
        std::string names;
        for (const auto& entry : report.at("updates"))
            names += entry.at("name").get<std::string>() + " ";
        EXPECT_EQ(names, "Ängel ant App 0 Zoo ") << locale;
        outputs.insert(report.at("skipped").dump());
    }
    EXPECT_EQ(outputs.size(), 1U);
}

TEST_F(CheckProgramTest, ignoresTheVersionOnOfferUntilToldOtherwise) {
    installApps(1);
    installApp("A newer copy", "com.example.0", "2.0");
    startCatalog(1);
    EXPECT_EQ(run({"--ignore", "com.example.0"}).output, "Version 2.0 of App 0 is ignored from now on.\n");
    EXPECT_EQ(recorded().size(), 1U) << "no registration, and no event";
    const auto result = run({"--json"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(document(result.output).at("updates"),
              json::array({{{"name", "App 0"},
                            {"bundle_identifier", "com.example.0"},
                            {"path", (folder.path / "Applications/App 0.app").string()},
                            {"installed_version", "1.0"},
                            {"available_version", "2.0"},
                            {"catalog_id", 1},
                            {"catalog_url", "https://www.orbisto.example/app/mac/1"},
                            {"ignored", true}}}));
    EXPECT_EQ(run({"--unignore", "com.example.0"}).output, "Version 2.0 of App 0 is no longer ignored.\n");
    EXPECT_EQ(run({"--unignore", "com.example.0"}).errors,
              "quorvel-check: No version of com.example.0 is ignored.\n");
    EXPECT_EQ(run({}).status, 100);
    EXPECT_EQ(run({"--ignore", "com.example.1"}).status, 1);
}

TEST_F(CheckProgramTest, explainsHowOneApplicationCameToItsOutcome) {
    installApps(3);
    folder.write("Applications/App 1.app/Contents/Info.plist", "no property list");
    installApp("Bare", "com.example.bare", "");
    installApp("Odd", "com.example.0", "-");
    installApp("Same", "com.example.0", "2");
    installApp("Newer", "com.example.0", "2.1");
    startCatalog(1);
    EXPECT_EQ(run({"--explain", "app 0", "--os-version", "14.5.0"}).output,
              "App 0\n"
              "  Bundle            " +
                  (folder.path / "Applications/App 0.app").string() +
                  "\n"
                  "  Identifier        com.example.0\n"
                  "  Short version     CFBundleShortVersionString: \"1.0\", which counts\n"
                  "  Bundle version    CFBundleVersion: \"7\"\n"
                  "  Catalog's entry   App 0, https://www.orbisto.example/app/mac/1\n"
                  "  Catalog's version \"2.0\"\n"
                  "  Installed parts   1 | 0\n"
                  "  Catalog's parts   2 | 0\n"
                  "  Decided by        part number 1: the catalog's 2 is newer than the installed 1\n"
                  "  Minimum system    none named; this is macOS 14.5.0\n"
                  "  Ignored           no\n"
                  "  Outcome           newer version 2.0\n");
    const struct {
        const char *name, *fact, *outcome;
    } rows[] = {
        {"com.example.2", "Catalog's entry   none", "not recognised by Orbisto API"},
        {"APP 1", "Identifier        unknown", "could not read bundle"},
        {"com.example.bare", "Short version     CFBundleShortVersionString: \"\"", "no version"},
        {"Bare", "Bundle version    CFBundleVersion: no text", "no version"},
        {"Odd", "Decided by        nothing: a version without a digit is not compared",
         "local version invalid: \"-\""},
        {"Same", "Decided by        nothing: all parts are equal", "already at latest"},
        {"Newer", "Decided by        part number 2: the catalog's 0 is older than the installed 1",
         "already at latest"},
    };
    for (const auto& [name, fact, outcome] : rows) {
        const auto text = run({"--explain", name}).output;
        EXPECT_TRUE(text.contains("\n  " + std::string(fact) + "\n") &&
                    text.ends_with("\n  Outcome           " + std::string(outcome) + "\n"))
            << name << "\n"
            << text;
    }
    const auto missing = run({"--explain", "App", "--root", (folder.path / "gone").string(), "--root",
                              (folder.path / "Applications").string()});
    EXPECT_EQ(missing.status, 1);
    EXPECT_TRUE(missing.errors.ends_with("gone could not be read.\n")) << missing.errors;
}

TEST_F(CheckProgramTest, showsExactlyTheRequestsThatGoOut) {
    installApps(201);
    startCatalog(0);
    url += "/";
    const auto shown = run({"--show-request"});
    EXPECT_EQ(shown.status, 0) << shown.errors;
    EXPECT_TRUE(recorded().empty());
    for (int checks = 0; checks < 2; ++checks)
        EXPECT_EQ(run({}).status, 0);

    // In a first check three requests are under way side by side: of those the order is open.
    const auto alike = [](std::vector<std::string> requests) {
        for (auto& request : requests) {
            request = std::regex_replace(request, std::regex(R"("secret":"[^"]*")"), "SECRET");
            request = std::regex_replace(request, std::regex("\"instance_id\":[0-9]+"), "ID");
        }
        std::ranges::sort(requests);
        return requests;
    };
    std::vector<std::string> written;
    const std::regex request(R"(POST \S+(/v1\S+)\n(?:\S[^\n]*\n)+\n(\{[^\n]*)?)");
    for (std::sregex_iterator match(shown.output.begin(), shown.output.end(), request), end; match != end;
         ++match)
        written.push_back((*match)[1].str() + " " + (*match)[2].str());
    EXPECT_EQ(written.size(), 9U) << "each check must wait for its last request";
    EXPECT_EQ(alike(recorded()), alike(written));
    EXPECT_TRUE(shown.output.contains(R"("secret":"********************************")"));
    for (const char* credential : {"Rk7vQm2X", "linkcode", "q8t2kzm5"})
        EXPECT_FALSE(shown.output.contains(credential)) << credential;
}

TEST_F(CheckProgramTest, givesATerminalItsColoursAndNothingThatANameBrought) {
    const struct {
        const char* terminal;
        std::optional<std::string> noColour;
        bool isColoured;
    } rows[] = {{"xterm", {}, true}, {"xterm", "1", false}, {"xterm", "", true}, {"dumb", {}, false}};
    // Controls of both halves of Latin-1, and an override of the direction.
    const std::string hostile = "App\x1b]0;title\a\r\u009b2J\u202e";
    const std::string root = (folder.path / hostile).string();
    installApps(1);
    fs::create_directory(root);
    fs::rename(folder.path / "Applications/App 0.app", root + "/" + hostile + ".app");
    startCatalog(1);
    for (const auto& [terminal, noColour, isColoured] : rows) {
        const ScopedVariable term("TERM", terminal), colour("NO_COLOR", noColour);
        std::string output;
        for (const auto& options : {std::vector{"--all"s, "--root"s, root},
                                    {"--json", "--root", root},
                                    {"--show-request", "--root", root},
                                    {"--explain", hostile, "--root", root},
                                    {"--root", root + "/missing"},
                                    {"--" + hostile}})
            output += Process(command(options), 40).finish().output;
        EXPECT_EQ(output.contains("\x1b[1;32m"), isColoured) << output;
        output = std::regex_replace(output, std::regex("\x1b\\[(1|0|1;32)m|\r\x1b\\[K|\r\n"), "");
        for (const char* control : {"\x1b", "\a", "\r", "\u009b", "\u202e"})
            EXPECT_FALSE(output.contains(control)) << json(output).dump(1, ' ', true);
        EXPECT_GT(output.size(), 2000U) << "every way of printing has printed";
    }
}

TEST_F(CheckProgramTest, saysOnceThatNothingCanBeKept) {
    installApps(1);
    startCatalog(1);
    folder.write("data", "a file where the folder should be");
    const auto result = run({});
    EXPECT_EQ(result.status, 100);
    EXPECT_EQ(result.errors,
              "quorvel-check: Nothing can be kept in " + (folder.path / "data").string() +
                  ": the catalog is asked to register this installation at every check, and no "
                  "version can be ignored.\n");
    EXPECT_EQ(folder.read("data"), "a file where the folder should be");
    EXPECT_EQ(run({"--ignore", "com.example.0"}).errors,
              "quorvel-check: Could not keep that in " + (folder.path / "data").string() + ".\n");
    // An installation that is registered stays so where only reading is left.
    const auto data = folder.path / "data";
    fs::remove(data);
    folder.write("data/instance_id.json", R"({"id":40001})");
    fs::permissions(data, fs::perms::owner_read | fs::perms::owner_exec);
    EXPECT_EQ(Process(withoutPrivilege(command({}))).finish().errors,
              "quorvel-check: Nothing can be kept in " + data.string() + ": no version can be ignored.\n");
    fs::permissions(data, fs::perms::owner_all);
}

}  // namespace
}  // namespace quorvel
