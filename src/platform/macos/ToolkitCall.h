#pragma once

#include <functional>

namespace quorvel {

/// Runs what the toolkit called this program for. No exception may cross the toolkit's frames: here one ends
/// the process, as one that nobody caught.
void runForToolkit(const std::function<void()>& function) noexcept;

}  // namespace quorvel
