#pragma once

#include <memory>
#include <string>

#include "support/ScriptedServer.h"

typedef struct x509_st X509;
typedef struct evp_pkey_st EVP_PKEY;

namespace quorvel {

/// A certificate and its key, made anew for each test.
class TestCertificate {
public:
    struct Traits {
        std::string commonName;
        /// Subject alternative name as OpenSSL writes it, for example "IP:127.0.0.1"; an authority has none.
        std::string alternativeName;
        long daysUntilExpiry = 30;
    };

    /// Signed by `issuer`, or by itself without one.
    explicit TestCertificate(const Traits& traits, const TestCertificate* issuer = nullptr);

    std::string pem() const;

    /// A wrapping for ScriptedServer that serves TLS with this certificate, up to TLS 1.1 with `outdated`.
    ScriptedServer::Wrap wrap(bool outdated = false) const;

private:
    std::shared_ptr<EVP_PKEY> key;
    std::shared_ptr<X509> certificate;
};

}  // namespace quorvel
