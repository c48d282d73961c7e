#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <nlohmann/json.hpp>
#include <regex>
#include <sstream>
#include <sys/stat.h>

#include "cli/CheckProgramFixture.h"

namespace quorvel {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

/// Runs quorvel-check over inventories.
class FleetProgramTest : public CheckProgramTest {
protected:
    Process::Result run(std::vector<std::string> options,
                        const std::string& url = "http://127.0.0.1:1/v1") const {
        options.insert(options.begin(), check);
        options.insert(options.end(), {"--data-dir", (folder.path / "data").string(), "--catalog", url});
        return Process(std::move(options)).finish();
    }

    /// Rows of applications from number `first` on, in version 1.0.
    static std::string rows(std::size_t first, std::size_t count, const std::string& host) {
        json list = json::array();
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

    std::string inventories() const { return (folder.path / "inventories").string(); }

    std::vector<json> lines(const std::string& output) {
        std::vector<json> list;
        std::istringstream stream(output);
        for (std::string line; std::getline(stream, line);)
            list.push_back(fleetDocument(line));
        return list;
    }
};

TEST_F(FleetProgramTest, showsTheDemonstrationAsItsTableSays) {
    server.emplace(std::vector<std::string>{catalog, "--data", SOURCE_ROOT "/demo/catalog.json"});
    const auto url = server->readLine();
    const auto demo = SOURCE_ROOT "/demo/inventories";
    const auto report = fleetDocument(run({"--inventory", demo, "--json"}, url).output);
    std::map<std::string, std::string> outcomes;
    const auto note = [&](const json& host, const json& app, const std::string& outcome) {
        outcomes[host.at("host").get<std::string>() + " " + app.at("name").get<std::string>() +
                 (app.at("path").get<std::string>().starts_with("/Users/") ? ", of a user" : "")] = outcome;
    };
    for (const auto& host : report.at("hosts")) {
        for (const auto& app : host.at("updates"))
            note(host, app, "update to " + app.at("available_version").get<std::string>());
        for (const auto& app : host.at("skipped"))
            note(host, app, app.at("reason"));
        for (const auto& app : host.at("issues"))
            note(host, app, "issue: " + app.at("reason").get<std::string>());
    }
    // Each row of the table reads "| host | application | purpose | outcome |".
    const std::regex row(R"(^\| ([a-z]+-[a-z0-9.]+) \| ([^|]+) \|.*\| ([^|]+) \|$)");
    std::istringstream table(TemporaryFolder::contentOf(SOURCE_ROOT "/demo/README.md"));
    std::size_t found = 0;
    std::smatch match;
    for (std::string line; std::getline(table, line);) {
        if (!std::regex_match(line, match, row)) continue;
        const auto key = match[1].str() + " " + match[2].str();
        const bool isAbsent = match[3] == "outside" || match[3] == "left out";
        EXPECT_EQ(outcomes.contains(key) ? outcomes[key] : "absent", isAbsent ? "absent" : match[3].str())
            << key;
        found += isAbsent ? 0 : 1;
    }
    EXPECT_EQ(found, outcomes.size()) << "each row is described";

    const auto plain = run({"--inventory", demo}, url);
    EXPECT_EQ(plain.status, 100);
    EXPECT_TRUE(plain.output.contains("  Amberleaf        3.2.1       3.0: 1, 3.1.0: 1  2\n"))
        << plain.output;
    EXPECT_TRUE(
        plain.output.ends_with("\n11 newer versions of 9 applications on 3 hosts; 2 bundles could not be "
                               "listed; no minimum system was "
                               "applied to 1 host whose macOS is not known.\n"))
        << plain.output;
    const auto single = run({"--inventory", demo, "--host", "library-03", "--os-version", "11"}, url);
    EXPECT_TRUE(single.output.starts_with("library-03\n\nNew versions available (1)\n")) << single.output;
    EXPECT_TRUE(single.output.contains("1 newer version for 4 applications on macOS 11.0.0; 1 bundle"))
        << single.output;
    EXPECT_EQ(run({"--inventory", demo, "--host", "nobody"}, url).errors,
              "quorvel-check: There is no host nobody in the inventories.\n");
}

TEST_F(FleetProgramTest, endsAsEveryCheckDoesAndSaysTheSameInEachForm) {
    folder.write("inventories/a.json", rows(0, 150, "a"));
    folder.write("inventories/b.json", rows(100, 101, "b"));
    const struct {
        std::string scenario;
        int status;
        std::string outcome;
        std::size_t updates, unanswered;
        std::string error;
    } table[] = {
        {"", 100, "complete", 251, 0, ""},
        {"failing-chunks", 3, "partial", 250, 1,
         "Some requests to the catalog failed: Server returned HTTP 500"},
        {"blocked", 5, "failed", 0, 0, "Orbisto has blocked requests from your network (scanned 201 apps)."},
        {"no-apps", 0, "complete", 0, 0, ""},
    };
    for (const auto& [scenario, status, outcome, updates, unanswered, error] : table) {
        SCOPED_TRACE(scenario);
        std::vector<std::string> options{"--scenario", scenario};
        if (scenario.empty()) options.clear();
        const auto url = startCatalog(201, options);
        const auto result = run({"--inventory", inventories(), "--json"}, url);
        const auto report = fleetDocument(result.output, result.errors);
        EXPECT_EQ(result.status, status) << result.errors;
        EXPECT_EQ(report.at("outcome"), outcome);
        EXPECT_TRUE(error.empty() ? report.at("error").is_null()
                                  : report.at("error").get<std::string>().contains(error));
        std::size_t foundUpdates = 0, foundUnanswered = 0;
        for (const auto& host : report.at("hosts")) {
            foundUpdates += host.at("updates").size();
            for (const auto& app : host.at("skipped"))
                foundUnanswered += app.at("code") == "not_answered" ? 1 : 0;
        }
        EXPECT_EQ(foundUpdates, updates);
        EXPECT_EQ(foundUnanswered, unanswered);

        const auto printed = lines(run({"--inventory", inventories(), "--json-lines"}, url).output);
        ASSERT_EQ(printed.size(), 3U);
        EXPECT_EQ(json::array({printed[0], printed[1]}), report.at("hosts"));
        EXPECT_EQ(printed[2].at("outcome"), outcome);
        EXPECT_EQ(printed[2].at("hosts"), 2);
    }
    const auto requests = recorded();
    const auto asked =
        std::ranges::count_if(requests, [](const auto& each) { return each.contains("auto-match"); });
    EXPECT_EQ(asked, 2 * (2 + 2 + 1 + 2)) << "201 distinct applications are two requests";
    EXPECT_EQ(
        std::ranges::count_if(requests, [](const auto& each) { return each.contains("/qvl/instance"); }), 1);
    EXPECT_TRUE(requests.back().contains("apps=201 updates=0")) << requests.back();
    const auto shown = run({"--inventory", inventories(), "--show-request"});
    EXPECT_EQ(shown.status, 0) << shown.errors;
    EXPECT_TRUE(shown.output.contains("== Every check;") && shown.output.contains("\"com.example.99\"]}"));
}

TEST_F(FleetProgramTest, saysOfEachInventoryWhyItIsNotRead) {
    const auto url = startCatalog(1);
    folder.write("inventories/good.json", rows(0, 1, "../../x\"\n"));
    folder.write("inventories/cut.json", rows(0, 1, "cut").substr(0, 60));
    folder.write("inventories/.hidden", "no inventory");
    folder.write("inventories/sub/more.json", "[]");
    ASSERT_EQ(mkfifo((inventories() + "/fifo").c_str(), 0600), 0);
    fs::create_symlink("good.json", inventories() + "/link.json");
    const auto result = run({"--inventory", inventories(), "--inventory", inventories() + "/good.json",
                             "--inventory", inventories() + "/missing", "--json"},
                            url);
    const auto report = fleetDocument(result.output, result.errors);
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(report.at("hosts").size(), 1U);
    EXPECT_EQ(report.at("hosts").at(0).at("host"), "../../x\"\n");
    std::string failures;
    for (const auto& failure : report.at("failed"))
        failures += fs::path(failure.at("source").get<std::string>()).filename().string() + " " +
                    failure.at("code").get<std::string>() + " " + failure.at("reason").get<std::string>() +
                    "\n";
    EXPECT_EQ(failures,
              "fifo unreadable It is a FIFO; in a folder of inventories only regular files are read.\n"
              "link.json unreadable It is a link; in a folder of inventories only regular files are read.\n"
              "sub unreadable It is a folder; in a folder of inventories only regular files are read.\n"
              "missing unreadable It could not be opened: No such file or directory.\n"
              "cut.json damaged It is cut off: it ends in the middle of a value at byte 60.\n");
    const auto plain = run({"--inventory", inventories()}, url);
    EXPECT_TRUE(
        plain.output.contains("1 newer version of 1 application on 1 of 5 hosts; 4 hosts could not be read"))
        << plain.output;
    EXPECT_TRUE(plain.errors.ends_with("There are 3 more problems with inventories.\n")) << plain.errors;
    const auto none = run({"--inventory", inventories() + "/cut.json", "--json"}, url);
    EXPECT_EQ(none.status, 6);
    EXPECT_EQ(fleetDocument(none.output).at("outcome"), "failed");
}

TEST_F(FleetProgramTest, readsStandardInputAndManyHostsWithoutAnApplication) {
    std::string log;
    for (int host = 0; host < 20'000; ++host)
        log += R"({"action":"snapshot","snapshot":[],"hostIdentifier":"h)" + std::to_string(host) +
               "\",\"unixTime\":1}\n";
    const auto result =
        Process({"/bin/sh", "-c",
                 check + " --catalog http://127.0.0.1:1/v1 --data-dir " + folder.path.string() +
                     " --inventory - --json-lines < " + folder.write("log", log).string() + " | tail -n 2"})
            .finish();
    const auto printed = lines(result.output);
    ASSERT_EQ(printed.size(), 2U) << result.errors;
    EXPECT_EQ(printed[0].at("source"), "-");
    EXPECT_EQ(printed[1].at("outcome"), "complete");
    EXPECT_EQ(printed[1].at("hosts"), 20'000);
}

TEST_F(FleetProgramTest, keepsMetricsThroughAFailureAndNoApplicationAmongThem) {
    folder.write("inventories/a.json", rows(0, 2, "a\"\\\n"));
    folder.write("log",
                 R"({"action":"snapshot","snapshot":)" + rows(0, 1, "b") + R"(,"unixTime":1700000000})");
    const auto file = (folder.path / "quorvel.prom").string();
    const std::vector<std::string> options{
        "--inventory", inventories(), "--inventory", (folder.path / "log").string(), "--prometheus", file};
    const auto samples = [&] {
        std::map<std::string, std::string> found;
        std::istringstream lines(folder.read("quorvel.prom"));
        for (std::string line; std::getline(lines, line);) {
            if (!line.starts_with('#'))
                found[line.substr(0, line.rfind(' '))] = line.substr(line.rfind(' ') + 1);
        }
        return found;
    };
    EXPECT_EQ(run(options, startCatalog(1)).status, 100);
    struct stat status{};
    ASSERT_EQ(stat(file.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0644U) << "another user's collector reads it";
    auto found = samples();
    const auto success = found["quorvel_last_success_timestamp_seconds"];
    EXPECT_GT(success, "1700000000");
    const std::map<std::string, std::string> complete{
        {R"(quorvel_updates{host="a\"\\\n"})", "1"},
        {R"(quorvel_updates{host="b"})", "1"},
        {R"(quorvel_applications{host="a\"\\\n"})", "2"},
        {R"(quorvel_applications{host="b"})", "1"},
        {R"(quorvel_inventory_timestamp_seconds{host="b"})", "1700000000"},
        {"quorvel_hosts", "2"},
        {"quorvel_hosts_unreadable", "0"},
        {R"(quorvel_outcome{outcome="complete"})", "1"},
        {R"(quorvel_outcome{outcome="partial"})", "0"},
        {R"(quorvel_outcome{outcome="failed"})", "0"},
        {"quorvel_last_success_timestamp_seconds", success},
    };
    EXPECT_EQ(found, complete);

    EXPECT_EQ(run(options).status, 4);
    auto failed = complete;
    std::erase_if(failed, [](const auto& sample) { return sample.first.starts_with("quorvel_updates"); });
    failed[R"(quorvel_outcome{outcome="complete"})"] = "0";
    failed[R"(quorvel_outcome{outcome="failed"})"] = "1";
    EXPECT_EQ(samples(), failed);

    installApps(3);
    const auto single =
        run({"--root", (folder.path / "Applications").string(), "--prometheus", file}, startCatalog(2));
    EXPECT_EQ(single.status, 100) << single.errors;
    EXPECT_EQ(samples()["quorvel_hosts"], "1");
    EXPECT_TRUE(folder.read("quorvel.prom").contains("\nquorvel_applications{host=\""))
        << "the Mac has a name";
    EXPECT_EQ(run({"--inventory", inventories(), "--prometheus", "/proc/none/x"}, startCatalog(1)).errors,
              "quorvel-check: Could not write /proc/none/x.\n");
}

TEST_F(FleetProgramTest, refusesWhatDoesNotGoWithInventories) {
    const std::vector<std::pair<std::vector<std::string>, std::string>> table{
        {{"--inventory", "x", "--root", "y"}, "neither --root nor --system-root goes with it."},
        {{"--inventory", "x", "--system-root", "/"}, "neither --root nor --system-root goes with it."},
        {{"--inventory", "x", "--explain", "y"}, "are about this Mac, and do not go with --inventory."},
        {{"--inventory", "x", "--json", "--json-lines"},
         "Only one of --json and --json-lines can be printed"},
        {{"--inventory", "x", "--show-request", "--json-lines"}, "--json-lines goes with a check"},
        {{"--show-request", "--prometheus", "y"}, "--prometheus goes with a check"},
        {{"--json-lines"}, "--json-lines needs an --inventory."},
        {{"--host", "x"}, "--host needs an --inventory."},
    };
    for (const auto& [options, complaint] : table) {
        const auto result = run(options);
        EXPECT_EQ(result.status, 2) << complaint;
        EXPECT_TRUE(result.errors.contains(complaint)) << result.errors;
    }
}

}  // namespace
}  // namespace quorvel
