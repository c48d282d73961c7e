#include "ui/ReportMail.h"

#include <algorithm>

#include "platform/ProgramInfo.h"
#include "platform/text/PercentEncoding.h"

namespace quorvel {

namespace {

std::string encodedQuery(std::string_view text) {
    return text::percentEncoded(text, "-._~!$&'()*+,;=:@/?");
}

std::string noticeOf(std::size_t lines) {
    return encodedQuery("(" + std::to_string(lines) + " older lines are left out.)\n");
}

/// `log`, which is encoded, or as many of its last whole lines as fit into `room` below a line that says how
/// many are missing.
std::string lastLines(std::string log, std::size_t room) {
    constexpr std::string_view lineFeed = "%0A";
    if (log.size() <= room) return log;
    std::size_t missing = 0, start = 0;
    do {
        const auto end = log.find(lineFeed, start);
        start = end == std::string::npos ? log.size() : end + lineFeed.size();
        ++missing;
    } while (start < log.size() && noticeOf(missing).size() + log.size() - start > room);
    return noticeOf(missing) + log.substr(start);
}

}  // namespace

std::string mailURL(std::string_view query) {
    return "mailto:" + std::string(supportMailbox) + "?subject=" + std::string(query);
}

std::string reportMailURL(std::string_view subject, std::string_view text, std::string_view log,
                          std::size_t maxSize) {
    const std::string url = mailURL(encodedQuery(subject) + "&body=" + encodedQuery(text));
    return url + lastLines(encodedQuery(log), maxSize - std::min(maxSize, url.size()));
}

}  // namespace quorvel
