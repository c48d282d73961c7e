#include "platform/posix/http/CatalogAddress.h"

#include <arpa/inet.h>
#include <cstdlib>
#include <netinet/in.h>
#include <strings.h>

#include "platform/ProgramInfo.h"
#include "platform/posix/http/CurlUrl.h"

namespace quorvel {

namespace {

std::expected<std::string, std::string> checked(const std::string& source, std::string url) {
    const auto parts = parseUrl(url);
    // Nobody can be asked at port 0.
    if (!parts || (parts->scheme != "https" && parts->scheme != "http") || parts->host.ends_with(":0")) {
        return std::unexpected(source + ": " + url + " is no https or http address.");
    }
    if (parts->hasCredentials) {
        return std::unexpected(source + ": an address with a user name or a password is not asked.");
    }
    return url;
}

/// Without its port; an IPv6 address stands in brackets. Empty for what is no URL.
std::string hostOf(const std::string& url) {
    const auto parts = parseUrl(url);
    if (!parts) return "";
    const auto bracket = parts->host.rfind(']');
    return parts->host.substr(0, parts->host.find(':', bracket == std::string::npos ? 0 : bracket));
}

}  // namespace

std::expected<std::string, std::string> catalogAddress(const std::optional<std::string>& given) {
    if (given) return checked("--catalog", *given);
    constexpr const char* variable = "QUORVEL_CATALOG_URL";
    const char* const value = std::getenv(variable);
    if (value != nullptr && *value != '\0') return checked(variable, value);
    return std::string(catalogURL);
}

bool isOnThisMachine(const std::string& url) {
    const std::string host = hostOf(url);
    in_addr four{};
    if (inet_pton(AF_INET, host.c_str(), &four) == 1) return ntohl(four.s_addr) >> 24 == IN_LOOPBACKNET;
    return strcasecmp(host.c_str(), "localhost") == 0 || host == "[::1]";
}

bool isReservedForExamples(const std::string& url) {
    const std::string host = hostOf(url);
    return host.ends_with(".example") || host == "example";
}

}  // namespace quorvel
