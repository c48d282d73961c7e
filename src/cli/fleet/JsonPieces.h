#pragma once

#include <cstddef>
#include <cstdint>
#include <expected>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace quorvel {

/// Fills the span from its start and returns how much; 0 at the end, negative on a failure, which errno
/// names.
using ByteReader = std::function<std::ptrdiff_t(std::span<char>)>;

/// Cuts JSON texts that come one after another into pieces that can be parsed one at a time: the elements of
/// a text's array, or the members of its object and the elements of those that are arrays. Only the piece at
/// hand is in memory, whatever the size of the texts. What is inside a piece is checked no further than is
/// needed to find its end.
class JsonPieces {
public:
    enum class Kind : std::uint8_t {
        array,    ///< begins: the text itself, or the member `key`
        element,  ///< of that array
        member,   ///< of the text's object, no array
        end,      ///< of the text
        nothing   ///< follows
    };
    struct Piece {
        Kind kind = Kind::nothing;
        /// As it is written, without the quotes.
        std::string_view key{};
        /// May be read to `padding` bytes beyond its end. Both are good until the next call.
        std::string_view value{};
    };
    enum class Fault : std::uint8_t { unreadable, cut, malformed, tooLong, tooDeep };

    /// The longest piece, in bytes.
    static constexpr std::size_t maxPiece = 1024 * 1024;
    /// How deep containers may stand in one another within a piece.
    static constexpr std::size_t maxDepth = 32;
    static constexpr std::size_t padding = 64;

    explicit JsonPieces(ByteReader read);

    /// What comes first, to tell formats apart: the first bytes that are no white space.
    std::string_view peek();
    /// Everything from there on; none when it is longer than `limit`.
    std::expected<std::string, Fault> readAll(std::size_t limit);

    std::expected<Piece, Fault> next();

    /// After a fault: goes on behind the next line feed, as with a new text.
    void skipLine();

    /// How many bytes stand before what comes next.
    std::size_t offset() const { return consumed + position; }

private:
    using Result = std::expected<Piece, Fault>;
    enum class State : std::uint8_t { between, object, array, memberArray };

    Result nextText();
    Result nextMember();
    Result nextElement();
    Result close(Kind kind, State enclosing);
    Result fail(Fault why) const { return std::unexpected(why); }

    bool refill();
    /// False at the end of the input.
    bool hasByte() { return position < filled || refill(); }
    bool skipWhiteSpace();
    bool skipComma();
    bool skipValue();
    bool skipString();
    bool skipContainer();
    bool skipScalar();

    const ByteReader read;
    std::vector<char> buffer;
    std::size_t filled = 0;
    std::size_t position = 0;
    /// What stands from here on is kept when the buffer is refilled.
    std::size_t mark = 0;
    /// Bytes that have left the buffer.
    std::size_t consumed = 0;
    State state = State::between;
    /// The innermost container has no member yet.
    bool isFirst = true;
    std::string arrayKey;
    Fault fault = Fault::cut;
};

}  // namespace quorvel
