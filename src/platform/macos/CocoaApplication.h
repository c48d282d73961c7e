#pragma once

#include "platform/Desktop.h"

namespace quorvel {

/// The shared application object. Ending it ends the process, after its delegate has been told.
class CocoaApplication final : public Application {
public:
    void terminate() override;
};

}  // namespace quorvel
