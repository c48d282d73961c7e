#include <algorithm>
#include <chrono>
#include <cstdint>
#include <deque>
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

/// What the log should hold, by its rules: lines in a list.
class Model {
public:
    explicit Model(std::size_t maxLines) : maxLines(maxLines) {}

    std::optional<std::string> content;

    void append(const std::string& text) {
        content = content.value_or("") + text::repairedUtf8(text + "\n");
        trim();
    }

    void reset(const std::string& text) {
        content = text::repairedUtf8(text);
        trim();
    }

    std::deque<std::string> lines() const {
        std::deque<std::string> list;
        std::string_view rest = content ? std::string_view(*content) : std::string_view();
        while (!rest.empty())
            list.emplace_back(fuzz::takeUpTo("\n", rest));
        return list;
    }

private:
    void trim() {
        auto kept = lines();
        if (kept.size() <= maxLines || !text::isValidUtf8(*content)) return;
        while (kept.size() > maxLines)
            kept.pop_front();
        content = "";
        for (const auto& line : kept)
            *content += line + "\n";
    }

    const std::size_t maxLines;
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
            return model.reset(std::string(stamp) + text + "\n");
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

void checkAfter(char operation, const ErrorLogger& logger, const Model& model, std::size_t maxLines) {
    require(files::read(logger.url, SIZE_MAX) == model.content, "the log holds what its rules say");
    if (operation == 'f' || operation == 'd') return;
    require(model.content->ends_with('\n'), "the last line is ended");
    if (operation != 'h' && text::isValidUtf8(*model.content))
        require(model.lines().size() <= maxLines, "the log is bounded");
}

}  // namespace

/// The first byte chooses the bound; then come operations, parted by \x1E.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const fuzz::ScratchFolder scratch;
    static const auto folder = PersistenceManager::at(scratch.path);
    if (size == 0) return 0;
    const std::size_t maxLines = data[0] % 2 == 0 ? ErrorLogger::defaultMaxLines : data[0] % 8;
    const ErrorLogger logger(folder, maxLines, [] { return moment; });
    Model model(maxLines);
    std::filesystem::remove(logger.url);
    std::string_view input = fuzz::textOf(data + 1, size - 1);
    for (int count = 0; !input.empty() && count < 32; ++count) {
        const auto operation = fuzz::takeUpTo("\x1E", input);
        if (operation.empty()) continue;
        operate(logger, model, operation);
        checkAfter(operation.front(), logger, model, maxLines);
    }
    return 0;
}
