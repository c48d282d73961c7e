#include <gtest/gtest.h>

#include "api/RecordCoding.h"

namespace quorvel {
namespace {

std::string envelope(const std::string& data) {
    return R"({"success":true,"data":)" + data + "}";
}

/// The answer's usable entries, each as "id|title|version|identifiers|minimum", or "refused".
std::string readMatches(const std::string& bytes) {
    const auto response = decodeResponse<AutoMatchData>(bytes);
    if (!response) return "refused";
    std::string rows;
    for (const auto& [value] : response->data.value_or(AutoMatchData())) {
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

TEST(RecordCodingTest, refusesAnAnswerThatIsNoEnvelope) {
    for (const std::string bytes :
         {"", "[]", R"({"success":1})", R"({"success":null})", R"({"success":true,"error":{}})",
          R"({"success":true,"error":"x"})", R"({"success":true,"data":{}})",
          "{\"success\":true,\"unknown\":\"\xc3\x28\"}", R"({"success":true,"unknown":1e999})",
          R"({"success":true} x)"})
        EXPECT_EQ(readMatches(bytes), "refused") << bytes;
    for (const std::string data : {"{}", "48213", R"({"id":"1"})"})
        EXPECT_FALSE(decodeResponse<InstanceData>(envelope(data)).has_value()) << data;
    EXPECT_EQ(decodeResponse<AutoMatchData>("{}").error().description,
              R"(The member "success" is missing or is not a boolean.)");
    EXPECT_EQ(decodeResponse<AutoMatchData>(R"({"success":true,"unknown":1e999})").error().description,
              "The answer holds a number that is out of range.");
}

TEST(RecordCodingTest, previewsTheFirstFiveHundredBytes) {
    EXPECT_EQ(bodyPreview(std::string(498, 'x') + "ü…"), std::string(498, 'x') + "ü");
    EXPECT_EQ(bodyPreview(std::string(499, 'x') + "ü"), "<non-utf8>");
}

}  // namespace
}  // namespace quorvel
