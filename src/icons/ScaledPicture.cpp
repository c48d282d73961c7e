#include "icons/ScaledPicture.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace quorvel::icons {

namespace {

/// The part of a row or column that one pixel of the picture covers, in units of which a pixel of the bitmap
/// has `side` and a pixel of the picture as many as the bitmap has pixels.
struct Span {
    int begin, end;

    int first() const { return begin / side; }
    int last() const { return (end - 1) / side; }
    /// How much of the bitmap's pixel lies inside.
    unsigned weightOf(int pixel) const {
        return static_cast<unsigned>(std::min(end, (pixel + 1) * side) - std::max(begin, pixel * side));
    }
};

class Mean {
public:
    void add(const std::uint8_t* rgba, std::uint64_t weight) {
        const std::uint64_t visible = weight * rgba[3];
        for (std::size_t part = 0; part < 3; ++part)
            colour[part] += visible * rgba[part];
        alpha += visible;
        area += weight;
    }
    void write(std::uint8_t* rgba) const {
        for (std::size_t part = 0; part < 3; ++part)
            rgba[part] = rounded(colour[part], alpha);
        rgba[3] = rounded(alpha, area);
    }

private:
    static std::uint8_t rounded(std::uint64_t sum, std::uint64_t count) {
        return count == 0 ? std::uint8_t{0} : static_cast<std::uint8_t>((sum + count / 2) / count);
    }

    std::uint64_t colour[3] = {}, alpha = 0, area = 0;
};

}  // namespace

Pixels scaledPicture(const Bitmap& bitmap) {
    Pixels pixels{};
    std::uint8_t* target = pixels.data();
    for (int y = 0; y < side; ++y) {
        const Span rows{y * bitmap.height, (y + 1) * bitmap.height};
        for (int x = 0; x < side; ++x, target += 4) {
            const Span columns{x * bitmap.width, (x + 1) * bitmap.width};
            Mean mean;
            for (int row = rows.first(); row <= rows.last(); ++row) {
                for (int column = columns.first(); column <= columns.last(); ++column) {
                    const auto at = static_cast<std::size_t>(row) * static_cast<std::size_t>(bitmap.width) +
                                    static_cast<std::size_t>(column);
                    mean.add(bitmap.rgba.data() + at * 4,
                             std::uint64_t{rows.weightOf(row)} * columns.weightOf(column));
                }
            }
            mean.write(target);
        }
    }
    return pixels;
}

}  // namespace quorvel::icons
