#pragma once

#include <concepts>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quorvel {

/// Writes JSON from left to right, so that a document of any size needs no more memory than what is taken out
/// of `text` in time. Malformed UTF-8 becomes U+FFFD.
class JsonWriter {
public:
    enum class Layout {
        lines,    ///< each value on one line, nothing indented
        indented  ///< by two spaces a level, as people read it
    };

    /// `isAscii`: everything beyond ASCII is escaped, so that a terminal obeys nothing of it.
    explicit JsonWriter(Layout layout, bool isAscii = false)
        : isIndented(layout == Layout::indented), isAscii(isAscii) {}

    void beginObject() { begin('{'); }
    void endObject() { end('}'); }
    void beginArray() { begin('['); }
    void endArray() { end(']'); }
    /// Before the value of a member. Keys are ASCII and need no escapes.
    void key(std::string_view key);
    void beginArray(std::string_view name) {
        key(name);
        beginArray();
    }

    void value(std::string_view characters);
    void value(const std::string& characters) { value(std::string_view(characters)); }
    void value(const char* characters) { value(std::string_view(characters)); }
    void value(bool isTrue) { scalar(isTrue ? "true" : "false"); }
    void value(std::integral auto number) { scalar(std::to_string(number)); }
    void value(const std::optional<std::string>& characters) {
        characters ? value(*characters) : scalar("null");
    }

    template <typename Value>
    void member(std::string_view name, const Value& content) {
        key(name);
        value(content);
    }

    /// After a text that another follows: a line feed.
    void endText() {
        text += '\n';
        isEmpty = true;
    }

    /// What has been written; the caller may empty it at any time.
    std::string text;

private:
    void begin(char bracket);
    void end(char bracket);
    void separate();
    void breakLine();
    void scalar(std::string_view written);

    const bool isIndented;
    const bool isAscii;
    std::size_t depth = 0;
    /// The innermost container has no value yet.
    bool isEmpty = true;
    bool followsKey = false;
};

}  // namespace quorvel
