#include "platform/linux/statusitem/TraySearch.h"

#include <array>
#include <chrono>

#include "platform/Weakly.h"

namespace quorvel {

namespace {

/// Before each look; the looks are 2, 10 and 60 seconds after the host went.
constexpr std::array<std::chrono::seconds, 3> pauses{std::chrono::seconds(2), std::chrono::seconds(8),
                                                     std::chrono::seconds(50)};

}  // namespace

TraySearch::TraySearch(Queue& mainQueue, TrayItem& trayItem) : queue(mainQueue), item(trayItem) {}

void TraySearch::hostsChanged(bool isHosted) {
    item.hide();
    absence = std::make_shared<int>();
    looks = 0;
    if (!isHosted) lookLater();
}

void TraySearch::lookLater() {
    if (looks < pauses.size()) queue.postAfter(pauses.at(looks++), weakly(absence, [this] { look(); }));
}

void TraySearch::look() {
    item.show(weakly(absence, [this] { lookLater(); }));
}

}  // namespace quorvel
