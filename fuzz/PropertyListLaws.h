#pragma once

#include <algorithm>
#include <array>
#include <string_view>

#include "FuzzSupport.h"
#include "platform/propertylist/PropertyList.h"
#include "platform/propertylist/PropertyListReaders.h"

namespace quorvel::fuzz {

inline constexpr std::array<std::string_view, 3> propertyListKeys{"CFBundleName", "CFBundleVersion", "a"};

/// What is read under `propertyListKeys`, held against what holds for any bytes.
inline std::optional<PropertyListTexts> readLawfully(std::string_view bytes) {
    auto texts = readPropertyList(bytes, propertyListKeys);
    auto keysReversed = propertyListKeys;
    std::ranges::reverse(keysReversed);
    auto textsReversed = readPropertyList(bytes, keysReversed);
    if (textsReversed) std::ranges::reverse(*textsReversed);
    require(texts == textsReversed, "a key's text does not depend on the keys beside it");
    if (!texts) return texts;
    require(readPropertyList(bytes, {}).has_value(), "what is read with keys is read without");
    for (const auto& text : *texts) {
        if (!text) continue;
        requireText(*text);
        // Two bytes of UTF-16 become three of UTF-8 at most.
        require(text->size() <= maxPropertyListText / 2 * 3, "a text is bounded");
    }
    return texts;
}

}  // namespace quorvel::fuzz
