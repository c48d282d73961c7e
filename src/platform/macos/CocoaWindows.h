#pragma once

#include "platform/Desktop.h"

namespace quorvel {

/// The system's windows.
class CocoaWindowServer final : public WindowServer {
public:
    std::unique_ptr<Window> makeWindow(WindowContent content,
                                       std::weak_ptr<WindowDelegate> delegate) override;
};

}  // namespace quorvel
