#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

/// The rules for text beyond ASCII that the platform defines. Texts are UTF-8; malformed bytes count as
/// U+FFFD.
namespace quorvel::text {

bool isAscii(std::string_view text);
bool isValidUtf8(std::string_view text);

/// `text` with each malformed sequence replaced by U+FFFD.
std::string repairedUtf8(std::string_view text);

/// `text` without the Unicode space separators and tabs at both ends. Line breaks stay.
std::string_view trimmed(std::string_view text);

/// Whether any character of `text` has a Unicode numeric value.
bool containsNumericCharacter(std::string_view text);

/// The longest leading run of characters with a Unicode numeric value.
std::string_view numericPrefix(std::string_view text);

/// The offset in bytes of the first Unicode decimal digit (general category Nd).
std::optional<std::size_t> findDecimalDigit(std::string_view text);

/// Unicode lower case, independent of the user's locale.
std::string lowerCased(std::string_view text);

/// How many terminal columns `text` takes: 0 for combining and control characters, 2 for wide ones.
std::size_t displayWidth(std::string_view text);

/// Case-insensitive order of names.
class NameCollator {
public:
    enum class Order {
        user,  ///< of the user's locale (from LC_ALL, LC_COLLATE, LANG)
        root   ///< of no locale: the same everywhere
    };

    explicit NameCollator(Order order = Order::user);
    ~NameCollator();
    NameCollator(const NameCollator&) = delete;
    NameCollator& operator=(const NameCollator&) = delete;

    /// A key whose byte order is the order of names; equal keys for names that compare equal.
    std::string sortKey(std::string_view name) const;

private:
    struct Implementation;
    std::unique_ptr<Implementation> implementation;
};

/// How many user-perceived characters (extended grapheme clusters) `text` has.
std::size_t graphemeCount(std::string_view text);

/// The first `count` user-perceived characters of `text`; all of it when it has no more.
std::string_view firstGraphemes(std::string_view text, std::size_t count);

}  // namespace quorvel::text
