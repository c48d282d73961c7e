#include "painter/MessagePipe.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <string_view>
#include <sys/socket.h>
#include <system_error>
#include <utility>

namespace quorvel::painter {

MessagePipe::MessagePipe(int openSocket, std::function<void(const Request&)> onRequest,
                         std::function<void(const std::string&)> onEnd)
    : socket(openSocket),
      requested(std::move(onRequest)),
      ended(std::move(onEnd)),
      notifier(openSocket, QSocketNotifier::Read) {
    QObject::connect(&notifier, &QSocketNotifier::activated, [this] { readSome(); });
    send(Hello{});
}

void MessagePipe::send(const Event& event) const {
    const std::string line = encode(event) + '\n';
    for (std::string_view rest = line; !rest.empty();) {
        const auto count = ::send(socket, rest.data(), rest.size(), MSG_NOSIGNAL);
        if (count < 0 && errno == EINTR) continue;
        // Reading notices that the program is gone.
        if (count <= 0) return;
        rest.remove_prefix(static_cast<std::size_t>(count));
    }
}

bool MessagePipe::isWaiting() const {
    char ignored = 0;
    return recv(socket, &ignored, 1, MSG_PEEK | MSG_DONTWAIT) > 0;
}

void MessagePipe::readSome() {
    std::array<char, 64 * 1024> portion;
    const auto count = recv(socket, portion.data(), portion.size(), MSG_DONTWAIT);
    if (count < 0 && (errno == EAGAIN || errno == EINTR)) return;
    if (count < 0) return end("Reading failed: " + std::generic_category().message(errno) + ".");
    if (count == 0) return end({});
    // Only the new portion is searched: a long message arrives in hundreds.
    std::string_view rest(portion.data(), static_cast<std::size_t>(count));
    for (auto lineFeed = rest.find('\n'); lineFeed != std::string_view::npos; lineFeed = rest.find('\n')) {
        input += rest.substr(0, lineFeed);
        rest.remove_prefix(lineFeed + 1);
        const auto request = decodeRequest(std::exchange(input, {}));
        if (!request) return end("The program's message does not fit the protocol.");
        const auto* hello = std::get_if<Hello>(&*request);
        if ((hello != nullptr) == saidHello || (hello != nullptr && hello->version != protocolVersion))
            return end("The program does not begin with a hello of this version.");
        saidHello = true;
        requested(*request);
    }
    input += rest;
    if (input.size() > maxRequestSize) end("The message never ends.");
}

void MessagePipe::end(const std::string& reason) {
    notifier.setEnabled(false);
    ended(reason);
}

}  // namespace quorvel::painter
