#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <regex>

namespace {

namespace fs = std::filesystem;

const fs::path sources = fs::path(SOURCE_ROOT) / "src";

/// What each folder of src/ may include, and with it what that one may. Arrows point one way: app, ui, check,
/// the five services, platform. The adapters know platform alone; only an entry knows the adapters.
const std::map<std::string, std::vector<std::string>> arrows{
    {"platform/text", {}},
    {"platform/propertylist", {"platform/text"}},
    {"platform", {"platform/propertylist"}},
    {"platform/painterprotocol", {"platform"}},
    {"platform/posix", {"platform"}},
    {"platform/posix/process", {"platform"}},
    {"platform/posix/http", {"platform"}},
    {"platform/posix/exceptions", {"platform"}},
    {"platform/macos", {"platform/posix", "platform/posix/http", "platform/posix/exceptions"}},
    {"platform/linux",
     {"platform/posix", "platform/posix/process", "platform/posix/http", "platform/posix/exceptions"}},
    {"platform/linux/bus", {"platform/linux"}},
    {"platform/linux/process", {"platform/linux"}},
    {"platform/linux/network", {"platform/posix/http"}},
    {"platform/linux/icons", {"platform/linux/bus", "platform/linux/process"}},
    {"platform/linux/statusitem", {"platform/painterprotocol", "platform/linux/icons"}},
    {"platform/linux/painter", {"platform/linux/statusitem"}},
    {"platform/linux/desktop", {"platform/linux/painter", "platform/linux/network"}},
    {"scanner", {"platform"}},
    {"versions", {"platform"}},
    {"api", {"platform"}},
    {"persistence", {"platform"}},
    {"connectivity", {"platform"}},
    {"check", {"scanner", "versions", "api", "persistence", "connectivity"}},
    {"ui", {"check"}},
    {"app", {"ui"}},
    {"painter", {"platform/painterprotocol", "platform/linux/process"}},
    {"icons", {"platform/linux/icons"}},
    {"cli", {"check", "platform/posix", "platform/posix/process", "platform/posix/http"}},
    {"cli/fleet", {"cli"}},
    {"entry", {"app", "platform/posix/http"}},
    {"entry/linux", {"entry", "platform/linux/desktop"}},
    {"entry/macos", {"entry", "platform/macos"}},
};

bool mayInclude(const std::string& from, const std::string& to) {
    return from == to ||
           std::ranges::any_of(arrows.at(from), [&](const auto& below) { return mayInclude(below, to); });
}

/// Includes that only some files may have, by regular expressions. The core is C++ and POSIX, any Unix has
/// what lies in platform/posix, and the JSON library takes seconds to compile wherever it is seen.
const std::pair<std::regex, std::regex> restricted[] = {
    {std::regex("Q[A-Z].*|png\\.h|(linux|systemd|dbus)/.*|(seccomp|backtrace|malloc|link)\\.h|"
                "sys/(epoll|eventfd|inotify|prctl|signalfd|syscall|sendfile|timerfd|xattr)\\.h"),
     std::regex("(platform/linux|entry/linux|painter|icons)/.*")},
    {std::regex("(AppKit|Foundation|Network|Security|ServiceManagement|dispatch)/.*"),
     std::regex("(platform|entry)/macos/.*")},
    {std::regex("(curl|openssl|httplib).*"), std::regex("platform/posix/http/.*|.*/SystemTrust\\.cpp")},
    {std::regex("nlohmann/.*|persistence/StoredJson\\.h|platform/JsonInteger\\.h"),
     std::regex(".*\\.cpp|persistence/StoredJson\\.h|platform/JsonInteger\\.h")},
};

void expectAllowed(const std::string& file, const std::string& target, bool isOurs) {
    SCOPED_TRACE(file + " includes " + target);
    for (const auto& [includes, files] : restricted)
        EXPECT_TRUE(!std::regex_match(target, includes) || std::regex_match(file, files));
    if (!isOurs) return;
    const auto from = fs::path(file).parent_path().string(), to = fs::path(target).parent_path().string();
    ASSERT_TRUE(arrows.contains(from)) << "a folder without a place in the layers";
    EXPECT_TRUE(mayInclude(from, to));
}

TEST(LayersTest, everyIncludePointsDownwardsAndStaysWhereItMayBe) {
    const std::regex line(R"(^\s*#\s*(?:include|import)\s*([<"])([^>"]+)[>"])");
    int files = 0;
    for (const auto& entry : fs::recursive_directory_iterator(sources)) {
        const auto file = entry.path().lexically_relative(sources).string();
        const bool isSource = file.ends_with(".h") || file.ends_with(".cpp") || file.ends_with(".mm");
        if (!isSource) continue;
        ++files;
        std::ifstream stream(entry.path());
        std::smatch match;
        for (std::string text; std::getline(stream, text);) {
            if (std::regex_search(text, match, line)) expectAllowed(file, match[2], match[1] == "\"");
        }
    }
    EXPECT_GT(files, 100) << "the sources were not found below " << sources;
}

}  // namespace
