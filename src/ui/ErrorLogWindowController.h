#pragma once

#include "persistence/ErrorLogger.h"
#include "ui/WindowController.h"

namespace quorvel {

/// Shows the log file as it was when the window was made or last refreshed, and copies it as it is. Never
/// writes it.
class ErrorLogWindowController final : public WindowController {
public:
    /// `pasteboard` outlives the controller.
    ErrorLogWindowController(ErrorLogger logger, Pasteboard& pasteboard);

    /// The log's text as users see it: "(No log entries)" for none.
    static std::string shownText(const ErrorLogger& logger);

    WindowContent makeContentView() const override;
    void buttonPressed(const std::string& title) override;

private:
    const ErrorLogger logger;
    Pasteboard& pasteboard;
};

}  // namespace quorvel
