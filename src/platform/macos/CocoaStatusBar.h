#pragma once

#include "platform/StatusBar.h"

namespace quorvel {

/// The system's status bar.
class CocoaStatusBar final : public StatusBar {
public:
    std::unique_ptr<StatusItem> makeStatusItem() override;
};

}  // namespace quorvel
