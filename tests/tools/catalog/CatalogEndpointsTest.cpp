#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "CatalogEndpoints.h"
#include "RequestRecord.h"
#include "support/TemporaryFolder.h"

namespace quorvel {

namespace {

using Json = nlohmann::json;

constexpr const char* matchPath = "/v1/apps/auto-match-collection";
constexpr const char* instancePath = "/v1/qvl/instance";
constexpr const char* trackingPath = "/v1/qvl/tracking";
constexpr const char* installPath = "/v1/event/app/64734/install";

CatalogRequest post(const std::string& path, const std::string& body) {
    return {.method = "POST",
            .path = path,
            .headers = {{"content-type", "application/json"}, {"X-ClientId", "linkcode48r7vt"}},
            .body = body};
}

CatalogRequest post(const std::string& path, const Json& body) {
    return post(path, body.dump());
}

CatalogRequest installEvent() {
    return {
        .method = "POST", .path = installPath, .headers = {{"X-ClientId", "q8t2kzm5ravx7hwe"}}, .body = ""};
}

/// An auto-match request for applications with one title and one identifier.
Json chunk(std::size_t titles, std::size_t identifiers, const std::string& identifier = "com.example.a") {
    return {{"secret", "Rk7vQm2XtLp9Wc4NbZs8Hy3JdGf6Ua5E"},
            {"titles", std::vector<std::string>(titles, "A")},
            {"bundle_ids", std::vector<std::string>(identifiers, identifier)}};
}

Json event(std::int64_t instanceId) {
    return {{"instance_id", instanceId}, {"source", "instance"}, {"status", "success"}, {"message", "m"}};
}

template <typename Value>
Json with(Json object, const char* key, Value value) {
    object[key] = std::move(value);
    return object;
}

CatalogRequest withHeader(CatalogRequest request, const std::string& name, const std::string& value) {
    std::erase_if(request.headers, [&](const auto& one) { return one.first == name; });
    request.headers.emplace_back(name, value);
    return request;
}

class CatalogEndpointsTest : public testing::Test {
protected:
    Catalog catalog = Catalog::parse(R"({"entries":[
        {"id":7,"title":"A","version":"2.0","bundle_identifiers":["com.example.a"],
         "requirements":{"minimum_os":"12.0"}},
        {"id":8,"title":"Bare","bundle_identifiers":["com.example.bare"]}]})")
                          .value();
    CatalogEndpoints endpoints{catalog};
};

}  // namespace

TEST_F(CatalogEndpointsTest, answersCarryTheMembersInTheirOrderAndLeaveOutWhatIsNotThere) {
    EXPECT_EQ(endpoints.answer(post(matchPath, chunk(1, 1))).body,
              R"({"success":true,"data":[{"id":7,"title":"A","version":"2.0",)"
              R"("bundle_identifiers":["com.example.a"],"requirements":{"minimum_os":"12.0"}}]})");
    EXPECT_EQ(endpoints.answer(post(matchPath, chunk(1, 1, "com.example.bare"))).body,
              R"({"success":true,"data":[{"id":8,"title":"Bare",)"
              R"("bundle_identifiers":["com.example.bare"],"requirements":{}}]})");
    EXPECT_EQ(endpoints.answer(installEvent()).body, R"({"success":true,"data":[]})");
    EXPECT_EQ(endpoints.answer(post(matchPath, chunk(200, 200))).status, 200);
}

TEST_F(CatalogEndpointsTest, refusesWhatBreaksARuleAndSaysWhich) {
    struct Row {
        CatalogRequest request;
        int status;
        std::string message;
    };
    const CatalogRequest good = post(matchPath, chunk(1, 1));
    CatalogRequest get = good;
    get.method = "GET";
    CatalogRequest loadedEvent = installEvent();
    loadedEvent.body = "{}";
    const std::vector<Row> rows{
        {get, 405, "The method must be POST"},
        {post("/v1/apps", Json::object()), 404, "No such endpoint"},
        {withHeader(good, "X-ClientId", "linkcode48r7vT"), 403, "Unknown client id"},
        {withHeader(good, "X-ClientId", "q8t2kzm5ravx7hwe"), 403, "Unknown client id"},
        {withHeader(installEvent(), "X-ClientId", "linkcode48r7vt"), 403, "Unknown client id"},
        {withHeader(good, "content-type", "text/plain"), 400, "Content-Type must be application/json"},
        {withHeader(installEvent(), "Content-Type", "x"), 400, "An install event has no Content-Type"},
        {loadedEvent, 400, "An install event has no body"},
        {post(matchPath, with(chunk(1, 1), "secret", "rk7v")), 403, "Wrong secret"},
        {post(matchPath, chunk(2, 1)), 400, "\"titles\" and \"bundle_ids\" must be of one length"},
        {post(matchPath, chunk(201, 201)), 400, "At most 200 applications in one request"},
        {post(matchPath, with(chunk(1, 1), "titles", 1)), 400, "\"titles\" must be a list of texts"},
        {post(matchPath, with(chunk(1, 1), "bundle_ids", Json::array({1}))), 400,
         "\"bundle_ids\" must be a list of texts"},
        {post(matchPath, std::string("[1]")), 400, "The body is not a JSON object"},
        {post(matchPath, std::string("{\"secret\":\"\xff\"}")), 400, "The body is not a JSON object"},
        {post(matchPath, chunk(1, 1, "com.example.other")), 404, "No apps were found"},
        {post(instancePath, Json{{"version", "1"}}), 400, "\"os\" must be a text"},
        {post(trackingPath, with(event(1), "status", "fine")), 400,
         "\"status\" must be \"success\" or \"error\""},
        {post(trackingPath, with(event(1), "instance_id", "1")), 400, "\"instance_id\" must be an integer"},
        {post(trackingPath, with(event(1), "backtrace", nullptr)), 400, "\"backtrace\" must be a text"},
    };
    for (const Row& row : rows) {
        const CatalogAnswer answer = endpoints.answer(row.request);
        const std::string input =
            row.request.method + " " + row.request.path + " " + row.request.body.substr(0, 200);
        EXPECT_EQ(answer.status, row.status) << input;
        EXPECT_EQ(Json::parse(answer.body), Json({{"success", false}, {"error", {{"message", row.message}}}}))
            << input;
    }
}

TEST_F(CatalogEndpointsTest, everyPrefixOfABodyIsRefusedAsMalformed) {
    const std::string body = chunk(2, 2).dump();
    for (std::size_t length = 0; length < body.size(); ++length)
        EXPECT_EQ(endpoints.answer(post(matchPath, body.substr(0, length))).status, 400) << length;
}

TEST_F(CatalogEndpointsTest, onlyInstanceIdsThatWereHandedOutMayTrack) {
    const auto first = CatalogEndpoints::firstInstanceId;
    const auto accepted = [&](std::int64_t id) {
        const CatalogAnswer answer = endpoints.answer(post(trackingPath, event(id)));
        EXPECT_EQ(answer.status, 200);
        return Json::parse(answer.body).at("success").get<bool>();
    };
    EXPECT_FALSE(accepted(first));
    for (const auto expected : {first, first + 1}) {
        const auto answer =
            endpoints.answer(post(instancePath, Json{{"version", "1"}, {"os", "macOS 14.5.0"}}));
        EXPECT_EQ(answer.body, R"({"success":true,"data":{"id":)" + std::to_string(expected) + "}}");
    }
    EXPECT_TRUE(accepted(first));
    EXPECT_TRUE(accepted(first + 1));
    EXPECT_FALSE(accepted(first + 2));
    EXPECT_FALSE(accepted(first - 1));
}

TEST(RequestRecord, appendsOneLineARequestBehindWhatWasThere) {
    const TemporaryFolder folder;
    folder.write("record", "before\n");
    RequestRecord record(folder.path / "record");
    ASSERT_TRUE(record.append({"POST", "/v1/x", {{"A", "1"}, {"A", "2"}}, "two\nlines"}));
    ASSERT_TRUE(record.append({"GET", "/", {}, "\xff"}));
    EXPECT_EQ(folder.read("record"),
              "before\n"
              R"({"method":"POST","path":"/v1/x","headers":[["A","1"],["A","2"]],"body":"two\nlines"})"
              "\n"
              "{\"method\":\"GET\",\"path\":\"/\",\"headers\":[],\"body\":\"\xEF\xBF\xBD\"}\n");
    EXPECT_FALSE(RequestRecord(folder.path / "none" / "record").isOpen());
    RequestRecord full("/dev/full");
    EXPECT_FALSE(full.append({"GET", "/", {}, ""}));
}

}  // namespace quorvel
