#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "CatalogEndpoints.h"

namespace quorvel {
namespace {

using Json = nlohmann::json;

constexpr const char* key = "Rk7vQm2XtLp9Wc4NbZs8Hy3JdGf6Ua5E";

std::string match(const Json& titles, const Json& identifiers, const std::string& secret = key) {
    return Json{{"secret", secret}, {"titles", titles}, {"bundle_ids", identifiers}}.dump();
}

/// What a program's tests rely on.
TEST(Catalog, answersRequestsThatKeepTheRulesAndSaysWhichOneTheOthersBreak) {
    const auto catalog = Catalog::parse(R"({"entries":[{"id":3,"title":"Player"}]})").value();
    CatalogEndpoints endpoints{catalog};
    const std::string matching = "/apps/auto-match-collection", install = "/event/app/64734/install";
    const std::string tracking =
        R"({"instance_id":40001,"source":"instance","status":"success","message":"m"})";
    const struct {
        std::string path, body, answer, type = "application/json", client = "linkcode48r7vt";
    } rows[] = {
        {"/apps", "{}", "404 No such endpoint"},
        {"/qvl/instance", "{}", "403 Unknown client id", "application/json", "linkcode48r7vT"},
        {"/qvl/instance", "{}", "400 Content-Type must be application/json", "text/plain"},
        {"/qvl/instance", R"({"os":"x","version":"1")", "400 The body is not a JSON object"},
        {"/qvl/instance", R"({"version":"1"})", "400 \"os\" must be a text"},
        {matching, match({"A"}, {"a"}, "rk7v"), "403 Wrong secret"},
        {matching, match({"A"}, {"a", "b"}), "400 \"titles\" and \"bundle_ids\" must be of one length"},
        {matching, match(Json(201, "A"), Json(201, "a")), "400 At most 200 applications in one request"},
        {matching, match(1, {"a"}), "400 \"titles\" must be a list of texts"},
        {matching, match({"player"}, {""}), "404 No apps were found"},
        {matching, match({"Player"}, {""}),
         R"(200 [{"bundle_identifiers":[],"id":3,"requirements":{},"title":"Player"}])"},
        {"/qvl/tracking", tracking, "200 Unknown instance id"},
        {install, "", "400 An install event has no Content-Type", "application/json", "q8t2kzm5ravx7hwe"},
        {"/qvl/instance", R"({"version":"1","os":"x"})", R"(200 {"id":40001})"},
        {"/qvl/tracking", tracking, "200 []"},
    };
    for (const auto& [path, body, expected, type, client] : rows) {
        const auto answer =
            endpoints.answer({"POST", "/v1" + path, {{"content-type", type}, {"X-ClientId", client}}, body});
        const auto json = Json::parse(answer.body);
        EXPECT_EQ(std::to_string(answer.status) + " " +
                      (json["success"] ? json["data"].dump() : json["error"]["message"].get<std::string>()),
                  expected);
    }
}

}  // namespace
}  // namespace quorvel
