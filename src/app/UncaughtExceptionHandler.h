#pragma once

#include <functional>

#include "api/OrbistoAPIService.h"
#include "persistence/ErrorLogger.h"
#include "persistence/InstanceStore.h"
#include "platform/Desktop.h"
#include "platform/UncaughtException.h"

namespace quorvel {

/// Leaves one line in the log, reports to the catalog without waiting for it, shows an alert, and exits with
/// status 1. Uses nothing of the application controller, whose state may be the reason for the exception.
class UncaughtExceptionHandler {
public:
    /// What is held by reference, by the client too, outlives the process's last exception. `exit` ends the
    /// process with a status.
    UncaughtExceptionHandler(ErrorLogger errorLogger, InstanceStore instanceStore, OrbistoAPIService api,
                             Alerts& alerts, std::function<void(int)> exit);

    /// Returns before the user has dismissed the alert. Main thread.
    void handle(const UncaughtException& exception);

private:
    const ErrorLogger errorLogger;
    const InstanceStore instanceStore;
    OrbistoAPIService api;
    Alerts& alerts;
    const std::function<void(int)> exit;
};

}  // namespace quorvel
