#pragma once

#include "platform/Desktop.h"

namespace quorvel {

/// The login item of this bundle, as the system's settings list it; offered from macOS 13 on.
class ServiceLoginItem final : public LoginItem {
public:
    bool isOffered() const override;
    bool registerItem() override;
    bool unregisterItem() override;
};

}  // namespace quorvel
