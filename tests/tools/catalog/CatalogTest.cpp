#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "CatalogEndpoints.h"

namespace quorvel {
namespace {

using Json = nlohmann::json;

/// What a program's tests rely on: requests that break a rule are refused, and the others are answered.
class CatalogTest : public testing::Test {
protected:
    /// "STATUS BODY" of a POST with the headers of a JSON request.
    std::string answer(const std::string& path, const std::string& body, const std::string& header = "",
                       const std::string& value = "") {
        CatalogRequest request{"POST",
                               "/v1" + path,
                               {{"content-type", "application/json"}, {"X-ClientId", "linkcode48r7vt"}},
                               body};
        for (auto& [name, present] : request.headers)
            if (name == header) present = value;
        const auto answer = endpoints.answer(request);
        return std::to_string(answer.status) + " " + answer.body;
    }
    std::string match(const Json& titles, const Json& identifiers, const std::string& secret = key) {
        return answer("/apps/auto-match-collection",
                      Json{{"secret", secret}, {"titles", titles}, {"bundle_ids", identifiers}}.dump());
    }

    static constexpr const char* key = "Rk7vQm2XtLp9Wc4NbZs8Hy3JdGf6Ua5E";
    Catalog catalog = Catalog::parse(R"({"entries":[
        {"id":1,"title":"Editor","version":"2.0","bundle_identifiers":["a"],"requirements":{"minimum_os":"12"}},
        {"id":2,"title":"Suite","bundle_identifiers":["b","c"]},
        {"id":3,"title":"Player"},
        {"id":4,"title":"Editor Plus","bundle_identifiers":["a"]}]})")
                          .value();
    CatalogEndpoints endpoints{catalog};
};

TEST_F(CatalogTest, matchesByIdentifierAndByTitleOnlyWhereThereIsNone) {
    const std::string editors =
        R"({"id":1,"title":"Editor","version":"2.0","bundle_identifiers":["a"],"requirements":{"minimum_os":"12"}},)"
        R"({"id":4,"title":"Editor Plus","bundle_identifiers":["a"],"requirements":{}})";
    const std::string suite = R"({"id":2,"title":"Suite","bundle_identifiers":["b","c"],"requirements":{}})";
    const auto found = [](const std::string& data) {
        return R"(200 {"success":true,"data":[)" + data + "]}";
    };
    EXPECT_EQ(match({"x", "x", "x"}, {"c", "a", "b"}), found(suite + "," + editors));
    EXPECT_EQ(match({"Player"}, {""}),
              found(R"({"id":3,"title":"Player","bundle_identifiers":[],"requirements":{}})"));
    EXPECT_TRUE(match({"Player", "player", "x"}, {"other", "", "A"}).starts_with("404 "));
}

TEST_F(CatalogTest, refusesWhatBreaksARuleAndSaysWhich) {
    const std::string tracking =
        R"({"instance_id":40001,"source":"instance","status":"success","message":"m"})";
    const std::pair<std::string, const char*> rows[] = {
        {answer("/apps", "{}"), "404 No such endpoint"},
        {answer("/qvl/instance", "{}", "X-ClientId", "linkcode48r7vT"), "403 Unknown client id"},
        {answer("/qvl/instance", "{}", "content-type", "text/plain"),
         "400 Content-Type must be application/json"},
        {answer("/qvl/instance", R"({"os":"x","version":"1")"), "400 The body is not a JSON object"},
        {answer("/qvl/instance", R"({"version":"1"})"), "400 \"os\" must be a text"},
        {match({"A"}, {"a"}, "rk7v"), "403 Wrong secret"},
        {match({"A"}, {"a", "b"}), "400 \"titles\" and \"bundle_ids\" must be of one length"},
        {match(Json(201, "A"), Json(201, "a")), "400 At most 200 applications in one request"},
        {match(1, {"a"}), "400 \"titles\" must be a list of texts"},
        {match({"A"}, {"other"}), "404 No apps were found"},
        {answer("/qvl/tracking", tracking), "200 Unknown instance id"},
        {answer("/event/app/64734/install", "", "X-ClientId", "q8t2kzm5ravx7hwe"),
         "400 An install event has no Content-Type"},
    };
    for (const auto& [given, expected] : rows) {
        const auto message = Json::parse(given.substr(4)).at("error").at("message").get<std::string>();
        EXPECT_EQ(given.substr(0, 4) + message, expected);
    }
    EXPECT_EQ(answer("/qvl/instance", R"({"version":"1","os":"x"})"),
              R"(200 {"success":true,"data":{"id":40001}})");
    EXPECT_EQ(answer("/qvl/tracking", tracking), R"(200 {"success":true,"data":[]})");
}

}  // namespace
}  // namespace quorvel
