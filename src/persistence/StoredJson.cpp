#include "persistence/StoredJson.h"

#include "platform/Files.h"

namespace quorvel::storedJson {

nlohmann::json load(const std::filesystem::path& url) {
    const auto bytes = files::read(url);
    if (!bytes) return nlohmann::json::value_t::discarded;
    return nlohmann::json::parse(*bytes, nullptr, /*allow_exceptions=*/false);
}

bool save(const std::filesystem::path& url, const nlohmann::ordered_json& value) {
    try {
        return files::writeAtomically(url, value.dump());
    } catch (const nlohmann::json::exception&) {
        // A text that is not valid UTF-8 cannot be written as JSON.
        return false;
    }
}

}  // namespace quorvel::storedJson
