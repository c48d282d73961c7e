#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "check/AppUpdate.h"
#include "persistence/Settings.h"
#include "platform/Menu.h"
#include "ui/MenuContext.h"

namespace quorvel {

/// Turns the controller's state into the status item's menu and wires each item to what it does. Nothing in a
/// menu changes after it is built. Main thread.
class MenuBuilder {
public:
    using Action = std::function<void()>;
    using UpdateAction = std::function<void(const AppUpdate&)>;

    static std::shared_ptr<const Menu> buildMenu(
        const MenuContext& context, const std::vector<AppUpdate>& updates, const Settings& settings,
        bool isFetching, bool lastCheckFailed, const std::optional<std::string>& lastCheckError,
        Action onCheck, const UpdateAction& onIgnore, const Action& onSettingsChanged, Action onTryDesktop);

    /// The submenu of one listed update.
    static std::shared_ptr<const Menu> buildUpdateSubmenu(const MenuContext& context, const AppUpdate& update,
                                                          const UpdateAction& onIgnore);
    static std::shared_ptr<const Menu> buildSettingsSubmenu(const MenuContext& context,
                                                            const Settings& settings,
                                                            const Action& onSettingsChanged);
    static MenuItem makeReportItem(const MenuContext& context,
                                   const std::shared_ptr<const AppUpdate>& update);

    /// Open a problem report in the user's mail program, with the error log's text.
    static void composeUpdateReport(const MenuContext& context, const AppUpdate& update);
    static void composeGeneralReport(const MenuContext& context);

    /// Does nothing for a text that is no https or mailto URL.
    static void openLink(Workspace& workspace, const std::string& url);
};

}  // namespace quorvel
