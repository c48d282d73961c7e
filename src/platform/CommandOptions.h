#pragma once

#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>

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

/// An option whose value is assigned to `text`.
template <typename Text>
CommandOption textOption(std::string name, Text& text) {
    return {.name = std::move(name), .takesValue = true, .handle = [&text](const std::string& value) {
                text = value;
                return std::optional<std::string>();
            }};
}

/// Handles `arguments`, which are without the program's name: options, and nothing else. A sentence says what
/// is wrong with them, with the nearest option where one is near. Not thread-safe, as getopt_long is not.
std::optional<std::string> readOptions(std::span<const CommandOption> options,
                                       std::span<const char* const> arguments);

/// A decimal number from `min` to `max`, and nothing else.
std::optional<int> numberBetween(int min, int max, std::string_view text);

}  // namespace quorvel
