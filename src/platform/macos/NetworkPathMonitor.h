#pragma once

#include <memory>

#include "platform/PathMonitor.h"

namespace quorvel {

/// The system's own path monitor.
class NetworkPathMonitor final : public PathMonitor {
public:
    NetworkPathMonitor() = default;
    ~NetworkPathMonitor() override { NetworkPathMonitor::cancel(); }
    NetworkPathMonitor(const NetworkPathMonitor&) = delete;
    NetworkPathMonitor& operator=(const NetworkPathMonitor&) = delete;

    void start(std::string_view queueLabel, UpdateHandler handler) override;
    void cancel() override;

private:
    struct Watch;
    std::shared_ptr<Watch> watch;
};

}  // namespace quorvel
