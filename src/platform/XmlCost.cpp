#include "platform/XmlCost.h"

#include <cstddef>
#include <optional>

namespace quorvel {

namespace {

constexpr std::size_t tagLimit = 1024;
/// Expat's time for a byte of a comment, of a CDATA section or of a character beyond ASCII is about twice
/// that of ASCII text.
constexpr std::size_t slowByteLimit = 2 * 1024 * 1024;

/// The length of the tag, declaration or instruction at the start of `markup`; none when it is too long, or
/// is a document type with declarations of its own.
std::optional<std::size_t> tagLength(std::string_view markup) {
    char quote = 0;
    for (std::size_t index = 0; index < markup.size() && index < tagLimit; ++index) {
        const char byte = markup[index];
        if (quote != 0) {
            if (byte == quote) quote = 0;
        } else if (byte == '"' || byte == '\'') {
            quote = byte;
        } else if (byte == '>') {
            return index + 1;
        } else if (byte == '[') {
            return std::nullopt;
        }
    }
    return std::nullopt;
}

std::optional<std::size_t> lengthThrough(std::string_view markup, std::string_view end) {
    const auto found = markup.find(end);
    if (found == std::string_view::npos) return std::nullopt;
    return found + end.size();
}

bool countsAsSlow(std::string_view markup) {
    return markup.starts_with("<!--") || markup.starts_with("<![CDATA[");
}

std::optional<std::size_t> markupLength(std::string_view markup) {
    if (markup.starts_with("<!--")) return lengthThrough(markup, "-->");
    if (markup.starts_with("<![CDATA[")) return lengthThrough(markup, "]]>");
    if (markup.starts_with("<?")) return lengthThrough(markup.substr(0, tagLimit), "?>");
    return tagLength(markup);
}

std::size_t countNonAscii(std::string_view text) {
    std::size_t count = 0;
    for (const char byte : text)
        count += static_cast<unsigned char>(byte) >> 7;
    return count;
}

}  // namespace

bool isCheapXml(std::string_view document) {
    std::size_t slowBytes = countNonAscii(document);
    for (auto start = document.find('<'); start != std::string_view::npos;) {
        const std::string_view markup = document.substr(start);
        const auto length = markupLength(markup);
        if (!length) return false;
        if (countsAsSlow(markup)) slowBytes += *length;
        if (slowBytes > slowByteLimit) return false;
        start = document.find('<', start + *length);
    }
    return true;
}

}  // namespace quorvel
