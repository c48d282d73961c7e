#pragma once

#include <list>
#include <memory>

#include "platform/Desktop.h"

namespace quorvel {

/// Modal alerts: `runAlert` returns when its alert has been dismissed. Tasks of the main queue run meanwhile.
class CocoaAlerts final : public Alerts {
public:
    void runAlert(const std::string& messageText, const std::string& informativeText,
                  Task dismissed) override;

private:
    struct Shown;
    /// One can be shown while another is.
    std::list<std::shared_ptr<Shown>> shown;
};

}  // namespace quorvel
