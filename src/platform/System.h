#pragma once

#include <filesystem>
#include <string>

/// What every system knows, and each in its own way: the adapters' folder of the system that is built for
/// defines these. Any thread.
namespace quorvel {

/// Where programs keep their own files, without a program's name; empty when the user has no home.
std::filesystem::path applicationSupportFolder();

/// The locale that the user sorts by, such as "sv_SE.UTF-8"; empty when none is named.
std::string userLocale();

}  // namespace quorvel
