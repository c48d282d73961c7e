#include <gtest/gtest.h>

#include "api/OrbistoAPIService.h"
#include "support/FakeHttpSession.h"
#include "support/FakeQueue.h"

namespace quorvel {
namespace {

template <typename Value>
std::string outcomeText(const std::expected<Value, RequestError>& outcome) {
    if (!outcome) return description(outcome.error());
    if constexpr (std::is_same_v<Value, AutoMatchAnswer>) {
        std::string titles = "matches:";
        for (const auto& match : outcome->results)
            titles += " " + match.title;
        return titles + (outcome->lostEntries == 0 ? "" : ", lost " + std::to_string(outcome->lostEntries));
    } else if constexpr (std::is_same_v<Value, std::int64_t>) {
        return "id " + std::to_string(*outcome);
    } else {
        return "delivered";
    }
}

class OrbistoAPIServiceTest : public testing::Test {
protected:
    /// Writes each outcome down; a completion that runs twice shows.
    auto keep() {
        return [this](const auto& outcome) { outcomes.push_back(outcomeText(outcome)); };
    }

    void autoMatch() { client.autoMatch({"Editor"}, {"com.example.editor"}, keep()); }
    void registerInstance() { client.registerInstance({"1.4.2", "macOS 14.2.1"}, keep()); }

    /// What the newest request's completion receives after this answer.
    std::string outcomeAfter(HttpOutcome outcome) {
        outcomes.clear();
        session.end(std::move(outcome));
        EXPECT_TRUE(outcomes.empty()) << "a completion ran outside the main queue";
        queue.runUntilIdle();
        EXPECT_EQ(outcomes.size(), 1U);
        return outcomes.empty() ? "" : outcomes.front();
    }
    static HttpOutcome answer(int status, std::string body) { return {std::move(body), status, {}}; }

    FakeQueue queue;
    FakeHttpSession session;
    OrbistoAPIService client{
        session, queue, {{"com.ob.quorvel", "1.4.2"}, {14, 2, 1}}, "https://api.example/v1"};
    std::vector<std::string> outcomes;
};

TEST_F(OrbistoAPIServiceTest, stampsEveryRequestWithItsCredentials) {
    struct Row {
        std::string url, headers, body;
    };
    const std::string json = "Content-Type: application/json\nX-ClientId: linkcode48r7vt\n";
    const std::string agent = "User-Agent: Quorvel/1.4.2 (macOS 14.2.1)\n";
    const std::vector<Row> rows{
        {"https://api.example/v1/apps/auto-match-collection", json + agent,
         R"({"secret":"Rk7vQm2XtLp9Wc4NbZs8Hy3JdGf6Ua5E","titles":["Editor"],"bundle_ids":["com.example.editor"]})"},
        {"https://api.example/v1/qvl/instance", json + agent, R"({"version":"1.4.2","os":"macOS 14.2.1"})"},
        {"https://api.example/v1/event/app/64734/install", "X-ClientId: q8t2kzm5ravx7hwe\n" + agent, ""},
        {"https://api.example/v1/qvl/tracking", json + agent,
         R"({"instance_id":7,"source":"instance","status":"error","message":"m",)"
         R"("backtrace":"version: 1.4.2\nos: macOS 14.2.1\n---\nlog"})"},
        {"https://api.example/v1/qvl/tracking", json + agent,
         R"({"instance_id":7,"source":"instance","status":"error","message":"m",)"
         R"("backtrace":"version: 1.4.2\nos: macOS 14.2.1\n---\n"})"},
        {"https://api.example/v1/qvl/tracking", json + agent,
         R"({"instance_id":-7,"source":"s","status":"success","message":"é \"m\""})"},
    };
    autoMatch();
    registerInstance();
    client.sendInstallEvent(keep());
    client.reportError("m", 7, "log", keep());
    client.reportError("m", 7, "", keep());
    client.post("/qvl/tracking", {-7, "s", "success", "é \"m\"", {}}, keep());

    ASSERT_EQ(session.requests.size(), rows.size());
    for (std::size_t index = 0; index < rows.size(); ++index) {
        const auto& request = session.requests[index];
        std::string headers;
        for (const auto& [name, value] : request.headers)
            headers += name + ": " + value + "\n";
        EXPECT_EQ(request.method, "POST") << index;
        EXPECT_EQ(request.url, rows[index].url);
        EXPECT_EQ(headers, rows[index].headers) << request.url;
        EXPECT_EQ(request.body, rows[index].body) << request.url;
        EXPECT_EQ(request.idleTimeout, std::chrono::seconds(60)) << request.url;
    }
}

TEST_F(OrbistoAPIServiceTest, tellsAnEmptyResultFromAFailureOfAutoMatch) {
    const std::string refused = R"({"success":false,"error":{"message":"Sorry, No APPS were found"}})";
    const std::vector<std::pair<HttpOutcome, std::string>> rows{
        {answer(200, R"({"success":true,"data":[{"id":1,"title":"A"},{"id":2},{"id":3,"title":"C"},)"
                     R"({"id":4,"title":"D","bundle_identifiers":["d",1]}]})"),
         "matches: A C D, lost 2"},
        {answer(299, R"({"success":true,"data":[]})"), "matches:"},
        {answer(200, refused), "matches:"},
        {answer(404, refused), "matches:"},
        {answer(404, "gone"), "Server returned HTTP 404 — gone."},
        {answer(300, ""), "Server returned HTTP 300."},
        {answer(199, std::string(501, 'x')), "Server returned HTTP 199 — " + std::string(500, 'x') + "."},
        {answer(500, refused), "Server returned HTTP 500 — " + refused + "."},
        {answer(200, R"({"success":false,"data":[{"id":1,"title":"A"}]})"), "Unknown error"},
        {answer(200, R"({"success":true,"data":null})"), "Unknown error"},
        {answer(200, R"({"success":true,"error":{"message":"no apps were found"}})"), "matches:"},
        {answer(200, R"({"success":false,"error":{"message":"Rate Limited"}})"), "Rate Limited"},
        {answer(200, "<html>"),
         "Response decode failed: The answer is not valid JSON (at byte 1 of 6).\nResponse: <html>"},
        {HttpOutcome{}, "api.example gave no valid HTTP answer."},
        {HttpOutcome{std::nullopt, 200, {}}, "api.example gave no valid HTTP answer."},
        {HttpOutcome{{}, {}, SessionError{SessionError::Code::cannotConnect, "Could not connect."}},
         "Could not connect."},
    };
    for (const auto& [outcome, expected] : rows) {
        autoMatch();
        EXPECT_EQ(outcomeAfter(outcome), expected)
            << outcome.statusCode.value_or(0) << " " << outcome.data.value_or("no data");
    }
}

TEST_F(OrbistoAPIServiceTest, givesAnInstanceIdOnlyWhenTheServiceGivesOne) {
    const std::vector<std::pair<HttpOutcome, std::string>> rows{
        {answer(200, R"({"success":true,"data":{"id":48213}})"), "id 48213"},
        {answer(200, R"({"success":true,"data":null})"), "Unknown error"},
        {answer(200, R"({"success":false,"data":{"id":1},"error":{"message":"Rate limited"}})"),
         "Rate limited"},
        {answer(404, "no apps were found"), "Server returned HTTP 404 — no apps were found."},
    };
    for (const auto& [outcome, expected] : rows) {
        registerInstance();
        EXPECT_EQ(outcomeAfter(outcome), expected) << outcome.data.value_or("");
    }
}

TEST_F(OrbistoAPIServiceTest, anyEnvelopeDeliversAnEvent) {
    client.sendInstallEvent(keep());
    EXPECT_EQ(outcomeAfter(answer(204, R"({"success":false,"data":["x"]})")), "delivered");
    client.reportError("m", 1, std::nullopt, keep());
    EXPECT_EQ(outcomeAfter(answer(200, "")).substr(0, 23), "Response decode failed:");
}

TEST_F(OrbistoAPIServiceTest, sendsNothingWhenARecordCannotBeWritten) {
    client.reportError("\xff", 1, std::nullopt, keep());
    EXPECT_TRUE(session.requests.empty());
    EXPECT_TRUE(outcomes.empty()) << "the completion ran inside the call";
    queue.runUntilIdle();
    EXPECT_EQ(outcomes, std::vector<std::string>{"The request holds a text that is not valid UTF-8."});
}

TEST_F(OrbistoAPIServiceTest, aRequestOutlivesItsClient) {
    {
        OrbistoAPIService shortLived(session, queue, {{{}, {}}, {14, 2, 1}}, "https://api.example/v1/");
        shortLived.registerInstance({"0", "macOS 14.2.1"}, keep());
    }
    EXPECT_EQ(session.requests.back().url, "https://api.example/v1/qvl/instance");
    EXPECT_EQ(session.requests.back().headers[2].value, "Quorvel/unknown (macOS 14.2.1)");
    EXPECT_EQ(outcomeAfter(answer(200, R"({"success":true,"data":{"id":1}})")), "id 1");
}

}  // namespace
}  // namespace quorvel
