#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
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
    const std::string inventories = (folder.path / "inventories").string();
};

TEST_F(FleetProgramTest, asksForAFleetOnceAndSaysTheSameInEachForm) {
    folder.write("inventories/a.json", rows(0, 150, "a"));
    folder.write("inventories/b.json", rows(100, 101, "b"));
    startCatalog(200);
    const auto document = fleetDocument(run({"--inventory", inventories, "--json"}).output);
    const auto requests = recorded();
    const auto asked = [&](const std::string& path) {
        return std::ranges::count_if(requests, [&](const auto& each) { return each.contains(path); });
    };
    EXPECT_EQ(asked("auto-match"), 2) << "201 distinct applications are two requests";
    EXPECT_EQ(asked("/qvl/instance"), 1);
    EXPECT_TRUE(requests.back().contains("apps=201 updates=200")) << requests.back();
    EXPECT_TRUE(folder.read("data/error.log")
                    .ends_with("Checked 2 hosts: newer versions of 200 of 201 applications\n"));
    std::istringstream lines(run({"--inventory", inventories, "--json-lines"}).output);
    std::vector<json> printed;
    for (std::string line; std::getline(lines, line);)
        printed.push_back(fleetDocument(line));
    ASSERT_EQ(printed.size(), 3U);
    EXPECT_EQ(json::array({printed[0], printed[1]}), document.at("hosts"));
    EXPECT_EQ(json::array({printed[2].at("hosts"), printed[2].at("failed")}), json::array({2, 0}));

    const auto host = run({"--inventory", inventories, "--host", "b", "--os-version", "11"}).output;
    EXPECT_TRUE(host.starts_with("b\n\nNew versions available (100)\n")) << host;
    EXPECT_TRUE(host.ends_with("\n100 newer versions for 101 applications on macOS 11.0.0.\n")) << host;
    EXPECT_EQ(run({"--inventory", inventories, "--host", "nobody"}).errors,
              "quorvel-check: There is no host nobody in the inventories.\n");
    const auto shown = run({"--inventory", inventories, "--show-request"});
    EXPECT_EQ(shown.status, 0) << shown.errors;
    EXPECT_TRUE(
        shown.output.starts_with("== Every check; \"updates=\" is followed by their number ==\n\nPOST ") &&
        shown.output.contains("\"com.example.99\"]}") && shown.output.contains("apps=201 updates=0"))
        << shown.output;
}

TEST_F(FleetProgramTest, saysOfEachInventoryWhyItIsNotRead) {
    startCatalog(1);
    folder.write("inventories/good.json", rows(0, 1, "../../x\"\n"));
    folder.write("inventories/cut.json", rows(0, 1, "cut").substr(0, 60));
    folder.write("inventories/.hidden", "no inventory");
    folder.write("inventories/sub/more.json", "[]");
    ASSERT_EQ(mkfifo((inventories + "/fifo").c_str(), 0600), 0);
    fs::create_symlink("good.json", inventories + "/link.json");
    const std::string onlyFiles = "; in a folder of inventories only regular files are read.\n";
    const std::string failures =
        inventories + "/fifo: It is a FIFO" + onlyFiles + inventories + "/link.json: It is a link" +
        onlyFiles + inventories + "/sub: It is a folder" + onlyFiles + inventories +
        "/missing: It could not be opened: No such file or directory.\n" + inventories +
        "/cut.json: It is cut off: it ends in the middle of a value at byte 60.\n";
    std::vector<std::string> options{"--inventory", inventories,
                                     "--inventory", inventories + "/good.json",
                                     "--inventory", inventories + "/missing"};
    const auto plain = run(options);
    auto absent = options;
    absent.insert(absent.end(), {"--host", "nobody"});
    EXPECT_EQ(run(absent).errors,
              "quorvel-check: There is no host nobody in the inventories; of them, 5 could not be read "
              "whole: " +
                  failures.substr(0, failures.find('\n') + 1));
    options.emplace_back("--json");
    const auto result = run(options);
    const auto report = fleetDocument(result.output);
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(report.at("hosts").size(), 1U);
    EXPECT_EQ(report.at("hosts").at(0).at("host"), "../../x\"\n");
    std::string found;
    for (const auto& failure : report.at("failed"))
        found +=
            failure.at("source").get<std::string>() + ": " + failure.at("reason").get<std::string>() + "\n";
    EXPECT_EQ(found, failures);
    EXPECT_TRUE(plain.output.contains("Not read, or not whole (5)\n")) << plain.output;
    EXPECT_TRUE(
        plain.output.ends_with("\n1 newer version of 1 application on 1 of 6 hosts; 5 hosts could "
                               "not be read; no minimum system was applied to 1 host whose macOS is "
                               "not known.\n"))
        << plain.output;
    EXPECT_TRUE(plain.errors.ends_with("There are 4 more problems with inventories.\n")) << plain.errors;
    const auto none = run({"--inventory", inventories + "/cut.json", "--inventory", "missing", "--json"});
    EXPECT_EQ(none.status, 6);
    EXPECT_TRUE(none.errors.ends_with(" There is 1 more problem with inventories.\n")) << none.errors;
    EXPECT_EQ(fleetDocument(none.output).at("outcome"), "failed");
}

TEST_F(FleetProgramTest, readsStandardInputAndManyHostsWithoutAnApplication) {
    std::string log;
    for (int host = 0; host < 20'000; ++host)
        log += R"({"action":"snapshot","snapshot":[],"hostIdentifier":"h)" + std::to_string(host) + "\"}\n";
    const auto result = Process({"/bin/sh", "-c",
                                 check + " --catalog " + url + " --data-dir " + folder.path.string() +
                                     " --inventory - < " + folder.write("log", log).string()})
                            .finish();
    EXPECT_TRUE(
        folder.read("error.log").ends_with("The inventories have no application — skipping API call\n"));
    EXPECT_TRUE(result.output.starts_with("Nothing newer on 20000 hosts; "))
        << result.output << result.errors;
}

TEST_F(FleetProgramTest, keepsMetricsThroughAFailureAndNoApplicationAmongThem) {
    folder.write("inventories/a.json", rows(0, 2, "a\"\\\n"));
    folder.write("log",
                 R"({"action":"snapshot","snapshot":)" + rows(0, 1, "b") + R"(,"unixTime":1700000000})");
    const auto file = (folder.path / "quorvel.prom").string();
    const std::vector<std::string> options{
        "--inventory", inventories, "--inventory", (folder.path / "log").string(), "--prometheus", file};
    startCatalog(1);
    EXPECT_EQ(run(options).status, 100);
    struct stat status{};
    ASSERT_EQ(stat(file.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0644U) << "another user's collector reads it";
    const auto complete = folder.read("quorvel.prom");
    const auto success = complete.substr(complete.rfind(' ') + 1);
    EXPECT_GT(success, "1700000000");
    const std::string updates =
        R"(# HELP quorvel_updates Newer versions of applications on the host, without ignored ones.
# TYPE quorvel_updates gauge
quorvel_updates{host="a\"\\\n"} 1
quorvel_updates{host="b"} 1
)";
    const std::string rest = R"(# HELP quorvel_applications Applications in the host's inventory.
# TYPE quorvel_applications gauge
quorvel_applications{host="a\"\\\n"} 2
quorvel_applications{host="b"} 1
# HELP quorvel_inventory_timestamp_seconds When the host's inventory was collected.
# TYPE quorvel_inventory_timestamp_seconds gauge
quorvel_inventory_timestamp_seconds{host="b"} 1700000000
# HELP quorvel_hosts Hosts whose inventory was read.
# TYPE quorvel_hosts gauge
quorvel_hosts 2
# HELP quorvel_hosts_unreadable Hosts or files whose inventory could not be read.
# TYPE quorvel_hosts_unreadable gauge
quorvel_hosts_unreadable 0
# HELP quorvel_outcome How the last check went: one of the three is 1.
# TYPE quorvel_outcome gauge
quorvel_outcome{outcome="complete"} 1
quorvel_outcome{outcome="partial"} 0
quorvel_outcome{outcome="failed"} 0
# HELP quorvel_last_success_timestamp_seconds When a check last brought a result, also a partial one.
# TYPE quorvel_last_success_timestamp_seconds gauge
quorvel_last_success_timestamp_seconds )" +
                             success;
    EXPECT_EQ(complete, updates + rest);

    server.reset();
    EXPECT_EQ(run(options).status, 4);
    auto failed = std::regex_replace(rest, std::regex("complete\"\\} 1"), "complete\"} 0");
    EXPECT_EQ(folder.read("quorvel.prom"),
              std::regex_replace(failed, std::regex("failed\"\\} 0"), "failed\"} 1"));

    installApps(3);
    startCatalog(2);
    const auto single = run({"--prometheus", file});
    EXPECT_EQ(single.status, 100) << single.errors;
    const std::regex mac("\nquorvel_updates\\{host=\"[^\"]+\"\\} 2\n[\\s\\S]*\nquorvel_hosts 1\n");
    EXPECT_TRUE(std::regex_search(folder.read("quorvel.prom"), mac)) << folder.read("quorvel.prom");
    EXPECT_EQ(run({"--inventory", inventories, "--prometheus", "/proc/none/x"}).errors,
              "quorvel-check: Could not write /proc/none/x.\n");
}

}  // namespace
}  // namespace quorvel
