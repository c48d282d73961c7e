#include "persistence/StoredJson.h"

#include "platform/Files.h"

namespace quorvel::storedJson {

nlohmann::json load(const std::filesystem::path& url) {
    const auto bytes = files::read(url);
    if (!bytes) return nlohmann::json::value_t::discarded;
    return nlohmann::json::parse(*bytes, nullptr, /*allow_exceptions=*/false);
}

bool save(const std::filesystem::path& url, const nlohmann::ordered_json& value) {
    // JSON has no other texts than UTF-8.
    constexpr auto repaired = nlohmann::ordered_json::error_handler_t::replace;
    return files::writeAtomically(url, value.dump(-1, ' ', /*ensure_ascii=*/false, repaired));
}

}  // namespace quorvel::storedJson
