#pragma once

namespace quorvel {

/// What the user chose.
struct Settings {
    bool openAtLogin = false;
    bool colorIcon = false;

    bool operator==(const Settings&) const = default;
};

}  // namespace quorvel
