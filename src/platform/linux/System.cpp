#include "platform/System.h"

#include <cstdlib>

#include "platform/linux/XdgFolders.h"

namespace quorvel {

std::filesystem::path applicationSupportFolder() {
    return xdg::dataHome();
}

std::string userLocale() {
    for (const char* const name : {"LC_ALL", "LC_COLLATE", "LANG"}) {
        const char* const value = std::getenv(name);
        if (value != nullptr && *value != '\0') return value;
    }
    return "";
}

}  // namespace quorvel
