#include "icons/Channel.h"

#include <cerrno>
#include <cstring>
#include <sys/socket.h>
#include <unistd.h>

#include "platform/FileDescriptor.h"

namespace quorvel::icons {

namespace {

std::vector<std::uint8_t> contentOf(int file) {
    std::vector<std::uint8_t> content;
    constexpr std::size_t portion = 64 * 1024;
    for (std::size_t size = 0; size <= maxFileSize;) {
        content.resize(size + portion);
        const auto count = read(file, content.data() + size, portion);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return {};
        size += static_cast<std::size_t>(count);
        content.resize(size);
        if (count == 0) return content;
    }
    return {};
}

}  // namespace

std::optional<std::vector<std::uint8_t>> receiveFile() {
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
    int number = -1;
    std::memcpy(&number, CMSG_DATA(header), sizeof number);
    const FileDescriptor file(number);
    return contentOf(file.get());
}

bool send(const Answer& answer) {
    return ::send(STDIN_FILENO, &answer, sizeof answer, MSG_NOSIGNAL) == sizeof answer;
}

}  // namespace quorvel::icons
