#pragma once

#include <cmath>
#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>
#include <optional>

namespace quorvel {

/// A JSON number with an integral value that fits 64 bits, however it is written (7, 7.0, 7e0); none for
/// anything else.
template <typename Json>
std::optional<std::int64_t> integerValue(const Json& value) {
    if (value.is_number_unsigned()) {
        const auto number = value.template get<std::uint64_t>();
        if (number > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()))
            return std::nullopt;
        return static_cast<std::int64_t>(number);
    }
    if (value.is_number_integer()) return value.template get<std::int64_t>();
    if (!value.is_number_float()) return std::nullopt;
    const auto number = value.template get<double>();
    constexpr double limit = 9223372036854775808.0;  // 2^63, the first value that no longer fits
    if (std::trunc(number) != number || number < -limit || number >= limit) return std::nullopt;
    return static_cast<std::int64_t>(number);
}

}  // namespace quorvel
