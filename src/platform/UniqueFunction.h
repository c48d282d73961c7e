#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <type_traits>
#include <utility>

namespace quorvel {

#ifdef __cpp_lib_move_only_function

template <typename Signature>
using UniqueFunction = std::move_only_function<Signature>;

#else

template <typename Signature>
class UniqueFunction;

/// A function that is moved and never copied, for a standard library that has none.
template <typename Result, typename... Arguments>
class UniqueFunction<Result(Arguments...)> {
public:
    UniqueFunction(std::nullptr_t = nullptr) {}

    template <typename Function>
        requires(!std::is_same_v<Function, UniqueFunction> &&
                 std::is_invocable_r_v<Result, Function&, Arguments...>)
    UniqueFunction(Function function) : callable(std::make_unique<Holder<Function>>(std::move(function))) {}

    Result operator()(Arguments... arguments) {
        return callable->call(std::forward<Arguments>(arguments)...);
    }
    explicit operator bool() const { return callable != nullptr; }

private:
    struct Callable {
        virtual ~Callable() = default;
        virtual Result call(Arguments... arguments) = 0;
    };

    template <typename Function>
    struct Holder final : Callable {
        explicit Holder(Function given) : function(std::move(given)) {}
        Result call(Arguments... arguments) override {
            return std::invoke_r<Result>(function, std::forward<Arguments>(arguments)...);
        }
        Function function;
    };

    std::unique_ptr<Callable> callable;
};

#endif

}  // namespace quorvel
