#include "platform/linux/UserLocale.h"

#include <cstdlib>

namespace quorvel {

std::string userLocale() {
    for (const char* const name : {"LC_ALL", "LC_COLLATE", "LANG"}) {
        const char* const value = std::getenv(name);
        if (value != nullptr && *value != '\0') return value;
    }
    return "";
}

}  // namespace quorvel
