#include "app/UncaughtExceptionHandler.h"

#include <cstdlib>
#include <utility>

namespace quorvel {

namespace {

constexpr const char* alertText = "Quorvel encountered an unexpected error and needs to quit.";

std::string joined(const std::vector<std::string>& lines) {
    std::string text;
    for (const auto& line : lines)
        text += (text.empty() ? "" : "\n") + line;
    return text;
}

}  // namespace

UncaughtExceptionHandler::UncaughtExceptionHandler(ErrorLogger errorLogger, InstanceStore instanceStore,
                                                   OrbistoAPIService api, Alerts& alerts,
                                                   std::function<void(int)> exit)
    : errorLogger(std::move(errorLogger)),
      instanceStore(std::move(instanceStore)),
      api(std::move(api)),
      alerts(alerts),
      exit(std::move(exit)) {}

void UncaughtExceptionHandler::handle(const UncaughtException& exception) {
    const std::string message = exception.name + ": " + exception.reason.value_or("no reason");
    errorLogger.resetWithEntry(message);
    if (const auto id = instanceStore.load())
        api.reportError(message, *id, joined(exception.callStackSymbols), [](const auto&) {});
    alerts.runAlert(alertText, message, [exit = exit] { exit(EXIT_FAILURE); });
}

}  // namespace quorvel
