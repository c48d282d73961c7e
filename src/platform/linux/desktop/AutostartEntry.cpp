#include "platform/linux/desktop/AutostartEntry.h"

#include <string_view>
#include <unistd.h>
#include <utility>

#include "platform/Files.h"
#include "platform/linux/XdgFolders.h"

namespace quorvel {

namespace {

/// As the desktop entry rules quote an argument of Exec: first for the command line, then for the file.
std::string quoted(const std::string& argument) {
    std::string text = "\"";
    for (const char character : argument) {
        if (std::string_view("\"`$\\").contains(character)) text += "\\\\";
        if (character == '\\') text += '\\';
        if (character == '%') text += '%';
        if (character == '\n') {
            text += "\\n";
        } else {
            text += character;
        }
    }
    return text + "\"";
}

std::string quoted(const std::vector<std::string>& command) {
    std::string text;
    for (const auto& argument : command)
        text += (text.empty() ? "" : " ") + quoted(argument);
    return text;
}

/// Whether the user's desktop has switched the entry off without removing it.
bool isSwitchedOff(const std::string& entry) {
    const std::string lines = '\n' + entry + '\n';
    return lines.contains("\nHidden=true\n") || lines.contains("\nX-GNOME-Autostart-enabled=false\n");
}

}  // namespace

AutostartEntry::AutostartEntry(const std::filesystem::path& folder, std::vector<std::string> command)
    : file(folder / "com.ob.quorvel.desktop"), command(std::move(command)) {}

std::filesystem::path AutostartEntry::standardFolder() {
    return xdg::configHome() / "autostart";
}

bool AutostartEntry::registerItem() {
    if (const auto present = files::read(file); present && isSwitchedOff(*present)) return false;
    if (!files::makeFolder(file.parent_path())) return false;
    return files::writeAtomically(file,
                                  "[Desktop Entry]\nType=Application\nName=Quorvel\n"
                                  "Comment=Tells which installed applications have newer versions\n"
                                  "Icon=com.ob.quorvel\nTerminal=false\nExec=" +
                                      quoted(command) + "\n");
}

bool AutostartEntry::unregisterItem() {
    std::error_code error;
    std::filesystem::remove(file, error);
    return !error;
}

}  // namespace quorvel
