#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/Desktop.h"
#include "platform/linux/EventQueue.h"
#include "platform/linux/icons/IconProvider.h"
#include "platform/linux/painter/PainterProcess.h"
#include "platform/linux/statusitem/TrayItem.h"

namespace quorvel {

class PainterSession;

/// The painter that belongs to the running program.
std::vector<std::string> painterCommand();

/// The windows, alerts, pasteboard and, where no panel does, the status item of the program, put on the
/// screen by a painter that is started when it is first needed. All that is shown is kept here as values: a
/// painter that ends while it still shows something is replaced, once within `PainterLimits::restartPause`,
/// and told everything again; when that one ends too, the windows count as closed, the alerts as dismissed,
/// and the next request tries anew. An alert that is shown already comes to the front instead of a second one
/// with the same texts. Owned by the entry, on the main queue.
class PainterChannel final : public WindowServer, public Alerts, public Pasteboard {
public:
    explicit PainterChannel(EventQueue& queue, std::vector<std::string> command = painterCommand(),
                            PainterLimits limits = {});
    ~PainterChannel() override;
    PainterChannel(const PainterChannel&) = delete;
    PainterChannel& operator=(const PainterChannel&) = delete;

    std::unique_ptr<Window> makeWindow(WindowContent content,
                                       std::weak_ptr<WindowDelegate> delegate) override;
    void runAlert(const std::string& messageText, const std::string& informativeText,
                  Task dismissed) override;
    void setText(const std::string& text) override;

    /// One at a time; `icons` may be null.
    std::unique_ptr<TrayItem> makeTrayItem(IconProvider* icons);
    /// Opens the menu of the tray item where the pointer is, whether or not the item is shown.
    void popUpMenu();

    /// `lost` runs once, later, when a painter finds no display after an earlier one had found it. Known only
    /// when one is started anew, as when what it showed has gone with the display.
    void onDisplayLost(Task lost);

    /// What the desktop gave along with the user's last action, for the next window, alert or menu.
    void setActivationToken(std::string token);

private:
    std::shared_ptr<PainterSession> session;
};

}  // namespace quorvel
