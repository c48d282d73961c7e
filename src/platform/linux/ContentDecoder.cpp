#include "platform/linux/ContentDecoder.h"

#include <array>
#include <new>
#include <string>

namespace quorvel {

namespace {

/// zlib's numbers for the wrapping it expects: gzip or zlib as the stream says, and none.
constexpr int detectWrapping = MAX_WBITS + 32;
constexpr int noWrapping = -MAX_WBITS;

/// A zlib stream names compression method 8 in the low half of its first byte. Some servers send "deflate"
/// without that wrapping.
bool isWrapped(std::string_view piece) {
    return (static_cast<unsigned char>(piece.front()) & 0x0F) == 8;
}

}  // namespace

ContentDecoder::ContentDecoder(Coding expected) : coding(expected) {
    if (inflateInit2(&stream, detectWrapping) != Z_OK) throw std::bad_alloc();
}

ContentDecoder::~ContentDecoder() {
    inflateEnd(&stream);
}

void ContentDecoder::begin(std::string_view piece) {
    if (state == State::untouched && coding == Coding::deflate && !isWrapped(piece)) {
        inflateReset2(&stream, noWrapping);
    } else if (state == State::ended) {
        inflateReset(&stream);  // a gzip file may have several members, one after another
    }
    state = State::inside;
}

ContentDecoder::Result ContentDecoder::decode(std::string_view piece, const Sink& sink) {
    if (piece.empty()) return Result::decoded;
    std::array<unsigned char, 16 * 1024> buffer;
    std::string input(piece);  // zlib's interface has no const
    stream.next_in = reinterpret_cast<unsigned char*>(input.data());
    stream.avail_in = static_cast<uInt>(input.size());
    do {
        if (state != State::inside) begin({input.data() + (input.size() - stream.avail_in), stream.avail_in});
        stream.next_out = buffer.data();
        stream.avail_out = static_cast<uInt>(buffer.size());
        const int code = inflate(&stream, Z_NO_FLUSH);
        if (code == Z_MEM_ERROR) throw std::bad_alloc();
        if (code != Z_OK && code != Z_STREAM_END && code != Z_BUF_ERROR) return Result::damaged;
        if (code == Z_STREAM_END) state = State::ended;
        const std::size_t produced = buffer.size() - stream.avail_out;
        if (!sink({reinterpret_cast<const char*>(buffer.data()), produced})) return Result::stopped;
    } while (stream.avail_in > 0 || (state == State::inside && stream.avail_out == 0));
    return Result::decoded;
}

}  // namespace quorvel
