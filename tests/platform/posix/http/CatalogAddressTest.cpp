#include <gtest/gtest.h>

#include "platform/posix/http/CatalogAddress.h"

namespace quorvel {
namespace {

TEST(CatalogAddress, knowsWhichAddressesLeadToThisMachine) {
    const std::pair<const char*, bool> rows[] = {
        {"http://127.0.0.1:8080/v1", true},    {"https://127.255.0.9/v1", true},
        {"http://localhost/v1", true},         {"http://LOCALHOST:1/v1", true},
        {"http://[::1]:8080/v1", true},        {"https://[::1]/v1", true},
        {"http://128.0.0.1/v1", false},        {"http://0.0.0.0:8080/v1", false},
        {"http://[::2]:8080/v1", false},       {"https://localhost.catalog.example/v1", false},
        {"https://catalog.example/v1", false}, {"nonsense", false},
    };
    for (const auto& [url, expected] : rows)
        EXPECT_EQ(isOnThisMachine(url), expected) << url;
}

}  // namespace
}  // namespace quorvel
