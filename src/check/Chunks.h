#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include "scanner/InstalledApp.h"

namespace quorvel {

/// Applications in one request to the catalog.
inline constexpr std::size_t chunkSize = 200;

/// From the answer to one request until the next is sent.
inline constexpr std::chrono::milliseconds interChunkDelay{250};

inline std::size_t chunkCount(std::size_t apps) {
    return (apps + chunkSize - 1) / chunkSize;
}

/// The applications of chunk `index`, counted from 0, in scan order; the last chunk holds the remainder.
inline std::span<const InstalledApp> chunk(std::span<const InstalledApp> inventory, std::size_t index) {
    const std::size_t start = index * chunkSize;
    return inventory.subspan(start, std::min(chunkSize, inventory.size() - start));
}

/// One text of each application, such as its name, in order.
inline std::vector<std::string> texts(std::span<const InstalledApp> apps, std::string InstalledApp::* field) {
    std::vector<std::string> list;
    list.reserve(apps.size());
    for (const auto& app : apps)
        list.push_back(app.*field);
    return list;
}

}  // namespace quorvel
