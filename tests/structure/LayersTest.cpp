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
    static const Folders services{"scanner", "versions", "api", "persistence", "connectivity"};
    static const auto with = [](Folders below, const Folders& more) {
        below.insert(more.begin(), more.end());
        return below;
    };
    static const Folders belowCheck = with(services, {"platform"});
    static const Folders belowUi = with(belowCheck, {"check"});
    static const std::map<std::string, Folders> arrows{
        {"platform", {}},
        {"platform/linux", {"platform"}},
        {"scanner", {"platform"}},
        {"versions", {"platform"}},
        {"api", {"platform"}},
        {"persistence", {"platform"}},
        {"connectivity", {"platform"}},
        {"check", belowCheck},
        {"ui", belowUi},
        {"app", with(belowUi, {"ui"})},
        {"painter", {"platform"}},
        {"icons", {"platform", "platform/linux"}},
        {"cli", with(belowUi, {"platform/linux"})},
        {"entry", with(belowUi, {"ui", "app", "platform/linux"})},
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

TEST(LayersTest, theCoreKnowsNoToolkitAndNoTransport) {
    const std::regex adaptersOnly("^(curl/|systemd/|openssl/|Q[A-Z]|dbus/|httplib|seccomp)");
    const Folders adapters{"platform/linux", "painter", "icons"};
    for (const auto& [file, target, isOurs] : allIncludes()) {
        if (isOurs || adapters.contains(folderOf(file))) continue;
        EXPECT_FALSE(std::regex_search(target, adaptersOnly)) << file << " includes " << target;
    }
}

/// The JSON library takes seconds to compile wherever it is seen.
TEST(LayersTest, theJsonLibraryStaysOutOfPublicHeaders) {
    const std::set<fs::path> forSourceFilesOnly{"persistence/StoredJson.h", "platform/JsonInteger.h",
                                                "platform/MenuCoding.h", "platform/WindowCoding.h"};
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
