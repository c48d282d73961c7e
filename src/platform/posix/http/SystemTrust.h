#pragma once

#include <openssl/ssl.h>

namespace quorvel {

/// Makes `tls` trust the authorities that the system trusts; where they are kept, each system's adapters
/// know. On the session's thread, for each connection.
void trustSystem(SSL_CTX* tls);

}  // namespace quorvel
