#include "platform/linux/CurlTransfer.h"

#include <algorithm>
#include <cctype>
#include <new>

#include "platform/linux/CurlError.h"
#include "platform/linux/CurlUrl.h"

namespace quorvel {

namespace {

using Code = SessionError::Code;

/// All header lines of an answer together, interim answers included.
constexpr std::size_t longestHead = 256 * 1024;

bool equalIgnoringCase(std::string_view left, std::string_view right) {
    return std::ranges::equal(
        left, right, [](unsigned char a, unsigned char b) { return std::tolower(a) == std::tolower(b); });
}

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view blanks = " \t\r\n";
    const auto first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

bool isToken(std::string_view name) {
    constexpr std::string_view marks = "!#$%&'*+-.^_`|~";
    return !name.empty() && std::ranges::all_of(name, [&](unsigned char c) {
        return c < 0x80 && (std::isalnum(c) != 0 || marks.contains(static_cast<char>(c)));
    });
}

/// A line break inside a value would smuggle in a header of its own.
bool isHeaderValue(std::string_view value) {
    return std::ranges::none_of(value, [](unsigned char c) { return (c < 0x20 && c != '\t') || c == 0x7F; });
}

}  // namespace

CurlTransfer::CurlTransfer(HttpRequest what, HttpSession::Completion then, const CurlSessionOptions& how,
                           SocketTable& table)
    : request(std::move(what)),
      completion(std::move(then)),
      options(how),
      sockets(table),
      easy(curl_easy_init(), curl_easy_cleanup),
      headers(nullptr, curl_slist_free_all),
      tls(how.moreAuthorities),
      lastMove(Clock::now()) {
    if (!easy) throw std::bad_alloc();
}

CurlTransfer::~CurlTransfer() {
    sockets.release(wire);
}

std::optional<SessionError> CurlTransfer::prepare() {
    if (auto error = readUrl()) return error;
    if (auto error = composeHeaders()) return error;
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
    // libcurl would turn them into an Authorization header that nobody asked for.
    if (url->hasCredentials) {
        return SessionError{Code::badURL,
                            "The address of " + url->host + " carries a user name or password."};
    }
    host = url->host;
    scheme = url->scheme;
    curl_easy_setopt(handle(), CURLOPT_URL, request.url.c_str());
    curl_easy_setopt(handle(), CURLOPT_PROTOCOLS_STR, scheme.c_str());
    return std::nullopt;
}

std::optional<SessionError> CurlTransfer::composeHeaders() {
    for (const auto& [name, value] : request.headers) {
        if (!isToken(name) || !isHeaderValue(value)) {
            return SessionError{Code::unknown,
                                "The request to " + host +
                                    " has a header that cannot be sent: its name or value holds "
                                    "a character that HTTP forbids."};
        }
        // libcurl takes "Name:" as a header to leave out, and "Name;" as one with an empty value.
        addHeader(value.empty() ? name + ";" : name + ": " + value);
    }
    // Sent as a plain header, after the caller's: libcurl's own would stand before them, and decode.
    if (!hasHeader("Accept-Encoding")) addHeader("Accept-Encoding: gzip, deflate");
    for (const char* own : {"Accept", "Expect", "Content-Type"}) {
        if (!hasHeader(own)) addHeader(std::string(own) + ":");
    }
    curl_easy_setopt(handle(), CURLOPT_HTTPHEADER, headers.get());
    return std::nullopt;
}

void CurlTransfer::addHeader(const std::string& line) {
    curl_slist* longer = curl_slist_append(headers.get(), line.c_str());
    if (longer == nullptr) throw std::bad_alloc();
    (void)headers.release();  // the list now begins at `longer`
    headers.reset(longer);
}

bool CurlTransfer::hasHeader(std::string_view name) const {
    return std::ranges::any_of(
        request.headers, [&](const HttpHeader& header) { return equalIgnoringCase(header.name, name); });
}

void CurlTransfer::setLimits() {
    curl_easy_setopt(handle(), CURLOPT_NOSIGNAL, 1L);
    // A resolver that hangs would otherwise hold up the whole thread when its request is given up.
    curl_easy_setopt(handle(), CURLOPT_QUICK_EXIT, 1L);
    // libcurl splits this time among the addresses of a host, so that a dead one does not use up all of it.
    curl_easy_setopt(handle(), CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(request.idleTimeout.count()));
    curl_easy_setopt(handle(), CURLOPT_MAXFILESIZE_LARGE, static_cast<curl_off_t>(options.longestAnswer));
    curl_easy_setopt(handle(), CURLOPT_PROXY_SSLVERSION, long{CURL_SSLVERSION_TLSv1_2});
    curl_easy_setopt(handle(), CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
    // Unlike the platform's session, no redirect is followed: credentials and an instance's id in a POST go
    // to the configured host and nowhere else. A 3xx is an answer like any other outside 200 to 299.
    curl_easy_setopt(handle(), CURLOPT_FOLLOWLOCATION, 0L);
    // On a reused connection that turns out dead libcurl sends a request again by itself.
    const bool fresh = request.resend == HttpRequest::Resend::never;
    curl_easy_setopt(handle(), CURLOPT_FRESH_CONNECT, fresh ? 1L : 0L);
}

void CurlTransfer::setMethod() {
    curl_easy_setopt(handle(), CURLOPT_HTTP_VERSION, long{CURL_HTTP_VERSION_1_1});
    curl_easy_setopt(handle(), CURLOPT_HTTP09_ALLOWED, 0L);
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
    curl_easy_setopt(handle(), CURLOPT_OPENSOCKETFUNCTION, &CurlTransfer::onOpen);
    curl_easy_setopt(handle(), CURLOPT_OPENSOCKETDATA, this);
    // A connection outlives the transfer that opened it: its end is told to the table.
    curl_easy_setopt(handle(), CURLOPT_CLOSESOCKETFUNCTION, &CurlTransfer::onClose);
    curl_easy_setopt(handle(), CURLOPT_CLOSESOCKETDATA, &sockets);
    curl_easy_setopt(handle(), CURLOPT_PREREQFUNCTION, &CurlTransfer::onRequest);
    curl_easy_setopt(handle(), CURLOPT_PREREQDATA, this);
}

bool CurlTransfer::hasStalled(Clock::time_point now) {
    sockets.update(wire);
    const std::uint64_t moved = wire.bytes + headBytes + body.size();
    if (moved != bytesAtLastMove) lastMove = now;
    bytesAtLastMove = moved;
    return now >= deadline();
}

/// libcurl is about to send the request, for the first time or, after a dead connection, once more.
bool CurlTransfer::beginRequest(int localPort, std::string_view peer) {
    const bool again = timesBegun++ > 0;
    if (again && (request.resend == HttpRequest::Resend::never || wire.answerBegan)) return false;
    // Without the kernel's figures for this connection nobody could tell whether an answer began.
    if (!sockets.assign(wire, localPort, peer)) wire.answerBegan = true;
    return true;
}

std::size_t CurlTransfer::takeHeadLine(std::string_view line) {
    headBytes += line.size();
    if (headBytes > longestHead) {
        fault = Fault::longHead;
        return 0;
    }
    if (statusCode) return line.size();  // trailers of a chunked body
    if (line.starts_with("HTTP/")) coding.clear();
    const auto colon = line.find(':');
    if (colon != std::string_view::npos && equalIgnoringCase(line.substr(0, colon), "Content-Encoding")) {
        const std::string_view value = trimmed(line.substr(colon + 1));
        if (!coding.empty()) coding += ", ";
        coding += value;
    }
    if (trimmed(line).empty()) takeHeadEnd();
    return fault == Fault::none ? line.size() : 0;
}

void CurlTransfer::takeHeadEnd() {
    long status = 0;
    curl_easy_getinfo(handle(), CURLINFO_RESPONSE_CODE, &status);
    if (status < 200) return;  // interim: the real head follows
    statusCode = static_cast<int>(status);
    if (coding.empty() || equalIgnoringCase(coding, "identity")) return;
    if (equalIgnoringCase(coding, "gzip") || equalIgnoringCase(coding, "x-gzip")) {
        decoder = std::make_unique<ContentDecoder>(ContentDecoder::Coding::gzip);
    } else if (equalIgnoringCase(coding, "deflate")) {
        decoder = std::make_unique<ContentDecoder>(ContentDecoder::Coding::deflate);
    } else {
        fault = Fault::unknownCoding;
    }
}

std::size_t CurlTransfer::takeBody(std::string_view piece) {
    if (!decoder) return keep(piece) ? piece.size() : 0;
    const auto result = decoder->decode(piece, [this](std::string_view decoded) { return keep(decoded); });
    if (result == ContentDecoder::Result::damaged) fault = Fault::damagedCoding;
    return result == ContentDecoder::Result::decoded ? piece.size() : 0;
}

bool CurlTransfer::keep(std::string_view decoded) {
    if (decoded.size() > options.longestAnswer - body.size()) {
        fault = Fault::longAnswer;
        return false;
    }
    body += decoded;
    return true;
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

void CurlTransfer::endStalled() {
    end(timedOut(host, request.idleTimeout));
}

std::optional<SessionError> CurlTransfer::errorFor(CURLcode code) const {
    if (fault != Fault::none) return faultError(fault);
    if (code == CURLE_OK && statusCode && (!decoder || decoder->isComplete())) return std::nullopt;
    // libcurl calls an answer a success whose head, or whose gzip stream, stops half way.
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
    switch (what) {
        case Fault::longAnswer:
            return {Code::dataLengthExceedsMaximum, host + " sent an answer longer than " +
                                                        std::to_string(options.longestAnswer) + " bytes."};
        case Fault::longHead:
            return {Code::badServerResponse, host + " sent headers without end."};
        case Fault::unknownCoding:
            return {Code::badServerResponse, host + " sent an answer in a coding that was not asked for."};
        case Fault::damagedCoding:
        case Fault::none:
            break;
    }
    return {Code::badServerResponse, host + " sent a compressed answer that is damaged."};
}

std::size_t CurlTransfer::onHeader(char* bytes, std::size_t size, std::size_t count, void* self) {
    return static_cast<CurlTransfer*>(self)->takeHeadLine({bytes, size * count});
}

std::size_t CurlTransfer::onBody(char* bytes, std::size_t size, std::size_t count, void* self) {
    return static_cast<CurlTransfer*>(self)->takeBody({bytes, size * count});
}

curl_socket_t CurlTransfer::onOpen(void* self, curlsocktype /*purpose*/, curl_sockaddr* address) {
    auto& transfer = *static_cast<CurlTransfer*>(self);
    return transfer.sockets.open(*address, transfer.wire);
}

int CurlTransfer::onClose(void* table, curl_socket_t socket) {
    static_cast<SocketTable*>(table)->close(socket);
    return 0;
}

int CurlTransfer::onRequest(void* self, char* peer, char* /*local*/, int /*peerPort*/, int localPort) {
    const bool allowed = static_cast<CurlTransfer*>(self)->beginRequest(localPort, peer);
    return allowed ? CURL_PREREQFUNC_OK : CURL_PREREQFUNC_ABORT;
}

}  // namespace quorvel
