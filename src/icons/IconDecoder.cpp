#include "icons/IconDecoder.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "icons/ScaledPicture.h"
#include "platform/Image.h"
#include "platform/linux/icons/Png.h"

namespace quorvel::icons {

namespace {

using Bytes = std::span<const std::uint8_t>;

/// What a type of the format holds.
struct Type {
    std::string_view name;
    int pixels;
    /// The type with the alpha of the packed pixels, if this one holds pixels without.
    std::string_view mask = {};
};

constexpr std::array types{
    Type{"is32", 16, "s8mk"}, Type{"il32", 32, "l8mk"}, Type{"ih32", 48, "h8mk"}, Type{"it32", 128, "t8mk"},
    Type{"icp4", 16},         Type{"icp5", 32},         Type{"icp6", 64},         Type{"ic04", 16},
    Type{"ic05", 32},         Type{"ic07", 128},        Type{"ic08", 256},        Type{"ic09", 512},
    Type{"ic10", 1024},       Type{"ic11", 32},         Type{"ic12", 64},         Type{"ic13", 256},
    Type{"ic14", 512},        Type{"icsb", 18},         Type{"icsB", 36},         Type{"sb24", 24},
    Type{"SB24", 48},
};

constexpr std::size_t maxParts = 64;
/// Of a part, and of the whole file: the type, and the length with this head.
constexpr std::size_t headLength = 8;

struct Part {
    std::string_view type;
    Bytes content;
};

std::string_view textOf(Bytes bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

std::size_t lengthIn(Bytes head) {
    std::size_t length = 0;
    for (const std::uint8_t byte : head.subspan(4, 4))
        length = length << 8 | byte;
    return length;
}

/// Up to the first that is not complete.
std::vector<Part> partsOf(Bytes file) {
    std::vector<Part> parts;
    if (file.size() < headLength || !textOf(file).starts_with("icns")) return parts;
    auto rest = file.subspan(headLength);
    while (rest.size() >= headLength && parts.size() < maxParts) {
        const auto length = lengthIn(rest);
        if (length < headLength || length > rest.size()) break;
        parts.push_back({textOf(rest.first(4)), rest.subspan(headLength, length - headLength)});
        rest = rest.subspan(length);
    }
    return parts;
}

/// A byte below 128 is followed by one more byte than it says, another one by a byte that is repeated. None
/// when the bytes end too soon.
std::optional<std::vector<std::uint8_t>> unpacked(Bytes packed, std::size_t count) {
    std::vector<std::uint8_t> bytes;
    bytes.reserve(count);
    for (std::size_t at = 0; bytes.size() < count;) {
        if (at + 1 >= packed.size()) return std::nullopt;
        const std::size_t code = packed[at++];
        const auto wanted = count - bytes.size();
        if (code >= 128) {
            bytes.insert(bytes.end(), std::min(code - 125, wanted), packed[at++]);
        } else {
            const auto length = std::min(code + 1, packed.size() - at);
            const auto literal = packed.subspan(at, std::min(length, wanted));
            bytes.insert(bytes.end(), literal.begin(), literal.end());
            at += length;
        }
    }
    return bytes;
}

/// A picture from the values of its pixels' parts, each part's one after another. Where there is no alpha,
/// all is opaque.
Bitmap bitmapOf(int side, Bytes colours, Bytes alpha) {
    const auto count = static_cast<std::size_t>(side) * static_cast<std::size_t>(side);
    Bitmap bitmap{.width = side, .height = side, .rgba = std::vector<std::uint8_t>(count * 4, 255)};
    for (std::size_t pixel = 0; pixel < count; ++pixel) {
        for (std::size_t part = 0; part < 3; ++part)
            bitmap.rgba[pixel * 4 + part] = colours[part * count + pixel];
        if (alpha.size() >= count) bitmap.rgba[pixel * 4 + 3] = alpha[pixel];
    }
    return bitmap;
}

std::optional<Bitmap> withAlpha(Bytes packed, int side) {
    const auto count = static_cast<std::size_t>(side) * static_cast<std::size_t>(side);
    const auto values = unpacked(packed, count * 4);
    if (!values) return std::nullopt;
    return bitmapOf(side, Bytes(*values).subspan(count), Bytes(*values).first(count));
}

std::optional<Bitmap> withMask(Bytes packed, int side, Bytes mask) {
    const auto values = unpacked(packed, static_cast<std::size_t>(side) * static_cast<std::size_t>(side) * 3);
    return values ? std::optional(bitmapOf(side, *values, mask)) : std::nullopt;
}

Bytes contentOf(const std::vector<Part>& parts, std::string_view type) {
    const auto found = std::ranges::find(parts, type, &Part::type);
    return found == parts.end() ? Bytes() : found->content;
}

std::optional<Bitmap> decoded(const Type& type, Bytes content, const std::vector<Part>& parts) {
    using namespace std::string_view_literals;
    if (textOf(content).starts_with("\x89PNG"sv)) return decodedPng(content);
    if (textOf(content).starts_with("ARGB"sv)) return withAlpha(content.subspan(4), type.pixels);
    if (type.mask.empty()) return std::nullopt;
    // The largest of this kind begins with four zeros.
    if (type.name == "it32"sv && textOf(content).starts_with("\0\0\0\0"sv)) content = content.subspan(4);
    return withMask(content, type.pixels, contentOf(parts, type.mask));
}

using Candidate = std::pair<const Type*, Bytes>;

/// Best first: the smallest that has pixels enough, then the larger ones, then the largest of the rest.
std::vector<Candidate> candidatesAmong(const std::vector<Part>& parts) {
    std::vector<Candidate> candidates;
    for (const auto& part : parts) {
        const auto* const type = std::ranges::find(types, part.type, &Type::name);
        if (type != types.end()) candidates.emplace_back(type, part.content);
    }
    std::ranges::stable_sort(candidates, {}, [](const Candidate& candidate) {
        const int pixels = candidate.first->pixels;
        return std::pair(pixels < side, pixels < side ? -pixels : pixels);
    });
    return candidates;
}

}  // namespace

std::optional<Pixels> decodedIcon(std::span<const std::uint8_t> file) {
    const auto parts = partsOf(file);
    for (const auto& [type, content] : candidatesAmong(parts)) {
        if (const auto bitmap = decoded(*type, content, parts)) return scaledPicture(*bitmap);
    }
    return std::nullopt;
}

}  // namespace quorvel::icons
