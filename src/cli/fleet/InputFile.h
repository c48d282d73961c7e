#pragma once

#include <expected>
#include <filesystem>
#include <string>
#include <vector>

#include "cli/fleet/Fleet.h"
#include "cli/fleet/JsonPieces.h"

namespace quorvel {

/// A file that is to be read as an inventory.
struct InputFile {
    /// As reports name it; valid UTF-8.
    std::string name;
    std::filesystem::path path;
    /// One that was found in a folder is read only if it is a regular file: a FIFO would be waited for.
    bool isFound = false;
};

/// What the command line names, each file once, those of a folder by name. Whatever else a folder holds is a
/// failure, but for hidden entries.
std::vector<InputFile> listInputFiles(const std::vector<std::filesystem::path>& named,
                                      std::vector<FleetFailure>& failures);

/// Reads the file, which stays open for as long as the reader is kept; the error is a sentence.
std::expected<ByteReader, std::string> openInput(const InputFile& file);

}  // namespace quorvel
