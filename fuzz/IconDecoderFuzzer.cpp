#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "FuzzSupport.h"
#include "icons/IconDecoder.h"

namespace {

using namespace quorvel;
using fuzz::require;
using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t pixelCount = std::size_t{icons::side} * icons::side;

void append(Bytes& bytes, std::string_view text) {
    bytes.insert(bytes.end(), text.begin(), text.end());
}

/// A part of a file, or a whole file: the type, the length with this head, the content.
Bytes part(std::string_view type, const Bytes& content) {
    Bytes bytes;
    append(bytes, type);
    const std::size_t length = content.size() + 8;
    for (const int shift : {24, 16, 8, 0})
        bytes.push_back(static_cast<std::uint8_t>(length >> shift));
    bytes.insert(bytes.end(), content.begin(), content.end());
    return bytes;
}

/// Any bytes are a file, and what they mean depends on nothing else.
void checkDecoding(std::span<const std::uint8_t> file) {
    const auto pixels = icons::decodedIcon(file);
    require(pixels == icons::decodedIcon(file), "the same file has the same picture");
    if (!pixels) return;
    require(fuzz::textOf(file.data(), file.size()).starts_with("icns"), "no other format is decoded");
    // Behind the last part that is complete, or of a file whose parts are many, nothing is looked at.
    Bytes longer(file.begin(), file.end());
    append(longer, "\1");
    require(icons::decodedIcon(longer).has_value(), "a byte behind the file takes no picture away");
}

/// The values of one channel: runs where the input has runs, other values as they are.
void pack(Bytes& packed, const Bytes& values) {
    constexpr std::size_t longestRun = 130, shortestRun = 3;
    for (std::size_t at = 0, run = 1; at < values.size(); at += run, run = 1) {
        while (run < longestRun && at + run < values.size() && values[at + run] == values[at])
            ++run;
        const bool isRun = run >= shortestRun;
        packed.push_back(static_cast<std::uint8_t>(isRun ? 125 + run : run - 1));
        packed.insert(packed.end(), isRun ? 1 : run, values[at]);
    }
}

/// A picture of the size that is asked for comes out as it went in, but that what cannot be seen is black.
void checkSound(std::span<const std::uint8_t> data) {
    const auto valueAt = [data](std::size_t index) {
        return data.empty() ? std::uint8_t{0} : data[index % data.size()];
    };
    Bytes content, planes[4];
    append(content, "ARGB");
    for (std::size_t channel = 0; channel < 4; ++channel) {
        for (std::size_t pixel = 0; pixel < pixelCount; ++pixel)
            planes[channel].push_back(valueAt(pixel * (channel + 1) + channel));
        pack(content, planes[channel]);
    }
    const auto pixels = icons::decodedIcon(part("icns", part("ic05", content)));
    require(pixels.has_value(), "a sound file has a picture");
    for (std::size_t pixel = 0; pixel < pixelCount; ++pixel) {
        const auto alpha = planes[0][pixel];
        require((*pixels)[pixel * 4 + 3] == alpha, "alpha comes out as it went in");
        for (std::size_t channel = 1; channel < 4; ++channel) {
            require((*pixels)[pixel * 4 + channel - 1] == (alpha == 0 ? 0 : planes[channel][pixel]),
                    "colours come out as they went in");
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    checkDecoding({data, size});
    checkSound({data, size});
    return 0;
}
