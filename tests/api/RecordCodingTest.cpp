#include <gtest/gtest.h>

#include "api/RecordCoding.h"

namespace quorvel {
namespace {

std::string envelope(const std::string& data) {
    return R"({"success":true,"data":)" + data + "}";
}

/// The answer's usable entries, each as "id|title|version|identifiers|minimum", or the decoder's complaint.
std::vector<std::string> readMatches(const std::string& bytes) {
    const auto response = decodeResponse<AutoMatchData>(bytes);
    if (!response) return {"refused: " + response.error().description};
    if (!response->data) return {"no data"};
    std::vector<std::string> rows;
    for (const auto& [value] : *response->data) {
        if (!value) continue;
        std::string identifiers;
        for (const auto& identifier : value->bundleIdentifiers)
            identifiers += identifier + ";";
        rows.push_back(std::to_string(value->id) + "|" + value->title + "|" + value->version + "|" +
                       identifiers + "|" + value->minimumOSVersion.value_or("none"));
    }
    return rows;
}

TEST(RecordCodingTest, writesMembersInOrderWithoutWhiteSpace) {
    EXPECT_EQ(encode(AutoMatchRequest{"s", {"Ed \"x\"", "Ü"}, {"com.example.editor", ""}}),
              R"({"secret":"s","titles":["Ed \"x\"","Ü"],"bundle_ids":["com.example.editor",""]})");
    EXPECT_EQ(encode(RegisterInstanceRequest{"1.4.2", "macOS 14.2.1"}),
              R"({"version":"1.4.2","os":"macOS 14.2.1"})");
    TrackingRequest tracking{48213, "instance", "success", "first_install", "version: 1\nos: 2"};
    EXPECT_EQ(encode(tracking),
              R"({"instance_id":48213,"source":"instance","status":"success","message":"first_install",)"
              R"("backtrace":"version: 1\nos: 2"})");
    tracking.backtrace.reset();
    EXPECT_EQ(encode(tracking),
              R"({"instance_id":48213,"source":"instance","status":"success","message":"first_install"})");
    tracking.message = "\xff";
    EXPECT_FALSE(encode(tracking).has_value());
}

TEST(RecordCodingTest, aMalformedEntryCostsOnlyItselfAndAMalformedMemberOnlyThatMember) {
    using Rows = std::vector<std::string>;
    const std::vector<std::pair<std::string, Rows>> table{
        {R"([{"id":1,"title":"A"},{"id":2},{"id":3,"title":"C"}])", {"1|A|||none", "3|C|||none"}},
        {R"([{"id":"123","title":"A"}])", {}},
        {R"([{"id":1.5,"title":"A"},{"id":null,"title":"A"},{"id":9223372036854775808,"title":"A"}])", {}},
        {R"([{"id":2.0,"title":"A"},{"id":-9223372036854775808,"title":""}])",
         {"2|A|||none", "-9223372036854775808||||none"}},
        {R"([{"id":1,"title":7},3,null,"x",[]])", {}},
        {R"([{"id":1,"title":"A","version":2},{"id":1,"title":"A","version":null}])",
         {"1|A|||none", "1|A|||none"}},
        {R"([{"id":1,"title":"A","bundle_identifiers":["a",1]},{"id":1,"title":"A","bundle_identifiers":"a"}])",
         {"1|A|||none", "1|A|||none"}},
        {R"([{"id":1,"title":"A","version":" 3 ","bundle_identifiers":["a","b"],)"
         R"("requirements":{"minimum_os":"12.0"},"later":{}}])",
         {"1|A| 3 |a;b;|12.0"}},
        {R"([{"id":1,"title":"A","requirements":{}},{"id":1,"title":"A","requirements":"12.0"},)"
         R"({"id":1,"title":"A","requirements":{"minimum_os":12}}])",
         {"1|A|||none", "1|A|||none", "1|A|||none"}},
        {"null", {"no data"}},
    };
    for (const auto& [data, expected] : table)
        EXPECT_EQ(readMatches(envelope(data)), expected) << data;
}

TEST(RecordCodingTest, refusesAnAnswerThatIsNoEnvelope) {
    const std::vector<std::string> refused{
        "",
        "<!DOCTYPE html><html></html>",
        "[]",
        "{}",
        R"({"success":1})",
        R"({"success":null})",
        R"({"success":true,"error":{}})",
        R"({"success":true,"error":"x"})",
        R"({"success":true,"data":{}})",
        R"({"success":true,"data":"x"})",
        "{\"success\":true,\"data\":[{\"id\":1,\"title\":\"\xff\"}]}",
        "{\"success\":true,\"unknown\":\"\xc3\x28\"}",
        R"({"success":true,"unknown":1e999})",
        R"({"success":true} x)",
        std::string(1'000'000, '['),
    };
    for (const auto& bytes : refused) {
        EXPECT_FALSE(decodeResponse<AutoMatchData>(bytes).has_value()) << bytes.substr(0, 80);
    }
    const std::string whole = envelope(R"([{"id":1,"title":"Ä"}])");
    for (std::size_t length = 0; length < whole.size(); ++length) {
        EXPECT_FALSE(decodeResponse<AutoMatchData>(whole.substr(0, length)).has_value()) << length;
    }
}

TEST(RecordCodingTest, readsRegistrationStrictlyAndTrackingLoosely) {
    EXPECT_EQ(decodeResponse<InstanceData>(envelope(R"({"id":48213})"))->data->id, 48213);
    for (const std::string data : {"{}", "48213", R"({"id":"1"})", R"({"id":1e19})"}) {
        EXPECT_FALSE(decodeResponse<InstanceData>(envelope(data)).has_value()) << data;
    }
    for (const std::string data : {"[]", "\"x\"", "{}", "1", "false", "null"}) {
        EXPECT_TRUE(decodeResponse<NoData>(envelope(data)).has_value()) << data;
    }
    const auto refusal = decodeResponse<NoData>(R"({"success":false,"error":{"message":"why"}})");
    EXPECT_FALSE(refusal->success);
    EXPECT_EQ(refusal->error->message, "why");
}

TEST(RecordCodingTest, previewsTheFirstFiveHundredBytes) {
    EXPECT_EQ(bodyPreview("short ü"), "short ü");
    EXPECT_EQ(bodyPreview(std::string(2000, 'x')), std::string(500, 'x'));
    EXPECT_EQ(bodyPreview(std::string(498, 'x') + "ü…"), std::string(498, 'x') + "ü");
    EXPECT_EQ(bodyPreview(std::string(499, 'x') + "ü"), "<non-utf8>");
    EXPECT_EQ(bodyPreview("\xff"), "<non-utf8>");
}

}  // namespace
}  // namespace quorvel
