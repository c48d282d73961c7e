#pragma once

#include <memory>

#include "persistence/PersistenceManager.h"
#include "platform/Desktop.h"
#include "ui/ApplicationActions.h"

namespace quorvel {

/// What the menu's items reach. Each item keeps a copy; what is held by reference outlives every menu.
struct MenuContext {
    /// The application's delegate; once it is gone, its items do nothing.
    std::weak_ptr<ApplicationActions> delegate;
    Workspace& workspace;
    Alerts& alerts;
    Application& application;
    const LoginItem& loginItem;
    const PersistenceManager& persistence;
};

}  // namespace quorvel
