#include <gtest/gtest.h>

#include "cli/CatalogFailure.h"
#include "platform/ProgramInfo.h"

namespace quorvel {
namespace {

RequestError tooManyRequests(std::optional<std::chrono::seconds> retryAfter) {
    return OrbistoAPIError{
        OrbistoAPIError::HttpError{.statusCode = 429, .body = "", .retryAfter = retryAfter}};
}

/// No test asks for such a name as the built-in one: that would leave this machine.
TEST(CatalogFailure, saysWhatHappenedWhetherItWasReachedAndWhatToDo) {
    using Code = SessionError::Code;
    using std::chrono::seconds;
    const std::string fewer = "The catalog asks for fewer requests (HTTP 429): try again ";
    const std::string unanswered =
        " is a reserved name that nobody answers. Give another with --catalog URL, "
        "or in QUORVEL_CATALOG_URL.";
    const std::string ownName(catalogURL), other = "https://catalog.example/v1",
                                           real = "https://a.test.com/v1";
    const struct {
        RequestError error;
        std::string catalog, sentence;
        ExitStatus status;
        std::string advice;
    } rows[] = {
        {tooManyRequests({}), other, fewer + "later.", ExitStatus::refused, ""},
        {tooManyRequests(seconds(1)), other, fewer + "in 1 second.", ExitStatus::refused, ""},
        {tooManyRequests(seconds(120)), other, fewer + "in 120 seconds.", ExitStatus::refused, ""},
        {tooManyRequests(seconds(121)), other, fewer + "in 3 minutes.", ExitStatus::refused, ""},
        {SessionError{Code::badURL, "x"}, other, "x", ExitStatus::unexpected, ""},
        {SessionError{Code::badServerResponse, "x"}, other, "x", ExitStatus::refused, ""},
        {SessionError{Code::timedOut, "x"}, real, "x", ExitStatus::notReached, ""},
        {SessionError{Code::timedOut, "x"}, other, "x", ExitStatus::notReached, other + unanswered},
        {SessionError{Code::timedOut, "x"}, ownName, "x", ExitStatus::notReached,
         "This program was built without the address of a catalog: " + ownName + unanswered},
        {EncodingError{"x"}, other, "x", ExitStatus::unexpected, ""},
    };
    for (const auto& [error, catalog, sentence, status, advice] : rows) {
        const auto failure = catalogFailure(error);
        EXPECT_EQ(failure.sentence, sentence);
        EXPECT_EQ(failure.status, status) << sentence;
        EXPECT_EQ(adviceOn(failure, catalog), advice) << catalog;
    }
}

}  // namespace
}  // namespace quorvel
