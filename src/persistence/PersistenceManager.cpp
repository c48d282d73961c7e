#include "persistence/PersistenceManager.h"

#include <array>
#include <cstdio>
#include <random>
#include <string>
#include <utility>

#include "platform/Files.h"

namespace quorvel {

namespace {

/// A random (version 4) UUID as RFC 4122 writes it, in upper case.
std::string newUUID() {
    std::random_device random;
    const auto word = [&random] { return static_cast<unsigned>(random()); };
    const unsigned a = word(), b = word(), c = word(), d = word();
    std::array<char, 37> text{};
    std::snprintf(text.data(), text.size(), "%08X-%04X-%04X-%04X-%04X%08X", a, b >> 16, (b & 0x0FFF) | 0x4000,
                  ((c >> 16) & 0x3FFF) | 0x8000, c & 0xFFFF, d);
    return text.data();
}

}  // namespace

const PersistenceManager& PersistenceManager::shared(const std::filesystem::path& applicationSupport) {
    static const PersistenceManager instance = at(applicationSupport / "quorvel");
    return instance;
}

PersistenceManager::PersistenceManager(const std::filesystem::path& baseDirectory)
    : PersistenceManager(ExactFolder{baseDirectory / ("quorvel-" + newUUID())}) {}

PersistenceManager PersistenceManager::at(const std::filesystem::path& folder) {
    return PersistenceManager(ExactFolder{folder});
}

PersistenceManager::PersistenceManager(ExactFolder folder) : appSupportURL(std::move(folder.path)) {
    files::makeFolder(appSupportURL);
}

}  // namespace quorvel
