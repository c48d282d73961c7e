#include <gtest/gtest.h>

#include "ui/PercentEncoding.h"

namespace quorvel {
namespace {

TEST(PercentEncoding, keepsExactlyTheCharactersThatAQueryAllows) {
    const std::string kept =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~!$&'()*+,;=:@/?";
    for (int value = 0; value < 128; ++value) {
        const std::string character(1, static_cast<char>(value));
        char escaped[4];
        std::snprintf(escaped, sizeof escaped, "%%%02X", static_cast<unsigned>(value));
        const bool isKept = value != 0 && kept.find(character) != std::string::npos;
        EXPECT_EQ(percentEncodedQuery(character), isKept ? character : std::string(escaped)) << value;
        EXPECT_EQ(percentEncodedSize(character), isKept ? 1U : 3U) << value;
    }
}

TEST(PercentEncoding, encodesTheBytesOfUtf8AndNothingElse) {
    EXPECT_EQ(percentEncodedQuery(""), "");
    EXPECT_EQ(percentEncodedQuery("é 藍👍\r\n"), "%C3%A9%20%E8%97%8D%F0%9F%91%8D%0D%0A");
    for (const char* malformed : {"\xFF", "a\xC3", "\xED\xA0\x80", "\xC0\xAF"})
        EXPECT_EQ(percentEncodedQuery(malformed), std::nullopt);
}

}  // namespace
}  // namespace quorvel
