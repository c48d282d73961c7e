#include "persistence/InstanceStore.h"

#include "persistence/StoredJson.h"
#include "platform/JsonInteger.h"

namespace quorvel {

namespace {

std::optional<InstanceStore::Payload> decode(const nlohmann::json& value) {
    const auto id = value.find("id");
    const auto number = id == value.end() ? std::nullopt : integerValue(*id);
    return number ? std::optional(InstanceStore::Payload{*number}) : std::nullopt;
}

}  // namespace

InstanceStore::InstanceStore(const PersistenceManager& persistence)
    : url(persistence.appSupportURL / "instance_id.json") {}

std::optional<std::int64_t> InstanceStore::load() const {
    const auto payload = decode(storedJson::load(url));
    if (!payload) return std::nullopt;
    return payload->id;
}

void InstanceStore::save(std::int64_t id) const {
    storedJson::save(url, {{"id", id}});
}

}  // namespace quorvel
