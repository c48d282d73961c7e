#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <optional>
#include <regex>
#include <utility>

#include "cli/CheckProgramFixture.h"
#include "platform/text/DisplayText.h"
#include "support/ScopedVariable.h"

namespace quorvel {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using namespace std::string_literals;

/// "outcome, updates, applications without an answer, folders that could not be read"
std::string summaryOf(const json& report) {
    const auto text = report.dump();
    const auto count = [&](const std::string& word) {
        std::size_t found = 0;
        for (auto at = text.find(word); at != std::string::npos; at = text.find(word, at + 1))
            ++found;
        return ", " + std::to_string(found);
    };
    return report.at("outcome").get<std::string>() + count("\"catalog_url\"") + count("\"not_answered\"") +
           count("\"unreadable_folder\"");
}

TEST_F(CheckProgramTest, reportsEveryWayACheckCanEndByStatusAndDocument) {
    const struct {
        std::string scenario;
        int status;
        std::string summary, error;
    } rows[] = {
        {"", 100, "complete, 197, 0, 0", ""},
        {"failing-chunks", 3, "partial, 196, 1, 0",
         "Some requests to the catalog failed: Server returned HTTP 500"},
        {"blocked", 5, "failed, 0, 0, 0",
         "Orbisto has blocked requests from your network (scanned 201 apps)."},
        {"rate-limited", 5, "failed, 0, 0, 0", "asks for fewer requests (HTTP 429): try again in 5 minutes."},
        {"no-apps", 0, "complete, 0, 0, 0", ""},
        {"html", 5, "failed, 0, 0, 0", "Response decode failed: The answer is not valid JSON"},
        {"cut", 4, "failed, 0, 0, 0", "was lost before the answer was complete."},
        {"malformed-entries", 3, "partial, 99, 100, 0",
         "99 entries of the catalog's answer were not understood."},
        {"very-large", 5, "failed, 0, 0, 0", "sent an answer longer than"},
        {"unregistered", 100, "complete, 197, 0, 0", ""},
    };
    installApps(201);
    auto inventory = json::parse(CheckProgramTest::rows(0, 201, "host"));
    const std::pair<std::size_t, const char*> notNewer[] = {{3, "-"}, {4, "2"}, {5, "2.1"}};
    for (const auto& [number, version] : notNewer) {
        const std::string name = inventory[number].at("bundle_name");
        installApp(name, inventory[number].at("bundle_identifier"), version);
        inventory[number]["bundle_short_version"] = version;
    }
    installApp("App 6", "com.example.6x", "1.0");
    inventory[6]["bundle_identifier"] = "com.example.6x";
    const auto file = folder.write("inventory.json", inventory.dump()).string();
    for (const auto& [scenario, status, summary, expected] : rows) {
        SCOPED_TRACE(scenario);
        startCatalog(201,
                     scenario.empty() ? std::vector<std::string>() : std::vector{"--scenario"s, scenario});
        if (scenario.empty()) run({"--ignore", "com.example.0"});
        std::vector<json> said;
        for (const bool isFleet : {false, true}) {
            const auto result = isFleet ? run({"--inventory", file, "--json"}) : run({"--json"});
            const auto report = isFleet ? fleetDocument(result.output) : document(result.output);
            const std::string error = report.at("error").is_null() ? "" : report.at("error");
            EXPECT_EQ(result.status, status) << result.errors;
            EXPECT_EQ(summaryOf(report), summary);
            EXPECT_TRUE(expected.empty() ? error.empty() : error.contains(expected)) << error;
            const auto& host = isFleet ? report.at("hosts").at(0) : report;
            EXPECT_EQ(host.at("apps"), 201);
            auto verdicts = json::array({host.at("updates"), host.at("skipped")});
            for (auto& list : verdicts) {
                for (auto& verdict : list)
                    verdict.erase("path");
            }
            said.push_back(std::move(verdicts));
            EXPECT_EQ(report.at("catalog"), url);
            EXPECT_EQ(result.errors, error.empty() ? "" : "quorvel-check: " + onOneLine(error) + "\n");
        }
        EXPECT_EQ(said[0], said[1]) << "a Mac hears alone what it hears in a fleet";
        if (scenario.empty() || scenario == "failing-chunks") {
            EXPECT_EQ(run({"--exit-zero"}).status, status % 100);
        }
        fs::remove_all(folder.path / "data");
    }
}

TEST_F(CheckProgramTest, distinguishesNothingReadFromNothingThere) {
    const std::string advice =
        " is not there or cannot be read. Name one with --root DIR, or the volume of a Mac with "
        "--system-root DIR.\n";
    const auto empty = (folder.path / "empty").string(), missing = (folder.path / "missing").string();
    const auto none = "quorvel-check: There is no folder to look into: " + missing + advice;
    fs::create_directory(empty);
    const struct {
        std::vector<std::string> options;
        int status;
        std::string text;
    } rows[] = {
        {{"--root", missing}, 6, none},
        {{"--root", missing, "--explain", "x"}, 6, none},
        {{"--root", missing, "--ignore", "x"}, 6, none},
        {{"--root", missing, "--show-request"}, 6, none},
        {{"--root", empty}, 0, "No applications found in " + empty},
        {{"--root", empty, "--root", missing}, 3, "Could not read the folder " + missing + "."},
        {{"--root", empty, "--explain", "x"}, 1, "No application x was found in " + empty + ".\n"},
        {{"--root", empty, "--root", missing, "--explain", "x"}, 1, "/missing could not be read.\n"},
        {{"--root", empty, "--ignore", "x"}, 1, "No application with the identifier x was found"},
        {{"--root", empty, "--show-request"}, 0, "Nothing would be sent: no applications were"},
    };
    for (const auto& [options, status, text] : rows) {
        const auto result = run(options);
        EXPECT_EQ(result.status, status) << text;
        EXPECT_TRUE((result.errors + result.output).contains(text)) << result.errors << result.output;
        EXPECT_TRUE(text != none || folder.read("data/error.log").empty()) << "nothing was scanned";
    }
    EXPECT_EQ(summaryOf(document(run({"--root", missing, "--json"}).output)), "failed, 0, 0, 1");
    EXPECT_EQ(summaryOf(document(run({"--root", empty, "--root", missing, "--json"}).output)),
              "partial, 0, 0, 1");
}

TEST_F(CheckProgramTest, countsWhatSeveralFoldersHoldOnceAndPrintsTheSameInEveryLocale) {
    installApps(2);
    for (const char* name : {"Zoo", "Ängel", "ant"})
        installApp(std::string("Sub/") + name, "com.example.0", "1.0");
    startCatalog(1);
    const auto root = (folder.path / "Applications").string();
    for (const char* locale : {"sv_SE.UTF-8", "C"}) {
        const ScopedVariable variable("LC_ALL", locale);
        const auto report = document(run({"--json", "--root", root + "/Sub/../Sub", "--root", root}).output);
        EXPECT_EQ(report.at("apps"), 5) << report;
        std::string names;
        for (const auto& entry : report.at("updates"))
            names += entry.at("name").get<std::string>() + " ";
        EXPECT_EQ(names, "Ängel ant App 0 Zoo ") << locale;
    }
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
}

TEST_F(CheckProgramTest, showsExactlyTheRequestsThatGoOut) {
    installApps(201);
    startCatalog(0);
    url += "/";
    const auto shown = run({"--show-request"});
    EXPECT_TRUE(
        shown.output.starts_with("== The first check; the catalog gives the instance id, for which 0 "
                                 "stands here ==\n\nPOST "))
        << shown.output << shown.errors;
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
    EXPECT_TRUE(shown.output.contains("\n\n== Every later check; "));
    EXPECT_TRUE(shown.output.contains(R"("secret":"********************************")"));
    const auto later = run({"--show-request"}).output;
    EXPECT_TRUE(later.starts_with("== Every check; ") && !later.contains("/qvl/instance\n")) << later;
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
    const std::string hostile = "App\x1b]0;title\a\r\u009b2J\u202e" + std::string(40, 'n');
    const std::string root = (folder.path / hostile).string();
    installApps(1);
    const auto inventory = folder.write("inventory.json", CheckProgramTest::rows(0, 1, hostile)).string();
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
                                    {"--inventory", inventory, "--host", hostile},
                                    {"--inventory", inventory, "--json-lines"},
                                    {"--" + hostile}})
            output += Process(command(options), 40).finish().output;
        EXPECT_EQ(output.contains("\x1b[1;32m"), isColoured) << output;
        EXPECT_EQ(output.contains("…"), terminal == "xterm"s) << "names are cut to the width";
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
}

}  // namespace
}  // namespace quorvel
