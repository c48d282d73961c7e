#include "entry/linux/DesktopProgramFixture.h"

#include <nlohmann/json.hpp>
#include <sstream>

namespace quorvel {

DesktopProgramFixture::DesktopProgramFixture() {
    for (const char* variable : {"HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_DATA_DIRS"})
        environment.emplace_back(variable, folder.path.string());
}

void DesktopProgramFixture::startCatalog() {
    catalog = std::make_unique<Process>(Words{PROGRAM_FOLDER "/quorvel-catalog", "--data",
                                              SOURCE_ROOT "/demo/catalog.json", "--record",
                                              (folder.path / "record").string()});
    url = catalog->readLine();
}

DesktopProgramFixture::Words DesktopProgramFixture::command() const {
    // The folder is named from where the program starts, which a start at login does elsewhere.
    return {"/usr/bin/env",
            "--chdir=" + folder.path.string(),
            PROGRAM_FOLDER "/quorvel",
            "--data-dir",
            "storage",
            "--system-root",
            SOURCE_ROOT "/demo/system",
            "--catalog",
            url};
}

int DesktopProgramFixture::statusOfSecondStart(const Words& options) const {
    auto words = command();
    words.insert(words.end(), options.begin(), options.end());
    return Process(std::move(words)).finish().status;
}

void DesktopProgramFixture::start(const Words& before) {
    auto words = command();
    words.insert(words.begin(), before.begin(), before.end());
    const auto seen = panel->layoutUpdates.size();
    program = std::make_unique<Process>(std::move(words));
    ASSERT_TRUE(comesTrue([&] { return panel->layoutUpdates.size() > seen; }));
}

ShownItem DesktopProgramFixture::menuWhere(const std::function<bool(const ShownItem& root)>& condition) {
    ShownItem menu;
    std::size_t seen = 0;
    do {
        seen = panel->layoutUpdates.size();
        menu = panel->menu(item);
        if (condition(menu)) return menu;
    } while (comesTrue([&] { return panel->layoutUpdates.size() > seen; }));
    ADD_FAILURE() << "the menu does not come";
    return menu;
}

ShownItem DesktopProgramFixture::menuWith(const std::string& label) {
    SCOPED_TRACE(label);
    return menuWhere([&](const ShownItem& root) { return root.has(label); });
}

DesktopProgramFixture::Words DesktopProgramFixture::recordedMessages() const {
    Words messages;
    std::istringstream lines(folder.read("record"));
    for (std::string line; std::getline(lines, line);) {
        // The catalog is still writing it.
        if (lines.eof()) break;
        const auto record = nlohmann::json::parse(line);
        const auto body = nlohmann::json::parse(record.at("body").get<std::string>(), nullptr, false);
        const bool tracks = body.is_object() && body.contains("message");
        messages.push_back((tracks ? body.at("message") : record.at("path")).get<std::string>());
    }
    return messages;
}

}  // namespace quorvel
