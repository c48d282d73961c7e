#pragma once

#include <filesystem>
#include <nlohmann/json.hpp>

/// The JSON files of the storage folder, for the stores' own source files.
namespace quorvel::storedJson {

/// The value in the file; a discarded value when the file is missing or is not valid JSON.
nlohmann::json load(const std::filesystem::path& url);

/// Writes the value, compact, as the whole file. False when it could not be encoded or written.
bool save(const std::filesystem::path& url, const nlohmann::ordered_json& value);

}  // namespace quorvel::storedJson
