#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace quorvel {

/// The "mailto:" URL of a message to the support mailbox whose body is `text` and then `log`. Where the URL
/// would have more than `maxSize` bytes, the log's oldest lines are left out, and one line says how many.
std::string reportMailURL(std::string_view subject, std::string_view text, std::string_view log,
                          std::size_t maxSize);

/// The "mailto:" URL of a message to the support mailbox; `query` is what follows "subject=", encoded.
std::string mailURL(std::string_view query);

}  // namespace quorvel
