#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <zlib.h>

#include "FuzzSupport.h"
#include "platform/linux/ContentDecoder.h"

namespace {

using namespace quorvel;
using fuzz::require;
using Result = ContentDecoder::Result;

/// The bound of the sink, as a transfer has one; small, so that small inputs meet it.
constexpr std::size_t outputLimit = 256 * 1024;
/// What the decoder hands on at once, whatever the input expands to.
constexpr std::size_t longestPiece = 16 * 1024;

struct Outcome {
    Result result = Result::decoded;
    std::string output;
    bool isComplete = false;
};

Outcome decode(ContentDecoder::Coding coding, std::string_view stream, std::size_t pieceLength) {
    ContentDecoder decoder(coding);
    Outcome outcome;
    bool isStopped = false;
    const auto sink = [&](std::string_view piece) {
        require(!isStopped, "a sink that has stopped the decoding is left alone");
        require(piece.size() <= longestPiece, "memory stays at one buffer");
        isStopped = outcome.output.size() + piece.size() > outputLimit;
        if (!isStopped) outcome.output += piece;
        return !isStopped;
    };
    while (!stream.empty() && outcome.result == Result::decoded) {
        const std::size_t length = std::min(pieceLength, stream.size());
        outcome.result = decoder.decode(stream.substr(0, length), sink);
        stream.remove_prefix(length);
    }
    require(isStopped == (outcome.result == Result::stopped), "what the sink stops is told so");
    outcome.isComplete = decoder.isComplete();
    return outcome;
}

void checkPieces(ContentDecoder::Coding coding, std::string_view stream, std::size_t pieceLength) {
    const Outcome whole = decode(coding, stream, stream.size());
    const Outcome pieces = decode(coding, stream, pieceLength);
    if (whole.result == Result::stopped || pieces.result == Result::stopped) return;
    require(whole.result == pieces.result, "the same stream is sound or damaged however it arrives");
    if (whole.result == Result::damaged) return;
    require(whole.output == pieces.output, "the same stream decodes to the same bytes however it arrives");
    require(whole.isComplete == pieces.isComplete, "the same stream is whole or cut however it arrives");
}

/// `bytes` in the wrapping that zlib's number names.
std::string deflated(std::string_view bytes, int wrapping) {
    z_stream stream{};
    require(deflateInit2(&stream, 1, Z_DEFLATED, wrapping, 8, Z_DEFAULT_STRATEGY) == Z_OK, "zlib starts");
    std::string input(bytes);
    std::string output(deflateBound(&stream, input.size()) + 32, '\0');
    stream.next_in = reinterpret_cast<unsigned char*>(input.data());
    stream.avail_in = static_cast<uInt>(input.size());
    stream.next_out = reinterpret_cast<unsigned char*>(output.data());
    stream.avail_out = static_cast<uInt>(output.size());
    require(deflate(&stream, Z_FINISH) == Z_STREAM_END, "zlib deflates");
    output.resize(stream.total_out);
    deflateEnd(&stream);
    return output;
}

/// What was coded comes back, and is known to be cut at any place but its end.
void checkSound(std::string_view bytes, std::size_t pieceLength) {
    using Coding = ContentDecoder::Coding;
    struct Form {
        Coding coding;
        int wrapping;
    };
    constexpr Form forms[] = {{Coding::gzip, MAX_WBITS + 16}, {Coding::deflate, MAX_WBITS}};
    for (const auto& [coding, wrapping] : forms) {
        const std::string stream = deflated(bytes, wrapping);
        const Outcome whole = decode(coding, stream, pieceLength);
        require(whole.result == Result::decoded && whole.isComplete, "a sound stream is decoded");
        require(whole.output == bytes, "what was coded comes back");
        const std::size_t length = 1 + bytes.size() * 31 % (stream.size() - 1);
        const Outcome cut = decode(coding, std::string_view(stream).substr(0, length), pieceLength);
        require(cut.result == Result::decoded && !cut.isComplete, "a cut stream is not whole");
    }
}

}  // namespace

/// The first two bytes say what the header promised and in what pieces the rest arrives.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2) return 0;
    const auto coding = data[0] % 2 == 0 ? ContentDecoder::Coding::gzip : ContentDecoder::Coding::deflate;
    const std::size_t pieceLength = std::size_t{1} + data[1];
    const std::string_view stream = fuzz::textOf(data + 2, size - 2);
    checkPieces(coding, stream, pieceLength);
    checkSound(stream, pieceLength);
    return 0;
}
