#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace quorvel {

/// `text` as the query of a URL takes it: ASCII letters and digits and - . _ ~ ! $ & ' ( ) * + , ; = : @ / ?
/// stay as they are, every other character becomes its UTF-8 bytes as %XX. None for malformed UTF-8.
std::optional<std::string> percentEncodedQuery(std::string_view text);

/// How many bytes `text` has when it is encoded so.
std::size_t percentEncodedSize(std::string_view text);

/// Whether `text` is an https or mailto URL, the only ones that this program opens, made of nothing but the
/// characters that RFC 3986 has in a URL.
bool isOpenableURL(std::string_view text);

}  // namespace quorvel
