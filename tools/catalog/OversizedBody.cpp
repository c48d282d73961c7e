#include "OversizedBody.h"

#include <string_view>
#include <utility>

namespace quorvel {

namespace {

/// What ends the list of entries and the envelope around it.
constexpr std::string_view ending = "]}";

/// Long, so that the size is reached with entries that are cheap to make.
const std::string fillerTitle(1000, 'F');

/// Fillers have ids of their own, above any that a data file is likely to use.
constexpr std::int64_t firstFillerId = 900000001;

}  // namespace

OversizedBody::OversizedBody(std::string answer) : opening(std::move(answer)) {
    opening.resize(opening.size() - ending.size());
}

std::string OversizedBody::nextBlock() {
    if (complete) return {};
    std::string block = std::exchange(opening, {});
    while (block.size() < blockSize && made + block.size() < least) {
        const std::string number = std::to_string(firstFillerId + fillers++);
        block += R"(,{"id":)" + number + R"(,"title":")" + fillerTitle + R"(","version":"1.0",)" +
                 R"("bundle_identifiers":["com.example.filler.)" + number + R"("],"requirements":{}})";
    }
    made += block.size();
    complete = made >= least;
    if (complete) block += ending;
    return block;
}

}  // namespace quorvel
