#include "app/UncaughtExceptionHandler.h"

#include <cstdlib>
#include <utility>

#include "api/OrbistoAPIService.h"
#include "persistence/ErrorLogger.h"
#include "persistence/InstanceStore.h"

namespace quorvel {

namespace {

constexpr const char* alertText = "Quorvel encountered an unexpected error and needs to quit.";

std::string joined(const std::vector<std::string>& lines) {
    std::string text;
    for (const auto& line : lines) {
        if (!text.empty()) text += '\n';
        text += line;
    }
    return text;
}

}  // namespace

UncaughtExceptionHandler::UncaughtExceptionHandler(Parts parts) : parts(std::move(parts)) {}

void UncaughtExceptionHandler::handle(const UncaughtException& exception) const {
    const std::string message = exception.name + ": " + exception.reason.value_or("no reason");
    ErrorLogger(parts.persistence, ErrorLogger::defaultMaxLines, parts.wallClock).resetWithEntry(message);
    report(message, exception);
    parts.alerts.runAlert(alertText, message, [exit = parts.exit] { exit(EXIT_FAILURE); });
}

void UncaughtExceptionHandler::report(const std::string& message, const UncaughtException& exception) const {
    const auto instanceId = InstanceStore(parts.persistence).load();
    if (!instanceId) return;
    OrbistoAPIService api(parts.session, parts.mainQueue, parts.environment, parts.catalogURL);
    api.reportError(message, *instanceId, joined(exception.callStackSymbols), [](const auto&) {});
}

}  // namespace quorvel
