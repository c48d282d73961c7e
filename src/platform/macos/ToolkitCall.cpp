#include "platform/macos/ToolkitCall.h"

#include <exception>

namespace quorvel {

/// In plain C++: the personality of an Objective-C++ frame may not know what C++ throws. Unwinding as far as
/// here frees what the function held before the handler of uncaught exceptions runs.
void runForToolkit(const std::function<void()>& function) noexcept {
    try {
        function();
    } catch (...) {
        std::terminate();
    }
}

}  // namespace quorvel
