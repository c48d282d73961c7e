#pragma once

#include <string>
#include <vector>

namespace quorvel {

/// Starts a program of the user's, found along PATH, that lives on by itself: in a session of its own, with
/// no signal blocked, without this program's files, and never a zombie. No shell sees the arguments. False
/// when not even the intermediate process could be made; a program that does not exist goes unnoticed.
bool startDetached(const std::vector<std::string>& arguments);

}  // namespace quorvel
