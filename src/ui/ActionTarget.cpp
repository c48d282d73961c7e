#include "ui/ActionTarget.h"

#include <utility>

namespace quorvel {

ActionTarget::ActionTarget(std::function<void()> action) : action(std::move(action)) {}

void ActionTarget::menuAction() {
    const auto running = action;  // outlives this target
    running();
}

MenuItem makeActionItem(std::string title, std::function<void()> action) {
    MenuItem item;
    item.title = {{std::move(title)}};
    item.representedObject = std::make_shared<ActionTarget>(std::move(action));
    item.target = item.representedObject;
    return item;
}

}  // namespace quorvel
