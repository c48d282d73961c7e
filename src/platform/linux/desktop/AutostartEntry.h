#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "platform/Desktop.h"

namespace quorvel {

/// Opens this program at login through an autostart entry of the XDG rules. Like a login item that its user
/// switched off in the system's settings, an entry that the desktop has switched off stays as it is. Main
/// thread.
class AutostartEntry final : public LoginItem {
public:
    /// `folder`: where the user's autostart entries lie; `command`: the program's absolute path and its
    /// arguments.
    AutostartEntry(const std::filesystem::path& folder, std::vector<std::string> command);

    /// "autostart" below $XDG_CONFIG_HOME, or below ~/.config.
    static std::filesystem::path standardFolder();

    bool isOffered() const override { return true; }
    bool registerItem() override;
    bool unregisterItem() override;

    const std::filesystem::path file;

private:
    const std::vector<std::string> command;
};

}  // namespace quorvel
