#pragma once

#include <bit>
#include <functional>
#include <string_view>

namespace quorvel {

/// Hands UTF-16 as files hold it, two bytes a unit at any alignment, to `visit` as UTF-8, in pieces of some
/// kilobytes. False when half a unit or a surrogate without its partner is found, and when `visit` returns
/// false, which ends it.
bool visitUtf16(std::string_view bytes, std::endian order,
                const std::function<bool(std::string_view)>& visit);

}  // namespace quorvel
