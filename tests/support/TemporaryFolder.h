#pragma once

#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <stdlib.h>
#include <string>
#include <string_view>

namespace quorvel {

/// An empty folder that is gone, with all in it, when the test is over.
class TemporaryFolder {
public:
    TemporaryFolder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "quorvel-test-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no temporary folder: " + pattern);
        path = std::filesystem::canonical(pattern);
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    /// Writes a file below the folder, with the folders on the way to it.
    std::filesystem::path write(const std::filesystem::path& name, std::string_view content) const {
        const auto file = path / name;
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file, std::ios::binary) << content;
        return file;
    }

    /// Empty when the file is missing.
    std::string read(const std::filesystem::path& name) const { return contentOf(path / name); }

    static std::string contentOf(const std::filesystem::path& file) {
        std::ostringstream content;
        content << std::ifstream(file, std::ios::binary).rdbuf();
        return content.str();
    }

    std::filesystem::path path;
};

}  // namespace quorvel
