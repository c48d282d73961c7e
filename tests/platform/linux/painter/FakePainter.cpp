#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <sys/socket.h>
#include <unistd.h>

/// Stands in for the painter: each start takes the next script from the folder, named by its number from 0,
/// and notes down what it is told in the file "received". A script is a line for each step:
///   say LINE      tells the program this line
///   read TYPE     reads until a message of this type has come
///   hang          reads nothing more, and stays until it is ended
/// After its last step it ends. A start without a script ends at once.
namespace {

bool readLine(std::string& line) {
    line.clear();
    for (char character = 0; read(STDIN_FILENO, &character, 1) == 1;) {
        if (character == '\n') return true;
        line += character;
    }
    return false;
}

void readUntil(const std::string& type, std::ofstream& received) {
    const std::string wanted = "[\"" + type + '"';
    for (std::string line; readLine(line);) {
        received << line << std::endl;
        if (line.starts_with(wanted)) return;
    }
}

void say(const std::string& line) {
    const std::string message = line + '\n';
    send(STDIN_FILENO, message.data(), message.size(), MSG_NOSIGNAL);
}

}  // namespace

int main(int, char** arguments) {
    const std::filesystem::path folder = arguments[1];
    int start = 0;
    while (std::filesystem::exists(folder / ("started" + std::to_string(start))))
        ++start;
    std::ofstream(folder / ("started" + std::to_string(start))) << getpid();
    std::ofstream received(folder / "received", std::ios::app);
    std::ifstream script(folder / std::to_string(start));
    for (std::string step; std::getline(script, step);) {
        const auto space = step.find(' ');
        const std::string argument = space == step.npos ? "" : step.substr(space + 1);
        if (step.starts_with("say")) say(argument);
        if (step.starts_with("read")) readUntil(argument, received);
        if (step == "hang") pause();
    }
}
