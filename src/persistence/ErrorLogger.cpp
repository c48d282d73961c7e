#include "persistence/ErrorLogger.h"

#include <algorithm>
#include <array>
#include <ctime>
#include <limits>
#include <utility>

#include "platform/Files.h"
#include "platform/text/Text.h"

namespace quorvel {

namespace {

/// However long its lines are, a log must not outgrow its own trimming.
constexpr auto noSizeLimit = std::numeric_limits<std::size_t>::max();

}  // namespace

ErrorLogger::ErrorLogger(const PersistenceManager& persistence, WallClock now)
    : url(persistence.appSupportURL / "error.log"), now(std::move(now)) {}

void ErrorLogger::log(std::string_view message) const {
    appendRaw(entryLine(message));
}

void ErrorLogger::appendRaw(std::string_view text) const {
    append(std::string(text) + "\n");
    trim();
}

void ErrorLogger::resetWithEntry(std::string_view message) const {
    replace(entryLine(message) + "\n");
    trim();
}

void ErrorLogger::resetWithHeader(std::string_view text) const {
    replace(text.ends_with('\n') ? std::string(text) : std::string(text) + "\n");
}

std::string ErrorLogger::timestamp() const {
    const std::time_t seconds =
        std::chrono::system_clock::to_time_t(std::chrono::floor<std::chrono::seconds>(now()));
    std::tm parts{};
    gmtime_r(&seconds, &parts);
    std::array<char, 32> text{};
    return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &parts)};
}

std::string ErrorLogger::text() const {
    auto content = files::read(url, noSizeLimit);
    return content && text::isValidUtf8(*content) ? *std::move(content) : "";
}

std::string ErrorLogger::entryLine(std::string_view message) const {
    return "[" + timestamp() + "] " + std::string(message);
}

void ErrorLogger::append(std::string_view text) const {
    // A log with malformed UTF-8 is never trimmed, so none of ours may get in.
    const std::string bytes = text::repairedUtf8(text);
    if (!files::append(url, bytes)) files::writeAtomically(url, bytes);
}

void ErrorLogger::replace(std::string_view text) const {
    files::writeAtomically(url, text::repairedUtf8(text));
}

void ErrorLogger::trim() const {
    const std::string content = files::read(url, noSizeLimit).value_or("");
    if (content.empty()) return;
    const bool endsInLineFeed = content.back() == '\n';
    const auto lineFeeds = static_cast<std::size_t>(std::ranges::count(content, '\n'));
    const std::size_t lines = lineFeeds + (endsInLineFeed ? 0 : 1);
    if (lines <= maxLines || !text::isValidUtf8(content)) return;

    std::size_t start = 0;
    for (std::size_t dropped = 0; dropped < lines - maxLines; ++dropped)
        start = content.find('\n', start) + 1;
    files::writeAtomically(url, content.substr(start) + (endsInLineFeed ? "" : "\n"));
}

}  // namespace quorvel
