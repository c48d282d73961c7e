#include "platform/posix/http/CurlTransfer.h"

#include <algorithm>
#include <new>

#include "platform/posix/http/CurlError.h"
#include "platform/posix/http/CurlUrl.h"

namespace quorvel {

namespace {

using Code = SessionError::Code;

/// All header lines of an answer together, interim answers included.
constexpr std::size_t maxHead = 256 * 1024;

}  // namespace

CurlTransfer::CurlTransfer(HttpRequest what, HttpSession::Completion then, const CurlSessionOptions& how,
                           CURLSH* sharedTickets)
    : request(std::move(what)),
      completion(std::move(then)),
      options(how),
      tickets(sharedTickets),
      easy(curl_easy_init(), curl_easy_cleanup),
      headers(nullptr, curl_slist_free_all),
      tls(how.moreAuthorities),
      lastMove(Clock::now()) {
    if (!easy) throw std::bad_alloc();
}

std::optional<SessionError> CurlTransfer::prepare() {
    if (auto error = readUrl()) return error;
    composeHeaders();
    curl_easy_setopt(handle(), CURLOPT_PRIVATE, this);
    curl_easy_setopt(handle(), CURLOPT_ERRORBUFFER, detail.data());
    setLimits();
    setMethod();
    setCallbacks();
    tls.apply(handle());
    return std::nullopt;
}

std::optional<SessionError> CurlTransfer::readUrl() {
    const auto url = parseUrl(request.url);
    if (!url || (url->scheme != "https" && url->scheme != "http")) {
        return SessionError{Code::badURL, "The address \"" + request.url + "\" is not an https URL."};
    }
    host = url->host;
    scheme = url->scheme;
    curl_easy_setopt(handle(), CURLOPT_URL, request.url.c_str());
    curl_easy_setopt(handle(), CURLOPT_PROTOCOLS_STR, scheme.c_str());
    return std::nullopt;
}

void CurlTransfer::composeHeaders() {
    for (const auto& [name, value] : request.headers) {
        // libcurl takes "Name:" as a header to leave out, and "Name;" as one with an empty value.
        addHeader(value.empty() ? name + ";" : name + ": " + value);
    }
    for (const std::string own : {"Accept", "Expect", "Content-Type"}) {
        if (std::ranges::find(request.headers, own, &HttpHeader::name) == request.headers.end())
            addHeader(own + ":");
    }
    curl_easy_setopt(handle(), CURLOPT_HTTPHEADER, headers.get());
}

void CurlTransfer::addHeader(const std::string& line) {
    curl_slist* longer = curl_slist_append(headers.get(), line.c_str());
    if (longer == nullptr) throw std::bad_alloc();
    (void)headers.release();  // the list now begins at `longer`
    headers.reset(longer);
}

void CurlTransfer::setLimits() {
    curl_easy_setopt(handle(), CURLOPT_NOSIGNAL, 1L);
    // A resolver that hangs would otherwise hold up the whole thread when its request is given up.
    curl_easy_setopt(handle(), CURLOPT_QUICK_EXIT, 1L);
    // libcurl splits this time among the addresses of a host, so that a dead one does not use up all of it.
    curl_easy_setopt(handle(), CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(request.idleTimeout.count()));
    curl_easy_setopt(handle(), CURLOPT_MAXFILESIZE_LARGE, static_cast<curl_off_t>(options.maxAnswer));
    curl_easy_setopt(handle(), CURLOPT_PROXY_SSLVERSION, long{CURL_SSLVERSION_TLSv1_2});
    curl_easy_setopt(handle(), CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
    // Unlike the platform's session, no redirect is followed: credentials and an instance's id in a POST go
    // to the configured host and nowhere else. A 3xx is an answer like any other outside 200 to 299.
    curl_easy_setopt(handle(), CURLOPT_FOLLOWLOCATION, 0L);
    // On a reused connection that turns out dead libcurl would send a request again by itself.
    curl_easy_setopt(handle(), CURLOPT_FRESH_CONNECT, 1L);
    curl_easy_setopt(handle(), CURLOPT_FORBID_REUSE, 1L);
    curl_easy_setopt(handle(), CURLOPT_SHARE, tickets);
}

void CurlTransfer::setMethod() {
    curl_easy_setopt(handle(), CURLOPT_HTTP_VERSION, long{CURL_HTTP_VERSION_1_1});
    curl_easy_setopt(handle(), CURLOPT_HTTP09_ALLOWED, 0L);
    curl_easy_setopt(handle(), CURLOPT_ACCEPT_ENCODING, "gzip, deflate");
    if (request.method == "GET") return;
    curl_easy_setopt(handle(), CURLOPT_POST, 1L);
    curl_easy_setopt(handle(), CURLOPT_CUSTOMREQUEST, request.method.c_str());
    curl_easy_setopt(handle(), CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(request.body.size()));
    curl_easy_setopt(handle(), CURLOPT_POSTFIELDS, request.body.data());
}

void CurlTransfer::setCallbacks() {
    curl_easy_setopt(handle(), CURLOPT_HEADERFUNCTION, &CurlTransfer::onHeader);
    curl_easy_setopt(handle(), CURLOPT_HEADERDATA, this);
    curl_easy_setopt(handle(), CURLOPT_WRITEFUNCTION, &CurlTransfer::onBody);
    curl_easy_setopt(handle(), CURLOPT_WRITEDATA, this);
}

/// Of a header line the end counts alone, as libcurl tells it.
curl_off_t CurlTransfer::bytesMoved() const {
    long requestHead = 0;
    curl_off_t requestBody = 0;
    curl_off_t answerBody = 0;
    curl_easy_getinfo(easy.get(), CURLINFO_REQUEST_SIZE, &requestHead);
    curl_easy_getinfo(easy.get(), CURLINFO_SIZE_UPLOAD_T, &requestBody);
    curl_easy_getinfo(easy.get(), CURLINFO_SIZE_DOWNLOAD_T, &answerBody);
    return requestHead + requestBody + static_cast<curl_off_t>(headBytes) + answerBody;
}

bool CurlTransfer::isSilent(Clock::time_point now) {
    const curl_off_t moved = bytesMoved();
    if (moved != bytesAtLastMove) lastMove = now;
    bytesAtLastMove = moved;
    return now >= deadline();
}

std::size_t CurlTransfer::handleHeadLine(std::string_view line) {
    headBytes += line.size();
    if (headBytes > maxHead) {
        fault = Fault::longHead;
        return 0;
    }
    const bool endsHead = line == "\r\n" || line == "\n";
    if (!endsHead || statusCode) return line.size();  // with a status, it is a trailer of a chunked body
    long status = 0;
    curl_easy_getinfo(handle(), CURLINFO_RESPONSE_CODE, &status);
    if (status >= 200) statusCode = static_cast<int>(status);  // after an interim head the real one follows
    return line.size();
}

std::size_t CurlTransfer::handleBody(std::string_view decoded) {
    if (decoded.size() > options.maxAnswer - body.size()) {
        fault = Fault::longAnswer;
        return 0;
    }
    body += decoded;
    return decoded.size();
}

void CurlTransfer::end(CURLcode code) {
    HttpOutcome outcome{.data = std::nullopt, .statusCode = statusCode, .error = errorFor(code)};
    curl_off_t wait = 0;  // stays so without the header
    curl_easy_getinfo(handle(), CURLINFO_RETRY_AFTER, &wait);
    if (wait > 0) outcome.retryAfter = std::chrono::seconds(wait);
    if (!outcome.error) outcome.data = std::move(body);
    completion(std::move(outcome));
}

void CurlTransfer::end(SessionError error) {
    completion({.data = std::nullopt, .statusCode = statusCode, .error = std::move(error)});
}

void CurlTransfer::endTimedOut() {
    end(timedOut(host, request.idleTimeout));
}

std::optional<SessionError> CurlTransfer::errorFor(CURLcode code) const {
    if (fault != Fault::none) return faultError(fault);
    if (code == CURLE_OK && statusCode) return std::nullopt;
    // libcurl calls an answer a success whose head stops half way.
    if (code == CURLE_OK) return connectionLost(host);
    if (code == CURLE_FILESIZE_EXCEEDED) return faultError(Fault::longAnswer);
    // What libcurl says when a single header line outgrows its buffer.
    if (code == CURLE_OUT_OF_MEMORY && !statusCode) return faultError(Fault::longHead);
    const std::string proxy = proxyFromEnvironment(scheme);
    long systemError = 0;
    long proxyStatus = 0;
    curl_easy_getinfo(handle(), CURLINFO_OS_ERRNO, &systemError);
    curl_easy_getinfo(handle(), CURLINFO_HTTP_CONNECTCODE, &proxyStatus);
    return describe({.code = code,
                     .host = host,
                     .proxy = proxy,
                     .idleTimeout = request.idleTimeout,
                     .systemError = systemError,
                     .proxyStatus = proxyStatus,
                     .detail = detail.data(),
                     .tls = tls.verdict});
}

SessionError CurlTransfer::faultError(Fault what) const {
    if (what == Fault::longHead) return {Code::badServerResponse, host + " sent headers without end."};
    return {Code::dataLengthExceedsMaximum,
            host + " sent an answer longer than " + std::to_string(options.maxAnswer) + " bytes."};
}

std::size_t CurlTransfer::onHeader(char* bytes, std::size_t size, std::size_t count, void* self) {
    return static_cast<CurlTransfer*>(self)->handleHeadLine({bytes, size * count});
}

std::size_t CurlTransfer::onBody(char* bytes, std::size_t size, std::size_t count, void* self) {
    return static_cast<CurlTransfer*>(self)->handleBody({bytes, size * count});
}

}  // namespace quorvel
