#include "platform/posix/http/TlsPolicy.h"

#include <openssl/ssl.h>
#include <openssl/x509v3.h>

#include "platform/posix/http/SystemTrust.h"

namespace quorvel {

namespace {

/// One entry of a certificate's name as text. A certificate is a stranger's words: control characters go.
std::string nameEntry(const X509_NAME* name, int kind) {
    const int index = X509_NAME_get_index_by_NID(name, kind, -1);
    if (index < 0) return {};
    unsigned char* bytes = nullptr;
    const int length =
        ASN1_STRING_to_UTF8(&bytes, X509_NAME_ENTRY_get_data(X509_NAME_get_entry(name, index)));
    std::string text;
    for (int position = 0; position < length; ++position) {
        if (bytes[position] >= 0x20 && bytes[position] != 0x7F) text += static_cast<char>(bytes[position]);
    }
    OPENSSL_free(bytes);
    return text;
}

std::string issuerOf(const X509* certificate) {
    const X509_NAME* name = X509_get_issuer_name(certificate);
    std::string common = nameEntry(name, NID_commonName);
    return common.empty() ? nameEntry(name, NID_organizationName) : common;
}

/// OpenSSL's own verification, and a note of what it stumbled over.
int verify(X509_STORE_CTX* store, void* argument) {
    auto& verdict = *static_cast<TlsVerdict*>(argument);
    const int accepted = X509_verify_cert(store);
    const X509* certificate = X509_STORE_CTX_get_current_cert(store);
    if (accepted == 1 || certificate == nullptr) certificate = X509_STORE_CTX_get0_cert(store);
    if (certificate != nullptr) verdict.issuer = issuerOf(certificate);
    if (accepted != 1) verdict.reason = X509_verify_cert_error_string(X509_STORE_CTX_get_error(store));
    return accepted;
}

}  // namespace

void TlsPolicy::apply(CURL* easy) {
    curl_easy_setopt(easy, CURLOPT_SSLVERSION, long{CURL_SSLVERSION_TLSv1_2});
    curl_easy_setopt(easy, CURLOPT_SSL_VERIFYPEER, 1L);
    curl_easy_setopt(easy, CURLOPT_SSL_VERIFYHOST, 2L);
    // Both are built into libcurl and would be read beside what onContext() chooses.
    curl_easy_setopt(easy, CURLOPT_CAINFO, nullptr);
    curl_easy_setopt(easy, CURLOPT_CAPATH, nullptr);
    curl_easy_setopt(easy, CURLOPT_SSL_CTX_FUNCTION, &TlsPolicy::onContext);
    curl_easy_setopt(easy, CURLOPT_SSL_CTX_DATA, this);
}

CURLcode TlsPolicy::onContext(CURL* /*easy*/, void* context, void* self) {
    auto& policy = *static_cast<TlsPolicy*>(self);
    auto* const tls = static_cast<SSL_CTX*>(context);
    policy.verdict = {};
    SSL_CTX_set_options(tls, SSL_OP_NO_RENEGOTIATION);  // a second handshake could outlive the verdict
    trustSystem(tls);
    if (!policy.authorities.empty() && SSL_CTX_load_verify_file(tls, policy.authorities.c_str()) != 1) {
        return CURLE_SSL_CACERT_BADFILE;
    }
    SSL_CTX_set_cert_verify_callback(tls, verify, &policy.verdict);
    return CURLE_OK;
}

}  // namespace quorvel
