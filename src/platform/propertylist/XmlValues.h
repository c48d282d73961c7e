#pragma once

#include <string_view>

/// The texts of values in an XML property list, as a Mac's reader takes them.
namespace quorvel {

inline constexpr std::string_view xmlWhiteSpace = " \t\r\n";

void skipWhiteSpace(std::string_view& text);

/// A decimal or hexadecimal number of 64 bits. White space may stand before the sign and the digits, not
/// behind them.
bool isInteger(std::string_view text);

/// A decimal number, of any size, or one of the words that stand for no finite one.
bool isReal(std::string_view text);

/// 2001-02-03T04:05:06Z, also of a year before the first.
bool isDate(std::string_view text);

}  // namespace quorvel
