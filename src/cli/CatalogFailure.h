#pragma once

#include <string>

#include "check/UpdateCheckError.h"
#include "cli/Console.h"

namespace quorvel {

/// What went wrong with the catalog, as a sentence for whoever typed the command, and as an exit status.
struct CatalogFailure {
    std::string sentence;
    ExitStatus status;
};

CatalogFailure catalogFailure(const RequestError& error);
CatalogFailure catalogFailure(const UpdateCheckError& error);

/// What to do where the catalog's address is one that nobody answers; else empty.
std::string adviceOn(const CatalogFailure& failure, const std::string& catalog);

/// Both, on standard error. Gives the status back.
ExitStatus sayFailure(const CatalogFailure& failure, const std::string& catalog);

}  // namespace quorvel
