#pragma once

#include "persistence/InstanceStore.h"
#include "platform/ProgramInfo.h"
#include "ui/WindowController.h"

namespace quorvel {

/// Names the program, its version and its instance id, and leads to four web pages. What it shows is read
/// once, when the window is made.
class AboutWindowController final : public WindowController {
public:
    /// `workspace` outlives the controller.
    AboutWindowController(ProgramInfo program, InstanceStore instanceStore, Workspace& workspace);

    WindowContent makeContentView() const override;
    void buttonPressed(const std::string& title) override;

private:
    const ProgramInfo program;
    const InstanceStore instanceStore;
    Workspace& workspace;
};

}  // namespace quorvel
