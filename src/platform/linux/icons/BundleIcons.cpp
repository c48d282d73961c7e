#include "platform/linux/icons/BundleIcons.h"

#include <algorithm>
#include <iostream>
#include <utility>

#include "platform/linux/icons/BundleIconFile.h"
#include "platform/linux/icons/PngEncoder.h"
#include "platform/text/DisplayText.h"

namespace quorvel {

std::vector<std::string> iconDecoderCommand() {
    return {helperProgram("quorvel-icons")};
}

BundleIcons::BundleIcons(EventQueue& mainQueue, std::vector<std::string> decoder, IconLimits givenLimits)
    : queue(mainQueue), command(std::move(decoder)), limits(givenLimits) {}

BundleIcons::~BundleIcons() = default;

std::optional<BundleIcons::Png> BundleIcons::pngFor(const BundleIcon& icon) {
    const auto found = pngs.find(icon.bundle);
    return found == pngs.end() || found->second.empty() ? std::nullopt : std::optional(found->second);
}

void BundleIcons::setListed(const std::vector<BundleIcon>& icons) {
    const auto before = std::exchange(pngs, {});
    const auto stillWaiting = std::exchange(waiting, {});
    // Whoever shows the new menu asks for all of its pictures.
    gathered.clear();
    const bool wasIdle = !current && stillWaiting.empty();
    const std::set<std::string> undecided(stillWaiting.begin(), stillWaiting.end());
    for (const auto& [bundle] : icons) {
        const auto known = before.find(bundle);
        const bool isKnown = known != before.end();
        const bool isNew = pngs.emplace(bundle, isKnown ? known->second : Png()).second;
        if (isNew && (!isKnown || undecided.contains(bundle)) && current != bundle) waiting.push_back(bundle);
    }
    if (wasIdle && !waiting.empty()) later([this] { decodeNext(); });
}

std::shared_ptr<const BundleIcons::Arrival> BundleIcons::onArrival(Arrival arrived) {
    std::erase_if(listeners, [](const auto& listener) { return listener.expired(); });
    auto listener = std::make_shared<const Arrival>(std::move(arrived));
    listeners.push_back(listener);
    return listener;
}

template <typename Work>
void BundleIcons::later(Work work) {
    queue.post([weak = std::weak_ptr(present), work = std::move(work)]() mutable {
        if (!weak.expired()) work();
    });
}

/// Leads from the event loop's callbacks, which no exception may leave, to the main queue.
template <typename Argument>
std::function<void(Argument)> BundleIcons::posting(void (BundleIcons::*take)(const Argument&)) {
    return [this, run = runs, take](Argument argument) {
        later([this, run, take, argument = std::move(argument)] {
            if (runs == run) (this->*take)(argument);
        });
    };
}

/// One file a turn of the loop, also of those that turn out to be none.
void BundleIcons::decodeNext() {
    if (current) return;
    if (waiting.empty()) {
        process.reset();
        return announce();
    }
    if (lost >= limits.mostLost) return giveUp();
    const auto bundle = waiting.front();
    const auto file = harmful.contains(bundle) ? FileDescriptor() : openIconFile({bundle});
    if (!file) {
        waiting.pop_front();
        return later([this] { decodeNext(); });
    }
    if (!process && !start()) return giveUp();
    // Of a decoder that has ended meanwhile word is on its way, and another one takes over.
    if (!process->decode(file.get())) return;
    current = bundle;
    waiting.pop_front();
}

bool BundleIcons::start() {
    ++runs;
    auto started = IconProcess::start(queue.event(), command, limits,
                                      {posting(&BundleIcons::decoded), posting(&BundleIcons::ended)});
    if (started) {
        process = std::move(*started);
    } else {
        std::cerr << "quorvel: The decoder of icons did not start. " << started.error() << '\n';
    }
    return process != nullptr;
}

void BundleIcons::decoded(const std::optional<icons::Pixels>& pixels) {
    const auto bundle = *std::exchange(current, std::nullopt);
    const auto listed = pngs.find(bundle);
    if (pixels && listed != pngs.end()) {
        listed->second = encodedPng({icons::side, icons::side, {pixels->begin(), pixels->end()}});
        gather(bundle);
    }
    decodeNext();
}

void BundleIcons::ended(const std::string& reason) {
    if (!process) return;  // It was not needed any more.
    const bool wasReady = process->isReady();
    process.reset();
    ++lost;
    const auto bundle = std::exchange(current, std::nullopt);
    std::cerr << "quorvel: The decoder of icons is gone" << (bundle ? " over " + onOneLine(*bundle) : "")
              << ". " << reason << '\n';
    if (!wasReady) return giveUp();
    if (bundle) harmful.insert(*bundle);
    decodeNext();
}

/// What is listed later is tried again.
void BundleIcons::giveUp() {
    waiting.clear();
    decodeNext();
}

void BundleIcons::gather(const std::string& bundle) {
    gathered.push_back({bundle});
    if (gathered.size() > 1) return;
    queue.postAfter(limits.gathering, [this, weak = std::weak_ptr(present)] {
        if (!weak.expired()) announce();
    });
}

void BundleIcons::announce() {
    const auto arrived = std::exchange(gathered, {});
    if (arrived.empty()) return;
    // A listener may go, and another come, while they are told.
    for (const auto& weak : std::vector(listeners)) {
        if (const auto listener = weak.lock()) (*listener)(arrived);
    }
}

}  // namespace quorvel
