#include "platform/linux/CatalogAddress.h"

#include <cstdlib>

#include "platform/ProgramInfo.h"
#include "platform/linux/CurlUrl.h"

namespace quorvel {

namespace {

std::expected<std::string, std::string> checked(const std::string& source, std::string url) {
    const auto parts = parseUrl(url);
    if (!parts || (parts->scheme != "https" && parts->scheme != "http")) {
        return std::unexpected(source + ": " + url + " is no https or http address.");
    }
    if (parts->hasCredentials) {
        return std::unexpected(source + ": an address with a user name or a password is not asked.");
    }
    return url;
}

}  // namespace

std::expected<std::string, std::string> catalogAddress(const std::optional<std::string>& given) {
    if (given) return checked("--catalog", *given);
    constexpr const char* variable = "QUORVEL_CATALOG_URL";
    const char* const value = std::getenv(variable);
    if (value != nullptr && *value != '\0') return checked(variable, value);
    return std::string(catalogURL);
}

bool isReservedForExamples(const std::string& url) {
    const auto parts = parseUrl(url);
    if (!parts) return false;
    const std::string host = parts->host.substr(0, parts->host.find(':'));
    return host.ends_with(".example") || host == "example";
}

}  // namespace quorvel
