#include "platform/posix/http/SessionFixture.h"
#include "support/TemporaryFolder.h"
#include "support/TestCertificates.h"

namespace quorvel {
namespace {

const std::string thisHost = "IP:127.0.0.1";

TEST(SecureConnection, isMadeOnlyWithACertificateThatHolds) {
    const TestCertificate authority({.commonName = "Test Authority", .alternativeName = {}});
    const TestCertificate stranger({.commonName = "Strange Authority", .alternativeName = {}});
    const TestCertificate good({.commonName = "good", .alternativeName = thisHost}, &authority);
    const TestCertificate expired({.commonName = "old", .alternativeName = thisHost, .daysUntilExpiry = -1},
                                  &authority);
    const TestCertificate other({.commonName = "other", .alternativeName = "DNS:other.example"}, &authority);
    const TestCertificate unknown({.commonName = "unknown", .alternativeName = thisHost}, &stranger);
    const TestCertificate own({.commonName = "itself", .alternativeName = thisHost});
    const TemporaryFolder folder;
    CurlSession session({.moreAuthorities = folder.write("authority.pem", authority.pem())});

    struct Case {
        const char* name;
        ScriptedServer::Wrap wrap;
        std::string expected;
    };
    const std::vector<Case> cases{
        {"good", good.wrap(), ""},
        {"expired", expired.wrap(), "certificate has expired (issued by Test Authority)"},
        {"another host's", other.wrap(), "the certificate is for another host (issued by Test Authority)"},
        {"of an unknown issuer", unknown.wrap(),
         "unable to get local issuer certificate (issued by Strange Authority)"},
        {"self-signed", own.wrap(), "self-signed certificate (issued by itself)"},
        {"over TLS 1.1", good.wrap(true), "the server offers no TLS 1.2 or later"},
        {"no TLS at all", [](int) { return nullptr; }, "the server ended the handshake"},
    };
    for (const auto& [name, wrap, reason] : cases) {
        ScriptedServer server({ScriptedServer::answer("{}")}, Greeting::serve, wrap);
        const std::string expected =
            reason.empty() ? "200 {}"
                           : "secureConnectionFailed: Could not make a secure connection to 127.0.0.1:" +
                                 std::to_string(server.port()) + ": " + reason + ".";
        EXPECT_EQ(text(exchange(session, post(server.url("/", "https")))), expected) << name;
        EXPECT_EQ(server.requests().size(), reason.empty() ? 1u : 0u) << name;
    }
}

TEST(SecureConnection, trustsTheAuthoritiesOfTheEnvironmentAndNoOthers) {
    const TestCertificate authority({.commonName = "Test Authority", .alternativeName = {}});
    const TestCertificate good({.commonName = "good", .alternativeName = thisHost}, &authority);
    ScriptedServer server({ScriptedServer::answer("{}")}, Greeting::serve, good.wrap());
    const TemporaryFolder folder;
    {
        CurlSession session;
        EXPECT_EQ(exchange(session, post(server.url("/", "https"))).error.value_or(SessionError{}).code,
                  Code::secureConnectionFailed);
    }
    const ScopedVariable file("SSL_CERT_FILE", folder.write("authority.pem", authority.pem()));
    CurlSession session;
    EXPECT_EQ(text(exchange(session, post(server.url("/", "https")))), "200 {}");
}

}  // namespace
}  // namespace quorvel
