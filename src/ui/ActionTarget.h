#pragma once

#include <functional>
#include <memory>

#include "platform/Menu.h"

namespace quorvel {

/// What one menu item does. Its item's `representedObject` is all that keeps it alive. Main thread.
class ActionTarget final : public MenuTarget {
public:
    explicit ActionTarget(std::function<void()> action);

    /// Runs the action. That may replace the menu, and with it this target.
    void menuAction() override;

private:
    const std::function<void()> action;
};

/// An enabled item that runs `action` when it is chosen.
MenuItem makeActionItem(std::string title, std::function<void()> action);

}  // namespace quorvel
