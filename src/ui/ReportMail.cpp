#include "ui/ReportMail.h"

#include <algorithm>

#include "platform/ProgramInfo.h"
#include "ui/PercentEncoding.h"

namespace quorvel {

namespace {

std::string noticeOf(std::size_t lines) {
    return "(" + std::to_string(lines) + " older lines are left out.)\n";
}

/// `log`, or as many of its last whole lines as take no more than `room` bytes in a URL, below a line that
/// says how many are missing.
std::string lastLines(std::string_view log, std::size_t room) {
    if (percentEncodedSize(log) <= room) return std::string(log);
    std::size_t left = 1 + static_cast<std::size_t>(std::count(log.begin(), log.end() - 1, '\n'));
    const std::size_t noticeSize = percentEncodedSize(noticeOf(left));
    std::size_t start = log.size();
    std::size_t used = noticeSize;
    for (std::size_t at = log.size(); at-- > 0;) {
        used += percentEncodedSize(log.substr(at, 1));
        if (used > room) break;  // at the log's first byte at the latest
        if (log[at - 1] != '\n') continue;
        start = at;
        --left;
    }
    return noticeOf(left) + std::string(log.substr(start));
}

}  // namespace

std::string mailURL(std::string_view query) {
    return "mailto:" + std::string(supportMailbox) + "?subject=" + std::string(query);
}

std::optional<std::string> reportMailURL(std::string_view subject, std::string_view text,
                                         std::string_view log, std::size_t maxSize) {
    const auto encodedSubject = percentEncodedQuery(subject);
    const auto encodedText = percentEncodedQuery(text);
    if (!encodedSubject || !encodedText) return std::nullopt;
    const std::string url = mailURL(*encodedSubject + "&body=" + *encodedText);
    const auto encodedLog = percentEncodedQuery(lastLines(log, maxSize - std::min(maxSize, url.size())));
    if (!encodedLog) return std::nullopt;
    return url + *encodedLog;
}

}  // namespace quorvel
