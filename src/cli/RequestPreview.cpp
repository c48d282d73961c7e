#include "cli/RequestPreview.h"

#include "api/RecordCoding.h"
#include "check/Chunks.h"
#include "check/InstanceRegistration.h"

namespace quorvel {

namespace {

constexpr std::string_view maskedSecret = "********************************";

std::string entry(std::string_view catalog, std::string_view path,
                  const std::expected<std::string, EncodingError>& body) {
    return "POST " + std::string(catalog) + std::string(path) + "\n" +
           (body ? *body : body.error().description) + "\n";
}

}  // namespace

std::string requestPreview(std::span<const InstalledApp> inventory, bool registers,
                           const Environment& environment, std::string_view catalog) {
    if (inventory.empty()) return "";
    std::string preview;
    if (registers) {
        preview += entry(catalog, "/qvl/instance", encode(registrationRequest(environment)));
    }
    for (std::size_t index = 0; index < chunkCount(inventory.size()); ++index) {
        const auto apps = chunk(inventory, index);
        preview += entry(catalog, "/apps/auto-match-collection",
                         encode(AutoMatchRequest{std::string(maskedSecret), texts(apps, &InstalledApp::name),
                                                 texts(apps, &InstalledApp::bundleID)}));
    }
    return preview;
}

}  // namespace quorvel
