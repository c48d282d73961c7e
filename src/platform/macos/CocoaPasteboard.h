#pragma once

#include "platform/Desktop.h"

namespace quorvel {

/// The general pasteboard.
class CocoaPasteboard final : public Pasteboard {
public:
    void setText(const std::string& text) override;
};

}  // namespace quorvel
