#include "platform/CommandOptions.h"

#include <algorithm>
#include <charconv>
#include <getopt.h>
#include <numeric>
#include <utility>
#include <vector>

namespace quorvel {

namespace {

/// Levenshtein's distance.
std::size_t editDistance(std::string_view left, std::string_view right) {
    std::vector<std::size_t> row(right.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < left.size(); ++i) {
        std::size_t diagonal = std::exchange(row[0], i + 1);
        for (std::size_t j = 0; j < right.size(); ++j) {
            const std::size_t replaced = diagonal + (left[i] == right[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({replaced, diagonal + 1, row[j] + 1});
        }
    }
    return row.back();
}

/// Empty when no option is near.
std::string suggestion(std::span<const CommandOption> options, std::string_view name) {
    const auto distance = [&](const CommandOption& option) { return editDistance(name, option.name); };
    const auto nearest = std::ranges::min_element(options, {}, distance);
    if (nearest == options.end() || distance(*nearest) > (nearest->name.size() + 1) / 2) return "";
    return " Did you mean --" + nearest->name + "?";
}

/// What getopt_long takes: an index into the options as each one's value, above every letter's.
constexpr int firstIndex = 256;

std::vector<option> longOptions(std::span<const CommandOption> options) {
    std::vector<option> list;
    for (const auto& each : options) {
        list.push_back({each.name.c_str(), each.takesValue ? required_argument : no_argument, nullptr,
                        firstIndex + static_cast<int>(list.size())});
    }
    list.push_back({});
    return list;
}

/// The colon in front tells a missing value from an unknown option.
std::string letters(std::span<const CommandOption> options) {
    std::string text = ":";
    for (const auto& each : options) {
        if (each.letter == 0) continue;
        text += each.letter;
        if (each.takesValue) text += ':';
    }
    return text;
}

const CommandOption* find(std::span<const CommandOption> options, int found) {
    if (found >= firstIndex) return &options[static_cast<std::size_t>(found - firstIndex)];
    const auto match = std::ranges::find(options, found, &CommandOption::letter);
    return found == 0 || match == options.end() ? nullptr : &*match;
}

/// `word` is what getopt_long stopped at, `found` the option that it belongs to, if any.
std::string refusal(std::span<const CommandOption> options, std::string_view word, int found) {
    if (const auto* option = find(options, found)) return "--" + option->name + " takes no value.";
    if (!word.starts_with("--")) {
        return std::string("There is no option -") + static_cast<char>(found) + ".";
    }
    const std::string_view name = word.substr(2, word.find('=') - 2);
    std::string fitting;
    for (const auto& option : options) {
        if (option.name.starts_with(name)) fitting += (fitting.empty() ? "--" : ", --") + option.name;
    }
    const std::string given = "--" + std::string(name);
    if (!fitting.empty()) return given + " can stand for several options: " + fitting + ".";
    return "There is no option " + given + "." + suggestion(options, name);
}

}  // namespace

CommandOption flagOption(std::string name, bool& flag, char letter) {
    return {.name = std::move(name),
            .letter = letter,
            .takesValue = false,
            .handle = [&flag](const std::string&) {
                flag = true;
                return std::optional<std::string>();
            }};
}

std::optional<std::string> readOptions(std::span<const CommandOption> options,
                                       std::span<const char* const> arguments) {
    std::vector<std::string> words{""};  // where getopt_long expects the program's name
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> list;
    for (auto& word : words)
        list.push_back(word.data());
    list.push_back(nullptr);
    const int count = static_cast<int>(words.size());
    const auto names = longOptions(options);
    const std::string shortNames = letters(options);
    opterr = 0;
    optind = 1;
    // After these, getopt_long begins anew with another list: glibc wants 0, the BSDs have a variable.
#ifdef __GLIBC__
    optind = 0;
#else
    optreset = 1;
#endif
    for (int found = 0;
         (found = getopt_long(count, list.data(), shortNames.c_str(), names.data(), nullptr)) != -1;) {
        if (found == '?') {
            return refusal(options, list[static_cast<std::size_t>(optind) - 1], optopt);
        }
        const bool isCut = found == ':';
        const auto* const option = find(options, isCut ? optopt : found);
        const std::string value = option->takesValue && !isCut ? optarg : "";
        if (option->takesValue && value.empty()) return "--" + option->name + " needs a value.";
        if (auto problem = option->handle(value)) return problem;
    }
    // By now the words that are no options stand at the end.
    if (optind == count) return std::nullopt;
    return "There is no use for the word " + std::string(list[static_cast<std::size_t>(optind)]) + ".";
}

std::optional<int> numberBetween(int min, int max, std::string_view text) {
    int number = 0;
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc{} || rest != end || number < min || number > max) return std::nullopt;
    return number;
}

}  // namespace quorvel
