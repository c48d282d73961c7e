#include "platform/posix/http/SessionFixture.h"

namespace quorvel {
namespace {

TEST(SecureConnection, isMadeOnlyWithACertificateThatHolds) {
    const struct {
        const char* name;
        ScriptedServer::Options options;
        std::string reason;
    } rows[] = {
        {"good", {.certificate = "good"}, ""},
        {"expired", {.certificate = "expired"}, "certificate has expired (issued by Test Authority)"},
        {"another host's",
         {.certificate = "other"},
         "the certificate is for another host (issued by Test Authority)"},
        {"of an unknown issuer",
         {.certificate = "unknown"},
         "unable to get local issuer certificate (issued by Strange Authority)"},
        {"over TLS 1.1",
         {.certificate = "good", .isOutdated = true},
         "the server offers no TLS 1.2 or later"},
        {"no TLS at all",
         {.greeting = Greeting::drop, .certificate = "good"},
         "the server ended the handshake"},
    };
    CurlSession session({.moreAuthorities = ScriptedServer::certificateFile("authority")});
    for (const auto& [name, options, reason] : rows) {
        ScriptedServer server({ScriptedServer::answer("{}")}, options);
        const std::string expected = reason.empty()
                                         ? "200 {}"
                                         : "secureConnectionFailed: Could not make a secure connection to " +
                                               server.host() + ": " + reason + ".";
        EXPECT_EQ(exchange(session, post(server.url("/"))), expected) << name;
        EXPECT_EQ(server.requests().size(), reason.empty() ? 1u : 0u) << name;
    }
}

TEST(SecureConnection, trustsTheAuthoritiesOfTheEnvironmentAndNoOthers) {
    ScriptedServer server({ScriptedServer::answer("{}")}, {.certificate = "good"});
    {
        CurlSession session;
        EXPECT_TRUE(exchange(session, post(server.url("/"))).starts_with("secureConnectionFailed: "));
    }
    const ScopedVariable file("SSL_CERT_FILE", ScriptedServer::certificateFile("authority"));
    CurlSession session;
    EXPECT_EQ(exchange(session, post(server.url("/"))), "200 {}");
}

}  // namespace
}  // namespace quorvel
