#pragma once

#include <expected>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace quorvel {

/// One option of a program's command line, by the conventions of getopt_long: "--name", "--name VALUE" or
/// "--name=VALUE", abbreviated as long as one option alone begins so, and "-x" where it has a letter.
struct CommandOption {
    std::string name;
    /// 0 for none.
    char letter = 0;
    bool takesValue = false;
    /// Receives the value, never empty; "" where the option takes none. A sentence refuses it.
    std::function<std::optional<std::string>(const std::string& value)> handle;
};

/// An option without a value, which sets `flag`.
CommandOption flagOption(std::string name, bool& flag, char letter = 0);

/// Handles the options among `arguments`, which are without the program's name. "--" ends them. Gives the
/// other words, or a sentence that says what is wrong, with the nearest option where one is near. Not
/// thread-safe, as getopt_long is not.
std::expected<std::vector<std::string>, std::string> readOptions(std::span<const CommandOption> options,
                                                                 std::span<const char* const> arguments);

/// A decimal number from `least` to `greatest`, and nothing else.
std::optional<int> numberBetween(int least, int greatest, std::string_view text);

}  // namespace quorvel
