#include <gtest/gtest.h>

#include "api/OrbistoAPIService.h"
#include "support/FakeHttpSession.h"
#include "support/FakeQueue.h"

namespace quorvel {
namespace {

/// Each match as "id|title|version|identifiers|minimum system ", and how many entries were lost.
std::string textOf(const AutoMatchAnswer& answer) {
    std::string text;
    for (const auto& match : answer.results) {
        text += std::to_string(match.id) + "|" + match.title + "|" + match.version + "|";
        for (const auto& identifier : match.bundleIdentifiers)
            text += identifier + ";";
        text += "|" + match.minimumOSVersion.value_or("none") + " ";
    }
    return text + "lost " + std::to_string(answer.lostEntries);
}

std::string textOf(std::int64_t id) {
    return "id " + std::to_string(id);
}

template <typename Value>
std::string outcomeText(const std::expected<Value, RequestError>& outcome) {
    if (!outcome) return description(outcome.error());
    if constexpr (std::is_void_v<Value>)
        return "delivered";
    else
        return textOf(*outcome);
}

HttpOutcome answer(int status, std::string body) {
    return {std::move(body), status, {}};
}

HttpOutcome data(const std::string& json) {
    return answer(200, R"({"success":true,"data":)" + json + "}");
}

std::string undecodable(const std::string& why, const std::string& body) {
    return "Response decode failed: " + why + "\nResponse: " + body;
}

std::string isNot(const std::string& member, const std::string& type, const std::string& body) {
    return undecodable("The member \"" + member + "\" is missing or is not " + type + ".", body);
}

using Rows = std::vector<std::pair<HttpOutcome, std::string>>;

class OrbistoAPIServiceTest : public testing::Test {
protected:
    /// Writes each outcome down; a completion that runs twice shows.
    auto keep() {
        return [this](const auto& outcome) { outcomes.push_back(outcomeText(outcome)); };
    }

    /// What the newest request's completion receives after this answer.
    std::string outcomeAfter(HttpOutcome outcome) {
        outcomes.clear();
        session.end(std::move(outcome));
        EXPECT_TRUE(outcomes.empty()) << "a completion ran outside the main queue";
        queue.runUntilIdle();
        EXPECT_EQ(outcomes.size(), 1U);
        return outcomes.empty() ? "" : outcomes.front();
    }

    /// What becomes of a list of applications by each row's answer.
    void expectMatches(const Rows& rows) {
        for (const auto& [outcome, expected] : rows) {
            client.autoMatch({"Editor"}, {"com.example.editor"}, keep());
            EXPECT_EQ(outcomeAfter(outcome), expected)
                << outcome.statusCode.value_or(0) << " " << outcome.data.value_or("no data");
        }
    }

    FakeQueue queue;
    FakeHttpSession session;
    OrbistoAPIService client{
        session, queue, {{"com.ob.quorvel", "1.4.2"}, {14, 2, 1}}, "https://api.example/v1"};
    std::vector<std::string> outcomes;
};

TEST_F(OrbistoAPIServiceTest, stampsEveryRequestWithItsCredentials) {
    struct Row {
        std::string path, headers, body;
    };
    const std::string json = "Content-Type: application/json\nX-ClientId: linkcode48r7vt\n";
    const std::string agent = "User-Agent: Quorvel/1.4.2 (macOS 14.2.1)\n";
    const std::string report = R"({"instance_id":7,"source":"instance","status":"error","message":"m",)"
                               R"("backtrace":"version: 1.4.2\nos: macOS 14.2.1)";
    const std::vector<Row> rows{
        {"/apps/auto-match-collection", json + agent,
         R"({"secret":"Rk7vQm2XtLp9Wc4NbZs8Hy3JdGf6Ua5E","titles":["Editor"],"bundle_ids":["com.example.editor"]})"},
        {"/qvl/instance", json + agent, R"({"version":"1.4.2","os":"macOS 14.2.1"})"},
        {"/event/app/64734/install", "X-ClientId: q8t2kzm5ravx7hwe\n" + agent, ""},
        {"/qvl/tracking", json + agent, report + R"(\n---\nlog"})"},
        {"/qvl/tracking", json + agent, report + R"(\n---\n"})"},
        {"/qvl/tracking", json + agent, report + R"("})"},
        {"/x", json + agent, R"({"instance_id":-7,"source":"s","status":"success","message":"é \"m\""})"},
    };
    client.autoMatch({"Editor"}, {"com.example.editor"}, keep());
    client.registerInstance({"1.4.2", "macOS 14.2.1"}, keep());
    client.sendInstallEvent(keep());
    client.reportError("m", 7, "log", keep());
    client.reportError("m", 7, "", keep());
    client.reportError("m", 7, std::nullopt, keep());
    client.post("/x", {-7, "s", "success", "é \"m\"", {}}, [](const auto&) {});

    ASSERT_EQ(session.requests.size(), rows.size());
    for (std::size_t index = 0; index < rows.size(); ++index) {
        const auto& request = session.requests[index];
        std::string headers;
        for (const auto& [name, value] : request.headers)
            headers += name + ": " + value + "\n";
        EXPECT_EQ(request.method, "POST") << index;
        EXPECT_EQ(request.url, "https://api.example/v1" + rows[index].path);
        EXPECT_EQ(headers, rows[index].headers) << request.url;
        EXPECT_EQ(request.body, rows[index].body) << request.url;
        EXPECT_EQ(request.idleTimeout, std::chrono::seconds(60)) << request.url;
    }
}

TEST_F(OrbistoAPIServiceTest, tellsAnEmptyResultFromAFailureOfAutoMatch) {
    const std::string refused = R"({"success":false,"error":{"message":"Sorry, No APPS were found"}})";
    expectMatches({
        {answer(299, R"({"success":true,"data":[]})"), "lost 0"},
        {answer(200, refused), "lost 0"},
        {answer(404, refused), "lost 0"},
        {answer(200, R"({"success":true,"error":{"message":"no apps were found"}})"), "lost 0"},
        {answer(500, refused), "Server returned HTTP 500 — " + refused + "."},
        {answer(404, "gone"), "Server returned HTTP 404 — gone."},
        {answer(300, ""), "Server returned HTTP 300."},
        {answer(199, std::string(498, 'x') + "ü…"),
         "Server returned HTTP 199 — " + std::string(498, 'x') + "ü."},
        {answer(500, std::string(499, 'x') + "ü"), "Server returned HTTP 500 — <non-utf8>."},
        {answer(200, R"({"success":false,"data":[{"id":1,"title":"A"}]})"), "Unknown error"},
        {data("null"), "Unknown error"},
        {answer(200, R"({"success":false,"error":{"message":"Rate Limited"}})"), "Rate Limited"},
        {HttpOutcome{}, "api.example gave no valid HTTP answer."},
        {HttpOutcome{std::nullopt, 200, {}}, "api.example gave no valid HTTP answer."},
        {HttpOutcome{{}, {}, SessionError{SessionError::Code::cannotConnect, "Could not connect."}},
         "Could not connect."},
    });
}

TEST_F(OrbistoAPIServiceTest, aMalformedEntryCostsOnlyItselfAndAMalformedMemberOnlyThatMember) {
    expectMatches({
        {data(R"([{"id":1,"title":"A"},{"id":2},{"id":3,"title":"C"}])"), "1|A|||none 3|C|||none lost 1"},
        {data(R"([{"id":"123","title":"A"},{"id":1.5,"title":"A"},{"id":null,"title":"A"}])"), "lost 3"},
        {data(R"([{"id":2.0,"title":"A"},{"id":9223372036854775807,"title":""}])"),
         "2|A|||none 9223372036854775807||||none lost 0"},
        {data(R"([{"id":1,"title":7},3,null,"x",[]])"), "lost 5"},
        {data(R"([{"id":1,"title":"A","version":2},{"id":1,"title":"A","version":null}])"),
         "1|A|||none 1|A|||none lost 0"},
        {data(R"([{"id":1,"title":"A","bundle_identifiers":["a",1]},)"
              R"({"id":1,"title":"B","bundle_identifiers":"a"}])"),
         "1|A|||none 1|B|||none lost 2"},
        {data(R"([{"id":1,"title":"A","version":" 3 ","bundle_identifiers":["a","b"],)"
              R"("requirements":{"minimum_os":"12.0"},"later":{}}])"),
         "1|A| 3 |a;b;|12.0 lost 0"},
        {data(R"([{"id":1,"title":"A","requirements":"12.0"},)"
              R"({"id":1,"title":"A","requirements":{"minimum_os":12}}])"),
         "1|A|||none 1|A|||none lost 0"},
    });
}

TEST_F(OrbistoAPIServiceTest, saysWhyAnAnswerIsNoEnvelope) {
    const std::string success = isNot("success", "a boolean", ""),
                      error = isNot("error.message", "a text", "");
    for (const auto& [body, why] : std::vector<std::pair<std::string, std::string>>{
             {"[]", undecodable("The answer is not a JSON object.", "")},
             {"{}", success},
             {R"({"success":1})", success},
             {R"({"success":true,"error":{}})", error},
             {R"({"success":true,"data":{}})", isNot("data", "a list", "")},
             {R"({"success":true,"unknown":1e999})",
              undecodable("The answer holds a number that is out of range.", "")},
             {R"({"success":true} x)", undecodable("The answer is not valid JSON (at byte 18 of 18).", "")}})
        expectMatches({{answer(200, body), why + body}});
}

TEST_F(OrbistoAPIServiceTest, givesAnInstanceIdOnlyWhenTheServiceGivesOneAndDeliversAnEventInAnyCase) {
    for (const auto& [outcome, expected] : Rows{
             {data(R"({"id":48213})"), "id 48213"},
             {data("null"), "Unknown error"},
             {data("7"), isNot("data", "an object", *data("7").data)},
             {data("{}"), isNot("id", "a 64-bit integer", *data("{}").data)},
             {answer(200, R"({"success":false,"data":{"id":1},"error":{"message":"Rate limited"}})"),
              "Rate limited"},
             {answer(404, "no apps were found"), "Server returned HTTP 404 — no apps were found."},
         }) {
        client.registerInstance({"1.4.2", "macOS 14.2.1"}, keep());
        EXPECT_EQ(outcomeAfter(outcome), expected);
    }
    client.sendInstallEvent(keep());
    EXPECT_EQ(outcomeAfter(answer(204, R"({"success":false,"data":["x"]})")), "delivered");
    client.reportError("m", 1, std::nullopt, keep());
    EXPECT_EQ(outcomeAfter(answer(200, "")),
              undecodable("The answer is not valid JSON (at byte 1 of 0).", ""));
}

TEST_F(OrbistoAPIServiceTest, sendsNothingWhenARecordCannotBeWritten) {
    client.reportError("\xff", 1, std::nullopt, keep());
    EXPECT_TRUE(session.requests.empty());
    EXPECT_TRUE(outcomes.empty()) << "the completion ran inside the call";
    queue.runUntilIdle();
    EXPECT_EQ(outcomes, std::vector<std::string>{"The request holds a text that is not valid UTF-8."});
}

TEST_F(OrbistoAPIServiceTest, aRequestOutlivesItsClient) {
    OrbistoAPIService(session, queue, {{{}, {}}, {14, 2, 1}}, "https://api.example/v1/")
        .registerInstance({"0", "macOS 14.2.1"}, keep());
    EXPECT_EQ(session.requests.back().url, "https://api.example/v1/qvl/instance");
    EXPECT_EQ(session.requests.back().headers[2].value, "Quorvel/unknown (macOS 14.2.1)");
    EXPECT_EQ(outcomeAfter(data(R"({"id":1})")), "id 1");
}

}  // namespace
}  // namespace quorvel
