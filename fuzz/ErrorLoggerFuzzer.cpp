#include <algorithm>
#include <chrono>
#include <cstdint>
#include <fstream>
#include <optional>
#include <string>
#include <string_view>

#include "FuzzSupport.h"
#include "persistence/ErrorLogger.h"
#include "platform/Files.h"

namespace {

using namespace quorvel;
using fuzz::require;

constexpr std::string_view stamp = "[2025-03-04T05:06:07Z] ";
constexpr std::chrono::sys_seconds moment(std::chrono::seconds(1741064767));

/// What the log should hold, by its rules.
struct Model {
    std::ptrdiff_t maxLines = 0;
    std::optional<std::string> content;

    /// A text that ends with a line feed.
    void set(std::string text) {
        for (auto lines = std::ranges::count(text, '\n'); lines > maxLines && text::isValidUtf8(text);
             --lines)
            text.erase(0, text.find('\n') + 1);
        content = std::move(text);
    }
    void append(const std::string& text) { set(content.value_or("") + text::repairedUtf8(text + "\n")); }
};

/// One operation upon the log and its model: a letter, and a text in which \x1F stands for many line feeds.
void operate(const ErrorLogger& logger, Model& model, std::string_view operation) {
    std::string text;
    for (const char byte : operation.substr(1))
        text.append(byte == '\x1F' ? 200 : 1, byte == '\x1F' ? '\n' : byte);
    switch (operation.front()) {
        case 'l':
            logger.log(text);
            return model.append(std::string(stamp) + text);
        case 'e':
            logger.resetWithEntry(text);
            return model.set(text::repairedUtf8(std::string(stamp) + text + "\n"));
        case 'h':
            logger.resetWithHeader(text);
            model.content = text::repairedUtf8(text.ends_with('\n') ? text : text + "\n");
            return;
        case 'f':  // somebody else has written the file
            std::ofstream(logger.url, std::ios::binary | std::ios::trunc) << text;
            model.content = text;
            return;
        case 'd':
            std::filesystem::remove(logger.url);
            model.content.reset();
            return;
        default:
            logger.appendRaw(text);
            return model.append(text);
    }
}

}  // namespace

/// The first byte chooses the bound; then come operations, parted by \x1E.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const fuzz::ScratchFolder scratch;
    static const auto folder = PersistenceManager::at(scratch.path);
    if (size == 0) return 0;
    const std::size_t maxLines = data[0] % 2 == 0 ? ErrorLogger::defaultMaxLines : data[0] % 8;
    const ErrorLogger logger(folder, maxLines, [] { return moment; });
    Model model{static_cast<std::ptrdiff_t>(maxLines), {}};
    std::filesystem::remove(logger.url);
    std::string_view input = fuzz::textOf(data + 1, size - 1);
    for (int count = 0; !input.empty() && count < 32; ++count) {
        const auto operation = fuzz::takeUpTo("\x1E", input);
        if (operation.empty()) continue;
        operate(logger, model, operation);
        require(files::read(logger.url, SIZE_MAX) == model.content, "the log holds what its rules say");
    }
    return 0;
}
