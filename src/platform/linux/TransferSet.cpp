#include "platform/linux/TransferSet.h"

#include <algorithm>
#include <new>
#include <vector>

namespace quorvel {

TransferSet::TransferSet(const CurlSessionOptions& how)
    : options(how), multi(curl_multi_init(), curl_multi_cleanup) {
    if (!multi) throw std::bad_alloc();
    // Requests that must have a fresh connection leave it behind; libcurl would keep many more.
    curl_multi_setopt(multi.get(), CURLMOPT_MAXCONNECTS, 4L);
}

TransferSet::~TransferSet() {
    for (const auto& [handle, transfer] : transfers)
        curl_multi_remove_handle(multi.get(), handle);
}

void TransferSet::add(HttpRequest request, HttpSession::Completion completion) {
    auto transfer =
        std::make_unique<CurlTransfer>(std::move(request), std::move(completion), options, sockets);
    if (auto error = transfer->prepare()) {
        transfer->end(*std::move(error));
        return;
    }
    CURL* const handle = transfer->handle();
    transfers.emplace(handle, std::move(transfer));
    curl_multi_add_handle(multi.get(), handle);
}

void TransferSet::advance() {
    int running = 0;
    curl_multi_perform(multi.get(), &running);
    int waiting = 0;
    while (const CURLMsg* message = curl_multi_info_read(multi.get(), &waiting)) {
        const CURLcode code = message->data.result;
        take(message->easy_handle)->end(code);
    }
    const auto now = Clock::now();
    std::vector<CURL*> stalled;
    for (const auto& [handle, transfer] : transfers) {
        if (transfer->hasStalled(now)) stalled.push_back(handle);
    }
    for (CURL* handle : stalled)
        take(handle)->endStalled();
}

void TransferSet::wait(Clock::time_point until) {
    for (const auto& [handle, transfer] : transfers)
        until = std::min(until, transfer->deadline());
    const auto rest = std::chrono::ceil<std::chrono::milliseconds>(until - Clock::now()).count();
    constexpr std::int64_t longest = 24 * 60 * 60 * 1000;
    curl_multi_poll(multi.get(), nullptr, 0, static_cast<int>(std::clamp(rest, std::int64_t{0}, longest)),
                    nullptr);
}

void TransferSet::wakeUp() {
    curl_multi_wakeup(multi.get());
}

std::unique_ptr<CurlTransfer> TransferSet::take(CURL* handle) {
    curl_multi_remove_handle(multi.get(), handle);
    auto node = transfers.extract(handle);
    return std::move(node.mapped());
}

}  // namespace quorvel
