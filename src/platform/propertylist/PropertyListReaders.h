#pragma once

#include <algorithm>

#include "platform/propertylist/PropertyList.h"

/// What the readers of the two encodings share.
namespace quorvel {

/// How deep dictionaries and arrays may stand in one another, the root counted.
inline constexpr std::size_t maxPropertyListDepth = 64;

/// How many values and keys are visited. A list can reach one value over many ways, so the walk is counted,
/// not the content.
inline constexpr std::size_t maxPropertyListNodes = 100'000;

/// The longest text that is kept, in bytes as the list has it. One that is asked for and is longer makes the
/// list a hostile one: no name, version or identifier needs a page.
inline constexpr std::size_t maxPropertyListText = 64 * 1024;

/// The place of `key` among the keys that were asked for.
inline std::optional<std::size_t> askedIndex(std::span<const std::string_view> keys, std::string_view key) {
    const auto found = std::ranges::find(keys, key);
    if (found == keys.end()) return std::nullopt;
    return static_cast<std::size_t>(found - keys.begin());
}

/// Reads the binary encoding, version 0. The contract is readPropertyList's.
std::optional<PropertyListTexts> readBinaryPropertyList(std::string_view bytes,
                                                        std::span<const std::string_view> keys);

/// Reads the XML encoding: UTF-8, UTF-16, or what the XML declaration names. The contract is
/// readPropertyList's.
std::optional<PropertyListTexts> readXmlPropertyList(std::string_view bytes,
                                                     std::span<const std::string_view> keys);

}  // namespace quorvel
