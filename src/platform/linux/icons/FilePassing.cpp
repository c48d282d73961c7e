#include "platform/linux/icons/FilePassing.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <sys/socket.h>

namespace quorvel {

bool sendFile(int socket, int file) {
    char request = 0;
    iovec part{&request, 1};
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof file)> control{};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    cmsghdr* const header = CMSG_FIRSTHDR(&message);
    header->cmsg_level = SOL_SOCKET;
    header->cmsg_type = SCM_RIGHTS;
    header->cmsg_len = CMSG_LEN(sizeof file);
    std::memcpy(CMSG_DATA(header), &file, sizeof file);
    ssize_t count = 0;
    do
        count = sendmsg(socket, &message, MSG_DONTWAIT | MSG_NOSIGNAL);
    while (count < 0 && errno == EINTR);
    return count == 1;
}

}  // namespace quorvel
