#include "RequestRecord.h"

#include <nlohmann/json.hpp>

namespace quorvel {

RequestRecord::RequestRecord(const std::filesystem::path& file)
    : stream(file, std::ios::binary | std::ios::app) {}

bool RequestRecord::append(const CatalogRequest& request) {
    using Json = nlohmann::ordered_json;
    Json headers = Json::array();
    for (const auto& [name, value] : request.headers)
        headers.push_back(Json::array({name, value}));
    const Json line{{"method", request.method},
                    {"path", request.path},
                    {"headers", std::move(headers)},
                    {"body", request.body}};
    const std::string text = line.dump(-1, ' ', false, Json::error_handler_t::replace) + '\n';
    const std::lock_guard lock(mutex);
    return (stream << text << std::flush).good();
}

}  // namespace quorvel
