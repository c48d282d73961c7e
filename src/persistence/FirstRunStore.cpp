#include "persistence/FirstRunStore.h"

#include "platform/Files.h"

namespace quorvel {

FirstRunStore::FirstRunStore(const PersistenceManager& persistence)
    : url(persistence.appSupportURL / "isFirstRun.txt") {}

void FirstRunStore::markFirstRun() const {
    files::writeAtomically(url, "");
}

}  // namespace quorvel
