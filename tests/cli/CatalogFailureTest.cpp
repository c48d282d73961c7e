#include <gtest/gtest.h>

#include "cli/CatalogFailure.h"
#include "platform/ProgramInfo.h"

namespace quorvel {
namespace {

/// No test asks for such a name: that would leave this machine.
TEST(CatalogFailure, advisesWhereNobodyCanAnswer) {
    const std::string unanswered =
        " is a reserved name that nobody answers. Give another with --catalog URL, "
        "or in QUORVEL_CATALOG_URL.";
    const std::string ownName(catalogURL), other = "https://catalog.example/v1";
    struct Row {
        ExitStatus status;
        std::string catalog, advice;
    };
    const Row rows[] = {
        {ExitStatus::notReached, ownName,
         "This program was built without the address of a catalog: " + ownName + unanswered},
        {ExitStatus::notReached, other, other + unanswered},
        {ExitStatus::notReached, "https://catalog.example.com/v1", ""},
        {ExitStatus::refused, other, ""},
    };
    for (const auto& [status, catalog, advice] : rows)
        EXPECT_EQ(adviceOn({"It failed.", status}, catalog), advice);
}

TEST(CatalogFailure, saysWhenToTryAgain) {
    using std::chrono::seconds;
    const std::pair<std::optional<seconds>, const char*> rows[] = {{std::nullopt, "later"},
                                                                   {seconds(1), "in 1 second"},
                                                                   {seconds(120), "in 120 seconds"},
                                                                   {seconds(121), "in 3 minutes"}};
    for (const auto& [retryAfter, expected] : rows) {
        const OrbistoAPIError::HttpError refusal{.statusCode = 429, .body = "", .retryAfter = retryAfter};
        const auto [sentence, status] = catalogFailure(RequestError(OrbistoAPIError{refusal}));
        EXPECT_EQ(sentence,
                  std::string("The catalog asks for fewer requests (HTTP 429): try again ") + expected + ".");
        EXPECT_EQ(status, ExitStatus::refused);
    }
}

TEST(CatalogFailure, distinguishesACatalogThatWasNotReachedFromOneThatRefuses) {
    using Code = SessionError::Code;
    const std::pair<Code, ExitStatus> rows[] = {{Code::badURL, ExitStatus::unexpected},
                                                {Code::timedOut, ExitStatus::notReached},
                                                {Code::badServerResponse, ExitStatus::refused},
                                                {Code::dataLengthExceedsMaximum, ExitStatus::refused}};
    for (const auto& [code, status] : rows)
        EXPECT_EQ(catalogFailure(RequestError(SessionError{code, ""})).status, status);
}

}  // namespace
}  // namespace quorvel
