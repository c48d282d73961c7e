#pragma once

#include <functional>
#include <string>
#include <vector>

#include "platform/Desktop.h"
#include "platform/linux/bus/SessionBus.h"

namespace quorvel {

/// Opens addresses through the desktop portal and shows files through the file manager's interface on the
/// session bus; where either does not answer, through xdg-open. Main thread.
class DesktopWorkspace final : public Workspace {
public:
    /// Starts a program that lives on by itself; the first argument is its name.
    using Start = std::function<void(const std::vector<std::string>&)>;

    DesktopWorkspace(SessionBus& bus, Start start);

    void openURL(const std::string& url) override;
    /// The user's program is given the address as one argument, of which Linux takes 128 KiB at most; a
    /// kibibyte is left to what a program between puts before it.
    std::size_t maxURLSize() const override { return std::size_t{127} * 1024; }
    void selectFile(const std::filesystem::path& path) override;

private:
    SessionBus& bus;
    const Start start;
};

/// A path as a "file:" address, each byte beyond the unreserved ones of RFC 3986 escaped.
std::string fileURL(const std::filesystem::path& path);

}  // namespace quorvel
