#pragma once

#include <functional>
#include <string_view>
#include <zlib.h>

namespace quorvel {

/// Undoes the gzip or deflate coding of one answer while it arrives. It stands in for libcurl's own decoding,
/// which takes a stream that stops half way for a whole one.
class ContentDecoder {
public:
    enum class Coding { gzip, deflate };

    /// Takes decoded bytes; false stops the decoding.
    using Sink = std::function<bool(std::string_view)>;

    enum class Result { decoded, damaged, stopped };

    explicit ContentDecoder(Coding coding);
    ~ContentDecoder();
    ContentDecoder(const ContentDecoder&) = delete;
    ContentDecoder& operator=(const ContentDecoder&) = delete;

    /// Decodes the next piece. Memory stays at one buffer, however much a small piece expands to.
    Result decode(std::string_view piece, const Sink& sink);

    /// Whether everything that was begun has ended. An answer without a body, coded or not, is whole.
    bool isComplete() const { return state != State::inside; }

private:
    enum class State { untouched, inside, ended };

    void begin(std::string_view piece);

    Coding coding;
    State state = State::untouched;
    z_stream stream{};
};

}  // namespace quorvel
