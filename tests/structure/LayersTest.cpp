#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <regex>
#include <set>

namespace {

namespace fs = std::filesystem;
using Folders = std::set<std::string>;

const fs::path sources = fs::path(SOURCE_ROOT) / "src";

/// Which folders of src/ each folder may include. Arrows point one way: app, ui, check, the five services,
/// platform. The adapters know platform alone; only an entry knows the adapters.
const std::map<std::string, Folders>& allowedArrows() {
    static const auto with = [](Folders below, const Folders& more) {
        below.insert(more.begin(), more.end());
        return below;
    };
    static const Folders platform{"platform", "platform/text"};
    static const Folders belowCheck =
        with(platform, {"scanner", "versions", "api", "persistence", "connectivity"});
    static const Folders belowUi = with(belowCheck, {"check"});
    static const Folders posix =
        with(platform, {"platform/posix", "platform/posix/process", "platform/posix/http"});
    static const Folders linux =
        with(posix, {"platform/linux", "platform/linux/bus", "platform/linux/process"});
    static const Folders belowDesktop = with(linux, {"platform/linux/painter", "platform/linux/icons",
                                                     "platform/linux/statusitem", "platform/linux/network"});
    static const std::map<std::string, Folders> arrows{
        {"platform/text", {}},
        {"platform/propertylist", {"platform/text"}},
        {"platform", {"platform/text", "platform/propertylist"}},
        {"platform/painterprotocol", platform},
        {"platform/posix", platform},
        {"platform/posix/process", platform},
        {"platform/posix/http", platform},
        {"platform/linux", posix},
        {"platform/linux/bus", with(posix, {"platform/linux"})},
        {"platform/linux/process", with(posix, {"platform/linux"})},
        {"platform/linux/network", posix},
        {"platform/linux/icons", with(linux, {"platform/propertylist"})},
        {"platform/linux/statusitem", with(linux, {"platform/painterprotocol", "platform/linux/icons"})},
        {"platform/linux/painter",
         with(linux, {"platform/painterprotocol", "platform/linux/icons", "platform/linux/statusitem"})},
        {"platform/linux/desktop", belowDesktop},
        {"scanner", with(platform, {"platform/propertylist"})},
        {"versions", platform},
        {"api", platform},
        {"persistence", platform},
        {"connectivity", platform},
        {"check", belowCheck},
        {"ui", belowUi},
        {"app", with(belowUi, {"ui"})},
        {"painter", with(platform, {"platform/painterprotocol", "platform/linux/process"})},
        {"icons",
         with(platform, {"platform/linux/icons", "platform/linux/process", "platform/posix/process"})},
        {"cli", with(with(belowUi, posix), {"platform/propertylist"})},
        {"entry/linux", with(with(belowUi, belowDesktop), {"ui", "app", "platform/linux/desktop"})},
    };
    return arrows;
}

struct Include {
    fs::path file;
    std::string target;
    bool isOurs;
};

std::vector<Include> allIncludes() {
    static const std::regex line(R"(^\s*#\s*include\s*([<"])([^>"]+)[>"])");
    std::vector<Include> includes;
    for (const auto& entry : fs::recursive_directory_iterator(sources)) {
        const auto extension = entry.path().extension();
        if (extension != ".h" && extension != ".cpp") continue;
        std::ifstream file(entry.path());
        std::smatch match;
        for (std::string text; std::getline(file, text);) {
            if (!std::regex_search(text, match, line)) continue;
            includes.push_back({entry.path().lexically_relative(sources), match[2], match[1] == "\""});
        }
    }
    return includes;
}

std::string folderOf(const fs::path& file) {
    return file.parent_path().generic_string();
}

TEST(LayersTest, everyIncludePointsDownwards) {
    const auto includes = allIncludes();
    ASSERT_GT(includes.size(), 100U) << "the sources were not found below " << sources;
    for (const auto& [file, target, isOurs] : includes) {
        if (!isOurs) continue;
        const auto from = folderOf(file), to = folderOf(target);
        ASSERT_TRUE(allowedArrows().contains(from))
            << file << " lies in a folder without a place in the layers";
        EXPECT_TRUE(from == to || allowedArrows().at(from).contains(to)) << file << " includes " << target;
        EXPECT_TRUE(fs::exists(sources / target)) << file << " includes " << target;
    }
}

/// The core is C++ and POSIX, and any Unix has what lies in platform/posix.
TEST(LayersTest, toolkitsTransportsAndSystemsStayInTheirAdapters) {
    const std::regex toolkit("^(Q[A-Z]|png\\.h)"), transport("^(curl|openssl|httplib)"),
        linuxOnly(
            "^(linux/|systemd/|dbus/|seccomp|backtrace|malloc\\.h|link\\.h|sys/(epoll|eventfd|inotify|prctl|"
            "signalfd|syscall|sendfile|timerfd|xattr)\\.h)");
    for (const auto& [file, target, isOurs] : allIncludes()) {
        if (isOurs) continue;
        const auto folder = folderOf(file);
        const bool isOfLinux = folder.starts_with("platform/linux") || folder == "entry/linux";
        const bool isHelper = folder == "painter" || folder == "icons";
        EXPECT_TRUE(isOfLinux || isHelper || !std::regex_search(target, toolkit))
            << file << " includes " << target;
        EXPECT_TRUE(isOfLinux || isHelper || !std::regex_search(target, linuxOnly))
            << file << " includes " << target;
        const bool isTransport = folder == "platform/posix/http" || file.stem() == "SystemTrust";
        EXPECT_TRUE(isTransport || !std::regex_search(target, transport)) << file << " includes " << target;
    }
}

/// The JSON library takes seconds to compile wherever it is seen.
TEST(LayersTest, theJsonLibraryStaysOutOfPublicHeaders) {
    const std::set<fs::path> forSourceFilesOnly{"persistence/StoredJson.h", "platform/JsonInteger.h"};
    for (const auto& [file, target, isOurs] : allIncludes()) {
        if (file.extension() != ".h") continue;
        if (target.starts_with("nlohmann/") || forSourceFilesOnly.contains(target)) {
            EXPECT_TRUE(forSourceFilesOnly.contains(file)) << file << " includes " << target;
        }
    }
}

TEST(LayersTest, noFileIncludesItselfOnAnyWay) {
    std::map<std::string, std::set<std::string>> graph;
    for (const auto& [file, target, isOurs] : allIncludes()) {
        if (isOurs) graph[file.generic_string()].insert(target);
    }
    std::set<std::string> finished, underWay;
    const std::function<void(const std::string&)> visit = [&](const std::string& file) {
        if (finished.contains(file)) return;
        ASSERT_TRUE(underWay.insert(file).second) << "an include cycle goes through " << file;
        for (const auto& target : graph[file])
            visit(target);
        underWay.erase(file);
        finished.insert(file);
    };
    for (const auto& [file, targets] : std::map(graph))
        visit(file);
}

}  // namespace
