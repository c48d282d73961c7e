#pragma once

#include <bit>
#include <string>
#include <string_view>

/// UTF-16 as files hold it: two bytes a unit, at any alignment.
namespace quorvel::utf16 {

/// Whether `bytes` is whole units in which every surrogate has its partner.
bool isValid(std::string_view bytes, std::endian order);

/// Whether the last unit of `bytes`, cut from valid UTF-16, has its partner behind it.
bool endsInsidePair(std::string_view bytes, std::endian order);

/// Appends valid UTF-16 to `text` as UTF-8.
void appendAsUtf8(std::string_view bytes, std::endian order, std::string& text);

}  // namespace quorvel::utf16
