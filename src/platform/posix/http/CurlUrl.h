#pragma once

#include <optional>
#include <string>

namespace quorvel {

/// The parts of a URL that the session needs.
struct CurlUrl {
    std::string scheme;
    /// Host, with ":port" when the URL gives a port. Without user name and password.
    std::string host;
    bool hasCredentials = false;
};

/// Reads `url` by libcurl's rules, so that both see the same host. With `guessScheme`, a URL may lack its
/// scheme, as proxies in the environment do.
std::optional<CurlUrl> parseUrl(const std::string& url, bool guessScheme = false);

}  // namespace quorvel
