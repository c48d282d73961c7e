#include <iostream>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "platform/propertylist/PropertyList.h"

namespace {

using nlohmann::json;

std::string bytesOf(const std::string& hexadecimal) {
    std::string bytes;
    for (std::size_t index = 0; index + 1 < hexadecimal.size(); index += 2)
        bytes += static_cast<char>(std::stoi(hexadecimal.substr(index, 2), nullptr, 16));
    return bytes;
}

json textsOf(const std::string& list, const std::vector<std::string>& keys) {
    const auto texts =
        quorvel::readPropertyList(list, std::vector<std::string_view>(keys.begin(), keys.end()));
    if (!texts) return nullptr;
    json object = json::object();
    for (std::size_t index = 0; index < keys.size(); ++index) {
        if ((*texts)[index]) object[keys[index]] = *(*texts)[index];
    }
    return object;
}

}  // namespace

/// Tells what the program reads from property lists. Each line of the input is a JSON array, the list in
/// hexadecimal and then the keys to ask for; each line of the output is an object of the texts found, or null
/// when the list is refused.
int main() {
    for (std::string line; std::getline(std::cin, line);) {
        auto words = json::parse(line).get<std::vector<std::string>>();
        const std::string list = bytesOf(words.front());
        words.erase(words.begin());
        std::cout << textsOf(list, words).dump(-1, ' ', true) << '\n';
    }
}
