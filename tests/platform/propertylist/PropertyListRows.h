#pragma once

#include <array>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/propertylist/PropertyList.h"

namespace quorvel {

using Texts = PropertyListTexts;
inline constexpr auto none = std::nullopt;
inline constexpr auto refused = std::nullopt;

/// A property list and what its keys "a" and "b" are to be; nothing when the list is to be refused.
struct PropertyListRow {
    std::string name;
    std::string list;
    std::optional<Texts> expected;
};

/// A row that a bound refuses stands for what would take for ever, or gigabytes, or be read, without it.
inline void expectTexts(const std::vector<PropertyListRow>& rows) {
    constexpr std::array<std::string_view, 2> keys{"a", "b"};
    for (const auto& [name, list, expected] : rows)
        EXPECT_EQ(readPropertyList(list, keys), expected) << name << ": " << list.substr(0, 400);
}

/// Every beginning of a list is refused.
inline void expectOnlyWhole(const std::string& list, std::size_t wholeSize) {
    for (std::size_t size = 0; size < wholeSize; ++size)
        expectTexts({{"prefix of " + std::to_string(size), list.substr(0, size), refused}});
}

}  // namespace quorvel
