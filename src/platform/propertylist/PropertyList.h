#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace quorvel {

/// The values of some top-level keys of a property list, in the order in which they were asked for: none
/// where the key is missing or its value is not a text.
using PropertyListTexts = std::vector<std::optional<std::string>>;

/// Reads a property list, XML or binary, whose root is a dictionary, and returns its texts under `keys`. The
/// whole list is checked, not only what is asked for; none when any of it is malformed, is not valid Unicode,
/// or goes beyond a bound. A hostile list costs about 10 ms and 1 MB; the longest one there can be, of
/// nothing but characters beyond ASCII, takes three times as long. Texts are UTF-8 and may hold a NUL.
std::optional<PropertyListTexts> readPropertyList(std::string_view bytes,
                                                  std::span<const std::string_view> keys);

/// The same of a list whose root is an array: the texts of each dictionary in it, in order.
std::optional<std::vector<PropertyListTexts>> readPropertyListRows(std::string_view bytes,
                                                                   std::span<const std::string_view> keys);

/// The longest property list that is read, in bytes.
inline constexpr std::size_t propertyListSizeLimit = 8 * 1024 * 1024;

}  // namespace quorvel
