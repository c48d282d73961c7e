#include "platform/posix/http/SessionFixture.h"

namespace quorvel {
namespace {

TEST(SecureConnection, isMadeOnlyWithACertificateThatHolds) {
    const std::pair<const char*, std::string> rows[] = {
        {"good", ""},
        {"expired", "certificate has expired (issued by Test Authority)"},
        {"other", "the certificate is for another host (issued by Test Authority)"},
        {"unknown", "unable to get local issuer certificate (issued by Strange Authority)"},
    };
    CurlSession session({.moreAuthorities = ScriptedServer::certificateFile("authority")});
    for (const auto& [certificate, reason] : rows) {
        ScriptedServer server({ScriptedServer::answer("{}")}, {.certificate = certificate});
        const std::string expected = reason.empty()
                                         ? "200 {}"
                                         : "secureConnectionFailed: Could not make a secure connection to " +
                                               server.host() + ": " + reason + ".";
        EXPECT_EQ(exchange(session, post(server.url("/"))), expected) << certificate;
        EXPECT_EQ(server.requests().size(), reason.empty() ? 1u : 0u) << certificate;
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
