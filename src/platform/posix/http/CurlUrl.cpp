#include "platform/posix/http/CurlUrl.h"

#include <curl/curl.h>
#include <memory>

namespace quorvel {

namespace {

std::string part(CURLU* url, CURLUPart which) {
    char* text = nullptr;
    if (curl_url_get(url, which, &text, 0) != CURLUE_OK) return {};
    std::string copy(text);
    curl_free(text);
    return copy;
}

}  // namespace

std::optional<CurlUrl> parseUrl(const std::string& url, bool guessScheme) {
    const std::unique_ptr<CURLU, decltype(&curl_url_cleanup)> parser(curl_url(), curl_url_cleanup);
    const unsigned int flags = CURLU_NON_SUPPORT_SCHEME | (guessScheme ? CURLU_GUESS_SCHEME : 0u);
    if (curl_url_set(parser.get(), CURLUPART_URL, url.c_str(), flags) != CURLUE_OK) return std::nullopt;
    CurlUrl parts{.scheme = part(parser.get(), CURLUPART_SCHEME), .host = part(parser.get(), CURLUPART_HOST)};
    if (parts.host.empty()) return std::nullopt;
    if (const std::string port = part(parser.get(), CURLUPART_PORT); !port.empty()) parts.host += ":" + port;
    parts.hasCredentials =
        !part(parser.get(), CURLUPART_USER).empty() || !part(parser.get(), CURLUPART_PASSWORD).empty();
    return parts;
}

}  // namespace quorvel
