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
    /// Receives the pieces of a text as they are written. Keys are without their quotes; a value may be read
    /// to `padding` bytes beyond its end. All are good until the call returns.
    class Handler {
    public:
        /// The text is an array, whose key is empty, or a member of its object is.
        virtual void beginArray(std::string_view key) = 0;
        /// Of the array that began last. False refuses it as malformed.
        virtual bool addElement(std::string_view value) = 0;
        /// A member that is no array.
        virtual void addMember(std::string_view key, std::string_view value) = 0;

    protected:
        ~Handler() = default;
    };
    enum class Fault : std::uint8_t {
        none,
        end,  ///< no text follows
        unreadable,
        cut,
        malformed,
        tooLong,
        tooDeep
    };

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

    /// Hands out the next text.
    Fault readText(Handler& handler);

    /// After a fault: goes on behind the next line feed, as with a new text.
    void skipLine();

    /// How many bytes stand before what comes next.
    std::size_t offset() const { return consumed + position; }

private:
    // Each is false at a fault, which `fault` names.
    bool readElements(Handler& handler);
    bool readMembers(Handler& handler);
    bool readMember(Handler& handler);
    bool fail(Fault why);
    bool refill();
    /// False at the end of the input.
    bool hasByte() { return position < filled || refill(); }
    bool skipWhiteSpace(bool isKept = false);
    bool skipComma();
    bool skipValue();
    bool skipString();
    bool skipContainer();
    bool skipScalar();

    /// From the mark on.
    std::string_view piece() const { return {buffer.data() + mark, position - mark}; }

    const ByteReader read;
    std::vector<char> buffer;
    std::size_t filled = 0;
    std::size_t position = 0;
    /// What stands from here on is kept when the buffer is refilled.
    std::size_t mark = 0;
    /// Bytes that have left the buffer.
    std::size_t consumed = 0;
    Fault fault = Fault::none;
};

}  // namespace quorvel
