#include "platform/propertylist/PropertyList.h"

#include <utility>

#include "platform/propertylist/PropertyListReaders.h"

namespace quorvel {

namespace {

std::optional<std::vector<PropertyListTexts>> read(std::string_view bytes, PropertyListRoot root,
                                                   std::span<const std::string_view> keys) {
    if (bytes.size() > propertyListSizeLimit) return std::nullopt;
    if (bytes.starts_with("bplist0")) return readBinaryPropertyList(bytes, root, keys);
    return readXmlPropertyList(bytes, root, keys);
}

}  // namespace

std::optional<PropertyListTexts> readPropertyList(std::string_view bytes,
                                                  std::span<const std::string_view> keys) {
    auto lists = read(bytes, PropertyListRoot::dictionary, keys);
    return lists ? std::optional(std::move(lists->front())) : std::nullopt;
}

std::optional<std::vector<PropertyListTexts>> readPropertyListRows(std::string_view bytes,
                                                                   std::span<const std::string_view> keys) {
    return read(bytes, PropertyListRoot::array, keys);
}

}  // namespace quorvel
