#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

struct UCollator;

/// The rules for text beyond ASCII that the platform defines. Texts are UTF-8; malformed bytes count as
/// U+FFFD. A character is what a user perceives as one, an extended grapheme cluster: a letter with its
/// combining marks, or CR LF.
namespace quorvel::text {

/// The code point at `offset`, which moves past it. A malformed sequence gives a negative value and moves
/// past its maximal subpart: the bytes that begin a sequence and are not contradicted yet.
std::int32_t nextCodePoint(std::string_view text, std::size_t& offset);

bool isAscii(std::string_view text);
bool isValidUtf8(std::string_view text);

/// `text` with each malformed sequence replaced by U+FFFD.
std::string repairedUtf8(std::string_view text);

/// `text` without the Unicode space separators and tabs at both ends. Line breaks stay.
std::string_view trimmed(std::string_view text);

/// The characters of `text` in order. The views point into `text`, of which they cover every byte.
std::vector<std::string_view> characters(std::string_view text);

std::size_t graphemeCount(std::string_view text);

/// The first `count` characters of `text`; all of it when it has no more.
std::string_view firstGraphemes(std::string_view text, std::size_t count);

/// Whether a character has a Unicode numeric value, is a decimal digit (general category Nd), is white space.
bool isNumeric(std::string_view character);
bool isDecimalDigit(std::string_view character);
bool isWhiteSpace(std::string_view character);

/// Whether any character of `text` has a Unicode numeric value.
bool containsNumericCharacter(std::string_view text);

/// The longest leading run of characters with a Unicode numeric value.
std::string_view numericPrefix(std::string_view text);

/// The offset in bytes of the first Unicode decimal digit.
std::optional<std::size_t> findDecimalDigit(std::string_view text);

/// Unicode lower case, independent of the user's locale.
std::string lowerCased(std::string_view text);

/// The canonical composition (NFC) of `text`. The byte order of two such texts is their code-point order.
std::string composed(std::string_view text);

/// How many terminal columns `text` takes: 0 for combining and control characters, 2 for wide ones.
std::size_t displayWidth(std::string_view text);

/// Case-insensitive order of names.
class NameCollator {
public:
    /// `locale`: a name as POSIX has it ("sv_SE.UTF-8"). An empty one, and one that ICU does not know, gives
    /// the order of no locale, which is the same everywhere.
    explicit NameCollator(const std::string& locale);

    /// A key whose byte order is the order of names; equal keys for names that compare equal.
    std::string sortKey(std::string_view name) const;

private:
    struct Close {
        void operator()(UCollator* open) const;
    };
    std::unique_ptr<UCollator, Close> collator;
};

}  // namespace quorvel::text
