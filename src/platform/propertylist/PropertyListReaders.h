#pragma once

#include <algorithm>
#include <cstdint>

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

/// What a list has to be, and which of its dictionaries are read: the root, or those in the root.
enum class PropertyListRoot : std::uint8_t { dictionary, array };

/// How many collections are open inside a dictionary that is read, itself counted.
inline std::size_t depthOfRows(PropertyListRoot root) {
    return root == PropertyListRoot::dictionary ? 1 : 2;
}

/// Reads the binary encoding, version 0. The contract is that of readPropertyList and readPropertyListRows.
std::optional<std::vector<PropertyListTexts>> readBinaryPropertyList(std::string_view bytes,
                                                                     PropertyListRoot root,
                                                                     std::span<const std::string_view> keys);

/// Reads the XML encoding: UTF-8, UTF-16, or what the XML declaration names. The same contract.
std::optional<std::vector<PropertyListTexts>> readXmlPropertyList(std::string_view bytes,
                                                                  PropertyListRoot root,
                                                                  std::span<const std::string_view> keys);

}  // namespace quorvel
