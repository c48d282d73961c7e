#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace quorvel {

/// A valid auto-match answer above 64 MiB, made block by block while it is sent: no process holds it whole
/// unless its receiver does.
class OversizedBody {
public:
    static constexpr std::size_t least = std::size_t{66} << 20;

    /// `answer`: a complete answer with at least one entry, which the filling is added to.
    explicit OversizedBody(std::string answer);

    /// The next block, of about 64 KiB; empty when the body is complete.
    std::string nextBlock();

private:
    static constexpr std::size_t blockSize = 64 << 10;

    std::string opening;
    std::size_t made = 0;
    std::int64_t fillers = 0;
    bool complete = false;
};

}  // namespace quorvel
