#include "platform/linux/icons/BundleIcons.h"

#include <algorithm>
#include <cstring>
#include <iostream>
#include <string_view>
#include <utility>

#include "platform/Weakly.h"
#include "platform/linux/icons/BundleIconFile.h"
#include "platform/linux/icons/Png.h"
#include "platform/text/DisplayText.h"

namespace quorvel {

namespace {

using icons::Answer;

/// After so many no more decoder is started.
constexpr int maxCrashes = 32;

/// A decoder has no use for who the user is, where the session is, and what else the environment holds.
bool isForDecoder(std::string_view variable) {
    return variable.starts_with("LD_LIBRARY_PATH=");
}

std::size_t answerSize(std::string_view received) {
    return received.size() < sizeof(Answer) ? 0 : sizeof(Answer);
}

}  // namespace

BundleIcons::BundleIcons(EventQueue& mainQueue, std::vector<std::string> decoder, IconLimits givenLimits)
    : queue(mainQueue), command(std::move(decoder)), limits(givenLimits) {}

/// The decoder has nothing to lose, and may be caught in a picture.
BundleIcons::~BundleIcons() {
    if (decoder) decoder->end("");
}

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
    if (wasIdle && !waiting.empty()) decodeNextLater();
}

std::shared_ptr<const BundleIcons::Arrival> BundleIcons::onArrival(Arrival arrived) {
    std::erase_if(listeners, [](const auto& listener) { return listener.expired(); });
    auto listener = std::make_shared<const Arrival>(std::move(arrived));
    listeners.push_back(listener);
    return listener;
}

void BundleIcons::decodeNextLater() {
    queue.post(weakly(self, [](BundleIcons& icons) { icons.decodeNext(); }));
}

/// One file a turn of the loop, also of those that turn out to be none.
void BundleIcons::decodeNext() {
    if (current) return;
    if (waiting.empty()) {
        decoder.reset();
        return announce();
    }
    // Here and below, what is listed later is tried again.
    if (crashes >= maxCrashes) return waiting.clear();
    const auto bundle = waiting.front();
    const auto file = crashing.contains(bundle) ? FileDescriptor() : openIconFile({bundle});
    if (!file) {
        waiting.pop_front();
        return decodeNextLater();
    }
    if (!decoder && !start()) return waiting.clear();
    // When the decoder has ended meanwhile, `ended` is on its way, and another one takes over.
    if (!decoder->sendFile(file.get())) return;
    if (isReady) decoder->expectMessage(limits.pictureTimeout);
    current = bundle;
    waiting.pop_front();
}

bool BundleIcons::start() {
    auto started = Worker::start(queue,
                                 {.command = command,
                                  .passesOn = isForDecoder,
                                  .messageSize = answerSize,
                                  .maxMessageSize = sizeof(Answer),
                                  .maxUnsent = 0},
                                 {[this](const std::string& message) { received(message); },
                                  [this](const std::string& reason) { ended(reason); }});
    isReady = false;
    if (started) {
        decoder = *std::move(started);
    } else {
        std::cerr << "quorvel: The decoder of icons did not start. " << started.error() << '\n';
    }
    return decoder != nullptr;
}

void BundleIcons::received(const std::string& message) {
    Answer answer;
    std::memcpy(&answer, message.data(), sizeof answer);
    const bool isOfPicture = answer.kind == Answer::Kind::picture || answer.kind == Answer::Kind::none;
    const bool fits = isReady ? isOfPicture && current : answer.kind == Answer::Kind::ready;
    if (!fits) return decoder->end(Worker::protocolBroken);
    if (isReady)
        return decoded(answer.kind == Answer::Kind::picture ? std::optional(answer.pixels) : std::nullopt);
    isReady = true;
    if (current) decoder->expectMessage(limits.pictureTimeout);
}

void BundleIcons::decoded(const std::optional<icons::Pixels>& pixels) {
    const auto bundle = *std::exchange(current, std::nullopt);
    const auto listed = pngs.find(bundle);
    if (pixels && listed != pngs.end()) {
        listed->second = encodedPng({icons::side, icons::side, {pixels->begin(), pixels->end()}});
        gathered.push_back({bundle});
        if (gathered.size() == 1)
            queue.postAfter(limits.debounce, weakly(self, [](BundleIcons& icons) { icons.announce(); }));
    }
    decodeNext();
}

void BundleIcons::ended(const std::string& reason) {
    decoder.reset();
    ++crashes;
    const auto bundle = std::exchange(current, std::nullopt);
    std::cerr << "quorvel: The decoder of icons is gone" << (bundle ? " over " + onOneLine(*bundle) : "")
              << ". " << reason << '\n';
    if (!isReady) return waiting.clear();
    if (bundle) crashing.insert(*bundle);
    decodeNext();
}

void BundleIcons::announce() {
    const auto arrived = std::exchange(gathered, {});
    if (arrived.empty()) return;
    // A listener may go, and another come, while they are called.
    for (const auto& weak : std::vector(listeners)) {
        if (const auto listener = weak.lock()) (*listener)(arrived);
    }
}

}  // namespace quorvel
