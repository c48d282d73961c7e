#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

#include "icons/Fence.h"
#include "icons/IconDecoder.h"

/// Decodes the icons of applications for quorvel, which starts it with a socket as standard input. Opens
/// nothing itself: the files come over the socket. Ends with the program, or sooner when an image breaks it.
namespace {

using quorvel::icons::Answer;

constexpr std::size_t largestFile = 8 * 1024 * 1024;

int failure(const char* reason) {
    std::fprintf(stderr, "quorvel-icons: %s\n", reason);
    return EXIT_FAILURE;
}

/// An open file; none when the program has gone, or sent something else.
std::optional<int> receivedFile() {
    char request = 0;
    iovec part{&request, 1};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))];
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    ssize_t count = 0;
    do
        count = recvmsg(STDIN_FILENO, &message, MSG_CMSG_CLOEXEC);
    while (count < 0 && errno == EINTR);
    const cmsghdr* const header = CMSG_FIRSTHDR(&message);
    if (count != 1 || header == nullptr || header->cmsg_type != SCM_RIGHTS) return std::nullopt;
    int file = -1;
    std::memcpy(&file, CMSG_DATA(header), sizeof file);
    return file;
}

/// Empty when the file cannot be read or is longer than any icon.
std::vector<std::uint8_t> contentOf(int file) {
    std::vector<std::uint8_t> content;
    constexpr std::size_t portion = 64 * 1024;
    for (ssize_t count = 1; count != 0;) {
        const auto length = content.size();
        content.resize(length + portion);
        do
            count = read(file, content.data() + length, portion);
        while (count < 0 && errno == EINTR);
        if (count < 0) return {};
        content.resize(length + static_cast<std::size_t>(count));
        if (content.size() > largestFile) return {};
    }
    return content;
}

bool send(const Answer& answer) {
    return ::send(STDIN_FILENO, &answer, sizeof answer, MSG_NOSIGNAL) == sizeof answer;
}

Answer answerFor(int file) {
    const auto content = contentOf(file);
    close(file);
    const auto pixels = quorvel::icons::decodedIcon(content);
    return pixels ? Answer{Answer::Kind::picture, *pixels} : Answer{};
}

}  // namespace

int main() {
    if (!quorvel::icons::raiseFence().holds()) return failure("Without a fence no picture is decoded.");
    if (!send({Answer::Kind::ready, {}})) return failure("Standard input is no socket to quorvel.");
    while (const auto file = receivedFile()) {
        if (!send(answerFor(*file))) break;
    }
    return EXIT_SUCCESS;
}
