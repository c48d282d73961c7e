#pragma once

#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "platform/linux/EventQueue.h"
#include "platform/linux/icons/IconProcess.h"
#include "platform/linux/icons/IconProvider.h"

namespace quorvel {

/// The decoder that belongs to the running program.
std::vector<std::string> iconDecoderCommand();

/// The icons of the bundles that the menu lists, each decoded once, by a decoder that lives no longer than
/// there is something to decode. A file that ends its decoder, or keeps it too long, has no picture and is
/// not given to another one. Owned by the entry, on the main queue.
class BundleIcons final : public IconProvider {
public:
    explicit BundleIcons(EventQueue& queue, std::vector<std::string> command = iconDecoderCommand(),
                         IconLimits limits = {});
    ~BundleIcons() override;
    BundleIcons(const BundleIcons&) = delete;
    BundleIcons& operator=(const BundleIcons&) = delete;

    std::optional<std::vector<std::uint8_t>> pngFor(const BundleIcon& icon) override;
    void setListed(const std::vector<BundleIcon>& icons) override;
    [[nodiscard]] std::shared_ptr<const Arrival> onArrival(Arrival arrived) override;

private:
    using Png = std::vector<std::uint8_t>;

    template <typename Work>
    void later(Work work);
    template <typename Argument>
    std::function<void(Argument)> posting(void (BundleIcons::*take)(const Argument&));

    void decodeNext();
    bool start();
    void decoded(const std::optional<icons::Pixels>& pixels);
    void ended(const std::string& reason);
    void giveUp();
    void gather(const std::string& bundle);
    void announce();

    EventQueue& queue;
    const std::vector<std::string> command;
    const IconLimits limits;

    /// By bundle, what is listed; an empty file stands for no picture.
    std::map<std::string, Png> pngs;
    /// In the order in which they are listed.
    std::deque<std::string> waiting;
    /// What the decoder is at.
    std::optional<std::string> current;
    /// Bundles whose icons have ended a decoder.
    std::set<std::string> harmful;
    int lost = 0;

    /// What has come and is not announced yet.
    std::vector<BundleIcon> gathered;
    std::vector<std::weak_ptr<const Arrival>> listeners;

    /// Counts the decoders, so that nothing counts that a replaced one said.
    std::uint64_t runs = 0;
    std::unique_ptr<IconProcess> process;
    /// Tasks that are still queued when this object goes do nothing.
    std::shared_ptr<const bool> present = std::make_shared<const bool>(true);
};

}  // namespace quorvel
