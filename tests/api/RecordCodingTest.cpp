#include <gtest/gtest.h>

#include "api/RecordCoding.h"

namespace quorvel {
namespace {

std::string envelope(const std::string& data) {
    return R"({"success":true,"data":)" + data + "}";
}

/// The answer's usable entries, each as "id|title|version|identifiers|minimum".
std::string readMatches(const std::string& bytes) {
    std::string rows;
    for (const auto& [value] : decodeResponse<AutoMatchData>(bytes)->data.value_or(AutoMatchData())) {
        if (!value) continue;
        rows += std::to_string(value->id) + "|" + value->title + "|" + value->version + "|";
        for (const auto& identifier : value->bundleIdentifiers)
            rows += identifier + ";";
        rows += "|" + value->minimumOSVersion.value_or("none") + " ";
    }
    return rows;
}

TEST(RecordCodingTest, aMalformedEntryCostsOnlyItselfAndAMalformedMemberOnlyThatMember) {
    const std::pair<const char*, const char*> rows[] = {
        {R"([{"id":1,"title":"A"},{"id":2},{"id":3,"title":"C"}])", "1|A|||none 3|C|||none "},
        {R"([{"id":"123","title":"A"},{"id":1.5,"title":"A"},{"id":null,"title":"A"}])", ""},
        {R"([{"id":9223372036854775808,"title":"A"},{"id":1e19,"title":"A"},{"id":-1e19,"title":"A"}])", ""},
        {R"([{"id":2.0,"title":"A"},{"id":-9223372036854775808,"title":""}])",
         "2|A|||none -9223372036854775808||||none "},
        {R"([{"id":9223372036854775807,"title":"A"},{"id":-9.223372036854775808e18,"title":"A"}])",
         "9223372036854775807|A|||none -9223372036854775808|A|||none "},
        {R"([{"id":1,"title":7},3,null,"x",[]])", ""},
        {R"([{"id":1,"title":"A","version":2},{"id":1,"title":"A","version":null}])",
         "1|A|||none 1|A|||none "},
        {R"([{"id":1,"title":"A","bundle_identifiers":["a",1]},{"id":1,"title":"B","bundle_identifiers":"a"}])",
         "1|A|||none 1|B|||none "},
        {R"([{"id":1,"title":"A","version":" 3 ","bundle_identifiers":["a","b"],)"
         R"("requirements":{"minimum_os":"12.0"},"later":{}}])",
         "1|A| 3 |a;b;|12.0 "},
        {R"([{"id":1,"title":"A","requirements":"12.0"},{"id":1,"title":"A","requirements":{"minimum_os":12}}])",
         "1|A|||none 1|A|||none "},
        {"null", ""},
    };
    for (const auto& [data, expected] : rows)
        EXPECT_EQ(readMatches(envelope(data)), expected) << data;
}

TEST(RecordCodingTest, saysWhyAnAnswerIsNoEnvelope) {
    const auto isNot = [](const std::string& member, const std::string& type) {
        return "The member \"" + member + "\" is missing or is not " + type + ".";
    };
    const std::pair<std::string, std::string> rows[] = {
        {"[]", "The answer is not a JSON object."},
        {"{}", isNot("success", "a boolean")},
        {R"({"success":1})", isNot("success", "a boolean")},
        {R"({"success":null})", isNot("success", "a boolean")},
        {R"({"success":true,"error":{}})", isNot("error.message", "a text")},
        {R"({"success":true,"error":"x"})", isNot("error.message", "a text")},
        {envelope("{}"), isNot("data", "a list")},
        {"{\"success\":true,\"unknown\":\"\xc3\x28\"}", "The answer is not valid JSON (at byte 29 of 31)."},
        {R"({"success":true,"unknown":1e999})", "The answer holds a number that is out of range."},
        {R"({"success":true} x)", "The answer is not valid JSON (at byte 18 of 18)."},
    };
    for (const auto& [bytes, expected] : rows) {
        const auto response = decodeResponse<AutoMatchData>(bytes);
        EXPECT_EQ(response ? "read" : response.error().description, expected) << bytes;
    }
    EXPECT_EQ(decodeResponse<InstanceData>(envelope("7")).error().description, isNot("data", "an object"));
    EXPECT_EQ(decodeResponse<InstanceData>(envelope("{}")).error().description,
              isNot("id", "a 64-bit integer"));
}

TEST(RecordCodingTest, previewsTheFirstFiveHundredBytes) {
    EXPECT_EQ(bodyPreview(std::string(498, 'x') + "ü…"), std::string(498, 'x') + "ü");
    EXPECT_EQ(bodyPreview(std::string(499, 'x') + "ü"), "<non-utf8>");
}

}  // namespace
}  // namespace quorvel
