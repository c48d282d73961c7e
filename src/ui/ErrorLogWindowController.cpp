#include "ui/ErrorLogWindowController.h"

#include <utility>

namespace quorvel {

namespace {

constexpr const char* refreshTitle = "Refresh";
constexpr const char* copyTitle = "Copy";

}  // namespace

ErrorLogWindowController::ErrorLogWindowController(ErrorLogger logger, Pasteboard& pasteboard)
    : logger(std::move(logger)), pasteboard(pasteboard) {}

std::string ErrorLogWindowController::shownText(const ErrorLogger& logger) {
    const std::string text = logger.text();
    return text.empty() ? "(No log entries)" : text;
}

WindowContent ErrorLogWindowController::makeContentView() const {
    return {.title = "Error Log",
            .width = 600,
            .height = 400,
            .isResizable = true,
            .views = {TextView{.frame = {0, 40, 600, 360},
                               .font = {FontRole::monospaced, 11},
                               .inset = 8,
                               .text = shownText(logger)},
                      Button{{8, 8, 80, 24}, refreshTitle, Button::Style::rounded},
                      Button{{96, 8, 80, 24}, copyTitle, Button::Style::rounded}}};
}

void ErrorLogWindowController::buttonPressed(const std::string& title) {
    if (title == refreshTitle) window->setText(shownText(logger));
    // The file's present text, also where the window shows an older one.
    if (title == copyTitle) pasteboard.setText(shownText(logger));
}

}  // namespace quorvel
