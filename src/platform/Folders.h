#pragma once

#include <filesystem>

/// Folders that the system keeps for its user. Empty when the system names none.
namespace quorvel::folders {

std::filesystem::path home();

/// Where programs keep their own files, without a program's name: the XDG base directory for data.
std::filesystem::path applicationSupport();

}  // namespace quorvel::folders
