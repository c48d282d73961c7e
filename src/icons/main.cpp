#include <cstdio>
#include <cstdlib>

#include "icons/Channel.h"
#include "icons/IconDecoder.h"
#include "icons/Sandbox.h"

/// Decodes the icons of applications for quorvel, which starts it with a socket as standard input. Opens
/// nothing itself: the files come over the socket. Ends with the program, or sooner when an image breaks it.
int main() {
    using namespace quorvel::icons;
    const auto failure = [](const char* reason) {
        std::fprintf(stderr, "quorvel-icons: %s\n", reason);
        return EXIT_FAILURE;
    };
    if (!enterSandbox()) return failure("Without a sandbox no picture is decoded.");
    if (!send({Answer::Kind::ready, {}})) return failure("Standard input is no socket to quorvel.");
    while (const auto file = receiveFile()) {
        const auto pixels = decodedIcon(*file);
        if (!send(pixels ? Answer{Answer::Kind::picture, *pixels} : Answer{})) break;
    }
    return EXIT_SUCCESS;
}
