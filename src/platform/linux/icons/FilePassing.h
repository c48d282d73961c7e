#pragma once

namespace quorvel {

/// Sends one byte with an open file over a local socket, as quorvel-icons reads it, without waiting for room.
/// False, with errno, when it could not be sent.
bool sendFile(int socket, int file);

}  // namespace quorvel
