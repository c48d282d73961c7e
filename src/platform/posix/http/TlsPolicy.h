#pragma once

#include <curl/curl.h>
#include <filesystem>
#include <string>

namespace quorvel {

/// What a TLS handshake found out about the other side, for the sentence that explains its failure.
struct TlsVerdict {
    /// Why the certificate was refused, in OpenSSL's words; empty when it was accepted.
    std::string reason;
    /// Who issued the certificate in question; empty when none was seen or it names nobody.
    std::string issuer;
};

/// TLS 1.2 or later, with a verified certificate for the host's name. `verdict` must outlive the handshake.
class TlsPolicy {
public:
    /// Certificates are checked against the system's authorities, and those of this PEM file unless empty.
    explicit TlsPolicy(std::filesystem::path moreAuthorities) : authorities(std::move(moreAuthorities)) {}

    void apply(CURL* easy);

    TlsVerdict verdict;

private:
    static CURLcode onContext(CURL* easy, void* context, void* self);

    std::filesystem::path authorities;
};

}  // namespace quorvel
