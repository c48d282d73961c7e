#include "entry/linux/DesktopProgramFixture.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <sstream>

namespace quorvel {

DesktopProgramFixture::DesktopProgramFixture() {
    for (const char* variable : {"HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_DATA_DIRS"})
        setenv(variable, folder.path.c_str(), 1);
}

void DesktopProgramFixture::watchSession() {
    panel = std::make_unique<FakePanel>(queue);
}

void DesktopProgramFixture::startCatalog(std::vector<std::string> options) {
    std::vector<std::string> arguments{PROGRAM_FOLDER "/quorvel-catalog", "--data",
                                       SOURCE_ROOT "/demo/catalog.json", "--record",
                                       (folder.path / "record").string()};
    arguments.insert(arguments.end(), options.begin(), options.end());
    catalog = std::make_unique<Process>(std::move(arguments));
    url = catalog->readLine();
}

void DesktopProgramFixture::endCatalog() {
    if (catalog) catalog->signal(SIGKILL);
    catalog.reset();
}

void DesktopProgramFixture::restartCatalog(std::vector<std::string> options) {
    endCatalog();
    const auto colon = url.rfind(':') + 1;
    options.insert(options.end(), {"--port", url.substr(colon, url.find('/', colon) - colon)});
    startCatalog(std::move(options));
}

std::vector<std::string> DesktopProgramFixture::command() const {
    return {PROGRAM_FOLDER "/quorvel",
            "--system-root",
            SOURCE_ROOT "/demo/system",
            "--catalog",
            url,
            "--data-dir",
            (folder.path / "storage").string()};
}

std::vector<std::string> DesktopProgramFixture::commandWith(const std::vector<std::string>& options) const {
    auto words = command();
    words.insert(words.end(), options.begin(), options.end());
    return words;
}

void DesktopProgramFixture::start() {
    const auto before = panel->registrations.size();
    program = std::make_unique<Process>(command());
    ASSERT_TRUE(waitForRegistration(before + 1));
}

bool DesktopProgramFixture::waitForRegistration(std::size_t count) {
    const bool came = runUntil(queue, [&] { return panel->registrations.size() >= count; });
    if (came) item = panel->registrations.back().sender;
    return came;
}

bool DesktopProgramFixture::comesTrue(const std::function<bool()>& condition) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        bool isTimeToLook = false;
        queue.postAfter(std::chrono::milliseconds(5), [&] { isTimeToLook = true; });
        runUntil(queue, [&] { return isTimeToLook; });
    }
    return true;
}

ShownMenu DesktopProgramFixture::menuWith(const std::string& label) {
    for (int turn = 0; turn < 20; ++turn) {
        const auto seen = panel->layoutUpdates.size();
        auto menu = panel->menu(item);
        if (menu.root.has(label)) return menu;
        if (!runUntil(queue, [&] { return panel->layoutUpdates.size() > seen; })) break;
    }
    ADD_FAILURE() << "no menu came with " << label;
    return {};
}

std::vector<std::string> DesktopProgramFixture::recordedMessages() const {
    std::vector<std::string> messages;
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
