#include "support/TestCertificates.h"

#include <array>
#include <openssl/bio.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>

namespace quorvel {

namespace {

constexpr long secondsPerDay = 24 * 60 * 60;

/// An established TLS connection over a socket that is not its own.
class TlsStream final : public ScriptedServer::Stream {
public:
    explicit TlsStream(SSL* established) : connection(established, SSL_free) {}

    std::string read() override {
        std::array<char, 16 * 1024> buffer;
        const int count = SSL_read(connection.get(), buffer.data(), static_cast<int>(buffer.size()));
        return count > 0 ? std::string(buffer.data(), static_cast<std::size_t>(count)) : std::string();
    }
    void write(std::string_view bytes) override {
        SSL_write(connection.get(), bytes.data(), static_cast<int>(bytes.size()));
    }
    void finish() override { SSL_shutdown(connection.get()); }

private:
    std::unique_ptr<SSL, decltype(&SSL_free)> connection;
};

void addExtension(X509* certificate, int kind, const std::string& value) {
    X509_EXTENSION* extension = X509V3_EXT_conf_nid(nullptr, nullptr, kind, value.c_str());
    X509_add_ext(certificate, extension, -1);
    X509_EXTENSION_free(extension);
}

}  // namespace

TestCertificate::TestCertificate(const Traits& traits, const TestCertificate* issuer)
    : key(EVP_EC_gen("P-256"), EVP_PKEY_free), certificate(X509_new(), X509_free) {
    X509* const made = certificate.get();
    X509_set_version(made, X509_VERSION_3);
    ASN1_INTEGER_set(X509_get_serialNumber(made), issuer != nullptr ? 2 : 1);
    X509_gmtime_adj(X509_getm_notBefore(made), -60 * secondsPerDay);
    X509_gmtime_adj(X509_getm_notAfter(made), traits.daysUntilExpiry * secondsPerDay);
    X509_set_pubkey(made, key.get());
    X509_NAME_add_entry_by_txt(X509_get_subject_name(made), "CN", MBSTRING_UTF8,
                               reinterpret_cast<const unsigned char*>(traits.commonName.c_str()), -1, -1, 0);
    const TestCertificate& signer = issuer != nullptr ? *issuer : *this;
    X509_set_issuer_name(made, X509_get_subject_name(signer.certificate.get()));
    if (traits.alternativeName.empty()) {
        addExtension(made, NID_basic_constraints, "critical,CA:TRUE");
    } else {
        addExtension(made, NID_subject_alt_name, traits.alternativeName);
    }
    X509_sign(made, signer.key.get(), EVP_sha256());
}

std::string TestCertificate::pem() const {
    const std::unique_ptr<BIO, decltype(&BIO_free)> memory(BIO_new(BIO_s_mem()), BIO_free);
    PEM_write_bio_X509(memory.get(), certificate.get());
    char* bytes = nullptr;
    const long length = BIO_get_mem_data(memory.get(), &bytes);
    return {bytes, static_cast<std::size_t>(length)};
}

ScriptedServer::Wrap TestCertificate::wrap(bool outdated) const {
    const std::shared_ptr<SSL_CTX> context(SSL_CTX_new(TLS_server_method()), SSL_CTX_free);
    if (outdated) {
        SSL_CTX_set_cipher_list(context.get(), "DEFAULT:@SECLEVEL=0");
        SSL_CTX_set_min_proto_version(context.get(), TLS1_VERSION);
        SSL_CTX_set_max_proto_version(context.get(), TLS1_1_VERSION);
    }
    SSL_CTX_use_certificate(context.get(), certificate.get());
    SSL_CTX_use_PrivateKey(context.get(), key.get());
    return [context](int socket) -> std::unique_ptr<ScriptedServer::Stream> {
        SSL* const connection = SSL_new(context.get());
        SSL_set_fd(connection, socket);
        if (SSL_accept(connection) == 1) return std::make_unique<TlsStream>(connection);
        SSL_free(connection);
        return nullptr;
    };
}

}  // namespace quorvel
