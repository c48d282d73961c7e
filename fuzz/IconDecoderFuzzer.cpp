#include <cstdint>
#include <vector>

#include "FuzzSupport.h"
#include "icons/IconDecoder.h"

/// Any bytes are a file, and what they mean depends on nothing else.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using quorvel::fuzz::require;
    using quorvel::icons::decodedIcon;
    const auto pixels = decodedIcon({data, size});
    require(pixels == decodedIcon({data, size}), "the same file has the same picture");
    if (!pixels) return 0;
    require(quorvel::fuzz::textOf(data, size).starts_with("icns"), "no other format is decoded");
    // Behind the last part that is complete, or of a file whose parts are many, nothing is looked at.
    std::vector<std::uint8_t> longer(data, data + size);
    longer.push_back(1);
    require(decodedIcon(longer).has_value(), "a byte behind the file takes no picture away");
    return 0;
}
