#pragma once

#include <string>

namespace quorvel {

/// The locale that the environment asks to sort by, such as "sv_SE.UTF-8"; empty when it names none.
std::string userLocale();

}  // namespace quorvel
