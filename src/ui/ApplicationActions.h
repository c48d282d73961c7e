#pragma once

#include "persistence/SettingsStore.h"

namespace quorvel {

class StatusItemController;

/// What the menu asks of the application's delegate. Main thread.
class ApplicationActions {
public:
    virtual ~ApplicationActions() = default;

    virtual void showAbout() = 0;
    virtual void showErrorLog() = 0;
    virtual void showIgnoredVersions() = 0;
    virtual void toggleOpenAtLogin() = 0;

    virtual const SettingsStore& settingsStore() const = 0;
    /// None until launching has finished.
    virtual StatusItemController* statusItemController() const = 0;
};

}  // namespace quorvel
