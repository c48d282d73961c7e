#pragma once

#include <chrono>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "platform/linux/EventQueue.h"
#include "platform/linux/icons/IconMessages.h"
#include "platform/linux/icons/IconProvider.h"
#include "platform/linux/process/Worker.h"

namespace quorvel {

struct IconLimits {
    /// How long a decoder may take over a picture.
    std::chrono::milliseconds pictureTimeout = std::chrono::seconds(10);
    /// How long pictures wait for more, to be shown together.
    std::chrono::milliseconds debounce = std::chrono::milliseconds(250);
};

/// The icons of the bundles that the menu lists, each decoded once, by a decoder that lives no longer than
/// there is something to decode. A file that crashes its decoder, or keeps it too long, has no picture and is
/// not given to another one. Owned by the entry, on the main queue.
class BundleIcons final : public IconProvider {
public:
    explicit BundleIcons(EventQueue& queue,
                         std::vector<std::string> command = {helperProgram("quorvel-icons")},
                         IconLimits limits = {});
    ~BundleIcons() override;
    BundleIcons(const BundleIcons&) = delete;
    BundleIcons& operator=(const BundleIcons&) = delete;

    std::optional<std::vector<std::uint8_t>> pngFor(const BundleIcon& icon) override;
    void setListed(const std::vector<BundleIcon>& icons) override;
    [[nodiscard]] std::shared_ptr<const Arrival> onArrival(Arrival arrived) override;

private:
    using Png = std::vector<std::uint8_t>;

    void decodeNext();
    void decodeNextLater();
    bool start();
    void received(const std::string& message);
    void decoded(const std::optional<icons::Pixels>& pixels);
    void ended(const std::string& reason);
    void announce();

    EventQueue& queue;
    const std::vector<std::string> command;
    const IconLimits limits;

    /// By bundle, what is listed; an empty file stands for no picture.
    std::map<std::string, Png> pngs;
    /// In the order in which they are listed.
    std::deque<std::string> waiting;
    /// The bundle whose icon is being decoded.
    std::optional<std::string> current;
    /// Bundles whose icons have crashed a decoder.
    std::set<std::string> crashing;
    int crashes = 0;

    /// What has come and is not announced yet.
    std::vector<BundleIcon> gathered;
    std::vector<std::weak_ptr<const Arrival>> listeners;

    std::shared_ptr<Worker> decoder;
    /// Whether the decoder stands in its sandbox: until then, its end is not a picture's fault.
    bool isReady = false;
    /// Held weakly by queued tasks.
    std::shared_ptr<BundleIcons> self{this, [](BundleIcons*) {}};
};

}  // namespace quorvel
