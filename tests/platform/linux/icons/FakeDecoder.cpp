#include <fstream>
#include <string>
#include <unistd.h>

#include "icons/Channel.h"

/// A decoder that does what the files say which it is sent:
///     fake_decoder FOLDER
/// Each start and each file is a line in FOLDER/received.
namespace {

using namespace quorvel::icons;

void obey(const std::string& text) {
    if (text == "die") _exit(1);
    if (text == "hang") pause();
    if (text == "unknown") send({static_cast<Answer::Kind>('?'), {}});
    if (text.starts_with("picture")) send({Answer::Kind::picture, {}});
}

}  // namespace

int main(int /*count*/, char** arguments) {
    std::ofstream received(std::string(arguments[1]) + "/received", std::ios::app);
    received << "start" << std::endl;
    send({Answer::Kind::ready, {}});
    while (const auto file = receiveFile()) {
        const std::string text(file->begin(), file->end());
        received << text << std::endl;
        obey(text);
    }
}
