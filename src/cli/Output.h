#pragma once

#include <string_view>

/// The two standard streams. Both may be a terminal.
namespace quorvel::output {

/// Writes "quorvel-check: ", the sentence on one line, and a line feed to standard error. Whatever the
/// sentence quotes reaches the terminal as text alone.
void say(std::string_view sentence);

/// Writes the text to standard output as it is. False when it could not be written whole, to a full disk for
/// example; then the reason has been said.
bool print(std::string_view text);

/// False, and said, when standard output was closed before the program began: the next file opened would take
/// its place.
bool isStandardOutputOpen();

}  // namespace quorvel::output
