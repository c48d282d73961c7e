#pragma once

#include "platform/propertylist/PropertyList.h"

namespace quorvel {

/// Reads the binary encoding, version 0. The contract is readPropertyList's.
std::optional<PropertyListTexts> readBinaryPropertyList(std::string_view bytes,
                                                        std::span<const std::string_view> keys);

}  // namespace quorvel
