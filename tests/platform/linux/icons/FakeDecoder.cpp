#include <array>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <sys/socket.h>
#include <unistd.h>

#include "platform/linux/icons/IconMessages.h"

/// A decoder that does what the files say which it is given, and before that what its name for the start
/// says:
///     fake_decoder FOLDER [START]
/// Each start and each file is a line in FOLDER/told.
namespace {

using quorvel::icons::Answer;

void answer(Answer::Kind kind, std::size_t length = sizeof(Answer)) {
    Answer message{kind, {}};
    message.pixels.fill(200);
    send(STDIN_FILENO, &message, length, MSG_NOSIGNAL);
}

std::string receivedFile() {
    char request = 0;
    iovec part{&request, 1};
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int))> control{};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    if (recvmsg(STDIN_FILENO, &message, 0) != 1) exit(EXIT_SUCCESS);
    int file = -1;
    std::memcpy(&file, CMSG_DATA(CMSG_FIRSTHDR(&message)), sizeof file);
    std::array<char, 100> text{};
    const auto count = read(file, text.data(), text.size());
    close(file);
    return {text.data(), static_cast<std::size_t>(count)};
}

void obey(const std::string& text) {
    if (text == "die") _exit(EXIT_FAILURE);
    if (text == "hang") pause();
    if (text == "short") answer(Answer::Kind::picture, sizeof(Answer) - 1);
    if (text == "empty") answer(Answer::Kind::picture, 0);
    if (text == "unknown") answer(static_cast<Answer::Kind>('?'));
    if (text == "ready") answer(Answer::Kind::ready);
    if (text == "none") answer(Answer::Kind::none);
    if (text.starts_with("picture")) answer(Answer::Kind::picture);
}

}  // namespace

int main(int count, char** arguments) {
    std::ofstream told(std::string(arguments[1]) + "/told", std::ios::app);
    told << "start" << std::endl;
    if (count > 2) obey(arguments[2]);
    answer(Answer::Kind::ready);
    for (;;) {
        const auto text = receivedFile();
        told << text << std::endl;
        obey(text);
    }
}
