#pragma once

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>

#include "cli/JsonReport.h"
#include "cli/fleet/Fleet.h"
#include "cli/fleet/InventoryReader.h"

namespace quorvel {

/// Hands bytes out in pieces of that size.
inline ByteReader readerOf(std::string_view bytes, std::size_t pieceSize) {
    return [bytes, pieceSize](std::span<char> room) mutable {
        const std::size_t count = std::min({bytes.size(), room.size(), pieceSize});
        std::memcpy(room.data(), bytes.data(), count);
        bytes.remove_prefix(count);
        return static_cast<std::ptrdiff_t>(count);
    };
}

/// What a fleet holds: a line for each host and each failure, whose reason begins so.
inline std::string outlineOf(const Fleet& fleet) {
    std::string text;
    for (const auto& host : fleet.hosts) {
        text += host.name + (host.system ? " on " + toText(*host.system) : "") +
                (host.collectedAt ? " at " + timestamp(*host.collectedAt) : "") + ":";
        for (const auto app : host.apps) {
            const auto& [name, identifier, version, path] = fleet.table[app];
            text.append(" ").append(name).append("=").append(version);
            text.append("<").append(identifier).append(">").append(path);
        }
        for (const auto& issue : host.issues)
            text += " !" + issue.appName + " " + issue.reason;
        text += (host.outside > 0 ? " +" + std::to_string(host.outside) : "") + "\n";
    }
    for (const auto& failure : fleet.failures) {
        text.append(name(failure.code)).append(" ").append(failure.source);
        text += (failure.host ? " " + *failure.host : "") + ": " + failure.reason + "\n";
    }
    return text;
}

/// Of one inventory called "file.json".
inline std::string outlineOf(std::string_view bytes, std::size_t pieceSize = 1 << 20) {
    Fleet fleet;
    readInventory(fleet, "file.json", "file", readerOf(bytes, pieceSize));
    fleet.settle();
    return outlineOf(fleet);
}

}  // namespace quorvel
