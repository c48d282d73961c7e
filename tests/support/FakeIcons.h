#pragma once

#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "platform/linux/icons/IconProvider.h"

namespace quorvel {

/// Has the pictures that a test gives it, when the test lets them come.
class FakeIcons final : public IconProvider {
public:
    using Pngs = std::map<std::filesystem::path, std::vector<std::uint8_t>>;

    std::optional<std::vector<std::uint8_t>> pngFor(const BundleIcon& icon) override {
        const auto found = pngs.find(icon.bundle);
        return found == pngs.end() ? std::nullopt : std::optional(found->second);
    }
    void setListed(const std::vector<BundleIcon>& icons) override { listed = icons; }
    [[nodiscard]] std::shared_ptr<const Arrival> onArrival(Arrival arrived) override {
        auto listener = std::make_shared<const Arrival>(std::move(arrived));
        listeners.push_back(listener);
        return listener;
    }

    void come(const Pngs& some) {
        std::vector<BundleIcon> icons;
        for (const auto& [bundle, png] : some) {
            pngs[bundle] = png;
            icons.push_back({bundle});
        }
        for (const auto& weak : std::vector(listeners)) {
            if (const auto listener = weak.lock()) (*listener)(icons);
        }
    }

    Pngs pngs;
    std::vector<BundleIcon> listed;

private:
    std::vector<std::weak_ptr<const Arrival>> listeners;
};

}  // namespace quorvel
