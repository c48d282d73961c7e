#pragma once

#include <filesystem>

namespace quorvel::folders {

/// The user's home folder; empty when the system names none.
std::filesystem::path home();

}  // namespace quorvel::folders
