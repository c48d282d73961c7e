#include "ui/LogText.h"

#include <limits>

#include "platform/Files.h"
#include "platform/text/Text.h"

namespace quorvel {

std::string logText(const std::filesystem::path& url) {
    // The logger bounds its lines, not their length; a reader takes what is there.
    auto content = files::read(url, std::numeric_limits<std::size_t>::max());
    if (!content || !text::isValidUtf8(*content)) return "";
    return std::move(*content);
}

std::string shownLogText(const std::filesystem::path& url) {
    auto text = logText(url);
    return text.empty() ? std::string(noLogEntries) : text;
}

}  // namespace quorvel
