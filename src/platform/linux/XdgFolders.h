#pragma once

#include <filesystem>

/// The user's folders by the XDG base directory rules, without a program's name. Empty when the user has no
/// home.
namespace quorvel::xdg {

/// Where programs keep their own files.
std::filesystem::path dataHome();
/// Where programs keep what the user chose.
std::filesystem::path configHome();

}  // namespace quorvel::xdg
