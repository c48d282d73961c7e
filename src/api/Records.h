#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// The records that travel between this program and the catalog. Members are written to JSON in the order of
/// the fields.
namespace quorvel {

/// One chunk of installed applications; entry i of `bundleIds` belongs to entry i of `titles`.
struct AutoMatchRequest {
    std::string secret;
    std::vector<std::string> titles;
    std::vector<std::string> bundleIds;
};

struct RegisterInstanceRequest {
    std::string version;
    std::string os;
};

struct TrackingRequest {
    std::int64_t instanceId = 0;
    std::string source;
    std::string status;
    std::string message;
    /// Left out of the JSON when there is none.
    std::optional<std::string> backtrace;
};

/// The envelope of every answer.
template <typename Data>
struct APIResponse {
    struct APIError {
        std::string message;
    };

    bool success = false;
    std::optional<APIError> error;
    std::optional<Data> data;
};

/// One catalog entry that the service matched to a submitted application.
struct AutoMatchResult {
    std::int64_t id = 0;
    std::string title;
    /// The latest version known to the catalog; empty when it knows none.
    std::string version;
    std::vector<std::string> bundleIdentifiers;
    /// The lowest system version on which the latest version runs.
    std::optional<std::string> minimumOSVersion;
    /// The list of bundle identifiers was there and could not be read, so that it counts as empty.
    bool lacksIdentifiers = false;
};

/// One element of a list; a malformed element has no value and costs only itself.
template <typename Element>
struct FailableDecodable {
    std::optional<Element> value;
};

using AutoMatchData = std::vector<FailableDecodable<AutoMatchResult>>;

/// The data of a registration's answer.
struct InstanceData {
    std::int64_t id = 0;
};

/// Data that nobody reads: any JSON value will do.
struct NoData {};

}  // namespace quorvel
