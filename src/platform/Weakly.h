#pragma once

#include <functional>
#include <memory>
#include <type_traits>
#include <utility>

namespace quorvel {

/// `function` as a callback that does nothing once `owner` is gone: it is held weakly, and for the time of a
/// call kept alive. The function may take the owner as its first argument, or be a member of it. An owner
/// that is not shared itself gives a shared pointer that it alone holds.
template <typename Owner, typename Function>
auto weakly(const std::shared_ptr<Owner>& owner, Function function) {
    return [weak = std::weak_ptr<Owner>(owner),
            function = std::move(function)]<typename... Arguments>(Arguments&&... arguments) mutable {
        const auto present = weak.lock();
        if (!present) return;
        if constexpr (std::is_invocable_v<Function&, Owner&, Arguments...>)
            std::invoke(function, *present, std::forward<Arguments>(arguments)...);
        else
            function(std::forward<Arguments>(arguments)...);
    };
}

}  // namespace quorvel
