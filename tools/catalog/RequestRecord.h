#pragma once

#include <filesystem>
#include <fstream>
#include <mutex>

#include "Exchange.h"

namespace quorvel {

/// The requests that came, in a file: one JSON document a line, on disk before the answer goes out, so that
/// whoever has the answer finds the request. Any thread.
class RequestRecord {
public:
    explicit RequestRecord(const std::filesystem::path& file);

    bool isOpen() const { return stream.is_open(); }

    /// False when the line could not be written.
    bool append(const CatalogRequest& request);

private:
    std::mutex mutex;
    std::ofstream stream;
};

}  // namespace quorvel
