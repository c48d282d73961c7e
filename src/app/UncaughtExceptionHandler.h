#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "api/Environment.h"
#include "persistence/PersistenceManager.h"
#include "platform/Desktop.h"
#include "platform/HttpSession.h"
#include "platform/Queue.h"
#include "platform/WallClock.h"

namespace quorvel {

/// An exception that nobody caught.
struct UncaughtException {
    std::string name;
    std::optional<std::string> reason;
    std::vector<std::string> callStackSymbols;
};

/// Leaves one line in the log, reports to the catalog without waiting for it, tells the user, and exits with
/// status 1. Uses nothing of the application controller, whose state may be the reason for the exception.
class UncaughtExceptionHandler {
public:
    /// What is held by reference outlives the process's last exception.
    struct Parts {
        Queue& mainQueue;
        HttpSession& session;
        Alerts& alerts;
        const PersistenceManager& persistence;
        Environment environment;
        WallClock wallClock;
        std::string catalogURL;
        /// Ends the process with a status.
        std::function<void(int)> exit;
    };

    explicit UncaughtExceptionHandler(Parts parts);

    /// Returns before the user has dismissed the alert. Main thread.
    void handle(const UncaughtException& exception) const;

private:
    void report(const std::string& message, const UncaughtException& exception) const;

    const Parts parts;
};

}  // namespace quorvel
