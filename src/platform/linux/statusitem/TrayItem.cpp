#include "platform/linux/statusitem/TrayItem.h"

#include <array>
#include <chrono>

#include "platform/Weakly.h"

namespace quorvel {

namespace {

/// Before each search; the searches are 2, 10 and 60 seconds after the host went.
constexpr std::array<std::chrono::seconds, 3> delays{std::chrono::seconds(2), std::chrono::seconds(8),
                                                     std::chrono::seconds(50)};

}  // namespace

TraySearch::TraySearch(Queue& mainQueue, TrayItem& trayItem) : queue(mainQueue), item(trayItem) {}

void TraySearch::hostsChanged(bool isHosted) {
    item.hide();
    absence = std::make_shared<int>();
    searches = 0;
    if (!isHosted) searchLater();
}

void TraySearch::searchLater() {
    if (searches < delays.size())
        queue.postAfter(delays.at(searches++), weakly(absence, [this] { search(); }));
}

void TraySearch::search() {
    item.show(weakly(absence, [this] { searchLater(); }));
}

}  // namespace quorvel
