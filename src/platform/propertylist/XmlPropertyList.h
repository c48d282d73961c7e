#pragma once

#include "platform/propertylist/PropertyList.h"

namespace quorvel {

/// Reads the XML encoding: UTF-8, UTF-16, or what the XML declaration names. The contract is
/// readPropertyList's.
std::optional<PropertyListTexts> readXmlPropertyList(std::string_view bytes,
                                                     std::span<const std::string_view> keys);

}  // namespace quorvel
