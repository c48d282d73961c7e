#include "platform/propertylist/PropertyList.h"

#include "platform/propertylist/PropertyListReaders.h"

namespace quorvel {

std::optional<PropertyListTexts> readPropertyList(std::string_view bytes,
                                                  std::span<const std::string_view> keys) {
    if (bytes.size() > propertyListSizeLimit) return std::nullopt;
    if (bytes.starts_with("bplist0")) return readBinaryPropertyList(bytes, keys);
    return readXmlPropertyList(bytes, keys);
}

}  // namespace quorvel
