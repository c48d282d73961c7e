#include <algorithm>
#include <gtest/gtest.h>
#include <optional>

#include "icons/IconDecoder.h"
#include "support/IconSamples.h"

namespace quorvel::icons {
namespace {

constexpr Colour red{250, 10, 20, 255}, green{30, 240, 40, 255}, blue{50, 60, 230, 128}, none{};

std::optional<Pixels> decoded(const std::string& file) {
    return decodedIcon({reinterpret_cast<const std::uint8_t*>(file.data()), file.size()});
}

/// The colour of a picture that has only one; all zeros where there is no picture.
Colour colourOf(const std::string& file) {
    const auto pixels = decoded(file);
    if (!pixels) return none;
    Colour first{};
    std::copy_n(pixels->begin(), first.size(), first.begin());
    for (std::size_t byte = 0; byte < pixels->size(); ++byte) {
        if ((*pixels)[byte] != first[byte % 4]) ADD_FAILURE() << "byte " << byte;
    }
    return first;
}

TEST(IconDecoderTest, givesThePictureThatSuitsBest) {
    const auto png = [](const char* type, int side, Colour colour) {
        return iconChunk(type, pngOf(side, colour));
    };
    const std::string jpeg2000("\0\0\0\fjP  \r\n\x87\n", 12), small = rawIcon("il32", "l8mk", 32, green);
    struct Row {
        const char* name;
        std::string parts;
        Colour expected;
    };
    const Row rows[] = {
        {"16, the old kind", rawIcon("is32", "s8mk", 16, red), red},
        {"32, packed with alpha", argbIcon("ic05", 32, green) + png("ic07", 128, red), green},
        {"128, the old kind", rawIcon("it32", "t8mk", 128, blue), blue},
        {"32 and larger", png("ic07", 128, red) + png("ic11", 32, blue) + png("ic08", 256, red), blue},
        {"16 and larger", png("icp4", 16, red) + png("ic08", 256, red) + png("icp6", 64, green), green},
        {"16 and 18", png("icp4", 16, red) + png("icsb", 18, green), green},
        {"a larger one that is none", iconChunk("ic11", "nothing") + png("icp4", 16, green), green},
        {"one in a format that is not read", iconChunk("ic11", jpeg2000) + png("ic07", 128, green), green},
        {"another size than its type says", png("ic11", 300, red), red},
        {"larger than any icon", png("ic10", 1025, red), none},
        {"a part that ends too soon", small.substr(0, 40), none},
        {"packed pixels that end too soon", iconChunk("il32", small.substr(8, 40)), none},
        {"nothing", "", none},
    };
    for (const auto& [name, parts, expected] : rows)
        EXPECT_EQ(colourOf(iconFile(parts)), expected) << name;
    EXPECT_EQ(colourOf(small), none) << "no file";
}

TEST(IconDecoderTest, aPictureKeepsItsPlacesAndItsTransparency) {
    Bitmap bitmap{.width = 512, .height = 512, .rgba = {}};
    for (int y = 0; y < 512; ++y) {
        for (int x = 0; x < 512; ++x) {
            const bool isRight = x >= 256, isBelow = y >= 256;
            // What lies under full transparency has a colour too, which must not shine through.
            const Colour colour = isRight && isBelow ? Colour{255, 255, 255, 0} : isBelow ? green : red;
            bitmap.rgba.insert(bitmap.rgba.end(), colour.begin(), colour.end());
        }
    }
    const auto png = encodedPng(bitmap);
    const auto pixels = decoded(iconFile(iconChunk("ic09", std::string(png.begin(), png.end()))));
    ASSERT_TRUE(pixels);
    const auto at = [&](int x, int y) {
        const auto* const pixel = pixels->data() + (y * side + x) * 4;
        return Colour{pixel[0], pixel[1], pixel[2], pixel[3]};
    };
    EXPECT_EQ(at(2, 2), red);
    EXPECT_EQ(at(29, 2), red);
    EXPECT_EQ(at(2, 29), green);
    EXPECT_EQ(at(29, 29)[3], 0);
    EXPECT_EQ(at(14, 29), green) << "no white edge";
}

TEST(IconDecoderTest, valuesThatArePackedAsTheyAreComeOutAsTheyWentIn) {
    std::string plane;
    for (int value = 0; value < side * side; ++value) {
        if (value % 128 == 0) plane += '\x7F';  // so many and one more follow
        plane += static_cast<char>(value | 1);
    }
    const auto pixels = decoded(iconFile(iconChunk("ic05", "ARGB" + plane + plane + plane + plane)));
    ASSERT_TRUE(pixels);
    for (std::size_t byte = 0; byte < pixels->size(); ++byte)
        ASSERT_EQ((*pixels)[byte], (byte / 4 | 1) & 0xFF) << byte;
}

}  // namespace
}  // namespace quorvel::icons
