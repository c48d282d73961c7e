#include "check/UpdateCheckError.h"

namespace quorvel {

namespace {

std::string text(const UpdateCheckError::ApiFailed& error) {
    return "Failed to check for updates (scanned " + std::to_string(error.scannedCount) +
           " apps): " + description(error.underlying);
}

std::string text(const UpdateCheckError::IpBlocked& error) {
    return "Orbisto has blocked requests from your network (scanned " + std::to_string(error.scannedCount) +
           " apps). Please contact Orbisto support.";
}

std::string text(const UpdateCheckError::NoInternet&) {
    return "No internet connection. Will retry when connectivity is restored.";
}

}  // namespace

std::string description(const UpdateCheckError& error) {
    return std::visit([](const auto& kind) { return text(kind); }, error.kind);
}

}  // namespace quorvel
