#pragma once

#include <expected>
#include <string>
#include <string_view>

#include "api/Records.h"

/// JSON for the records: requests are only ever written, answers only ever read.
namespace quorvel {

/// Why a record could not be written: one of its texts is not valid UTF-8.
struct EncodingError {
    std::string description;
};

/// What kept an answer from being read.
struct DecodingError {
    std::string description;
};

std::expected<std::string, EncodingError> encode(const AutoMatchRequest& request);
std::expected<std::string, EncodingError> encode(const RegisterInstanceRequest& request);
std::expected<std::string, EncodingError> encode(const TrackingRequest& request);

/// Reads an answer whose data is an `AutoMatchData`, an `InstanceData` or a `NoData`. Members that a record
/// does not know are ignored; a required member that is missing, null or of another type fails the whole
/// answer, as does malformed UTF-8.
template <typename Data>
std::expected<APIResponse<Data>, DecodingError> decodeResponse(std::string_view bytes);

/// The first 500 bytes of a body as text; "<non-utf8>" when they are not valid UTF-8.
std::string bodyPreview(std::string_view body);

}  // namespace quorvel
