#include "platform/posix/http/SystemTrust.h"

#include <cstdlib>
#include <filesystem>
#include <openssl/x509.h>
#include <system_error>

namespace quorvel {

namespace {

/// Whether OpenSSL can look up authorities in `folder` one by one, by file names made of their hash.
bool isIndexed(const char* folder) {
    std::error_code ignored;
    for (std::filesystem::directory_iterator entry(folder, ignored), end; entry != end;
         entry.increment(ignored)) {
        if (entry->path().extension() == ".0") return true;
    }
    return false;
}

}  // namespace

/// The authorities of the distribution, or those that SSL_CERT_FILE and SSL_CERT_DIR name. OpenSSL's default
/// also reads the bundle of them all, for each connection anew, which takes far longer than the handshake.
void trustSystem(SSL_CTX* tls) {
    const bool isNamed = std::getenv(X509_get_default_cert_file_env()) != nullptr ||
                         std::getenv(X509_get_default_cert_dir_env()) != nullptr;
    if (!isNamed && isIndexed(X509_get_default_cert_dir())) {
        SSL_CTX_set_default_verify_dir(tls);
    } else {
        SSL_CTX_set_default_verify_paths(tls);
    }
}

}  // namespace quorvel
