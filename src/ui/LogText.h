#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace quorvel {

/// What a log without text is shown as.
inline constexpr std::string_view noLogEntries = "(No log entries)";

/// The whole text of a log file; empty when the file is missing, unreadable or no valid UTF-8.
std::string logText(const std::filesystem::path& url);

/// The same, with `noLogEntries` in place of an empty text.
std::string shownLogText(const std::filesystem::path& url);

}  // namespace quorvel
