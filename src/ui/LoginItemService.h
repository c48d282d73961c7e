#pragma once

#include "persistence/SettingsStore.h"
#include "platform/Desktop.h"

namespace quorvel {

/// Makes the program open, or no longer open, when its user logs in, and records that choice. Owned by the
/// application controller. Main thread.
class LoginItemService {
public:
    /// `loginItem` outlives the service.
    LoginItemService(SettingsStore settingsStore, LoginItem& loginItem);

    /// The setting keeps the user's choice also when the system refuses the login item.
    void setEnabled(bool enabled) const;

private:
    const SettingsStore settingsStore;
    LoginItem& loginItem;
};

}  // namespace quorvel
