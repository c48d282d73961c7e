#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace quorvel {

/// Writes binary property lists, sound ones and damaged ones: each call adds an object as it is told, without
/// looking at whether it makes sense, and returns its index.
class BinaryPropertyListWriter {
public:
    using Index = std::uint64_t;
    using Pair = std::pair<Index, Index>;

    /// `widthOfReference`: in bytes, what an object takes to name another.
    explicit BinaryPropertyListWriter(std::size_t widthOfReference = 1) : referenceWidth(widthOfReference) {}

    /// An object by its bytes, the marker included.
    Index object(std::string_view raw) {
        offsets.push_back(bytes.size());
        bytes += raw;
        return offsets.size() - 1;
    }

    Index text(std::string_view ascii) { return object(marker(0x5, ascii.size()).append(ascii)); }

    Index text(std::u16string_view units) {
        std::string raw = marker(0x6, units.size());
        for (const char16_t unit : units)
            raw += number(unit, 2);
        return object(raw);
    }

    Index array(const std::vector<Index>& members) {
        std::string raw = marker(0xA, members.size());
        for (const Index member : members)
            raw += number(member, referenceWidth);
        return object(raw);
    }

    Index dictionary(const std::vector<Pair>& pairs) {
        std::string raw = marker(0xD, pairs.size());
        for (const auto& [key, value] : pairs)
            raw += number(key, referenceWidth);
        for (const auto& [key, value] : pairs)
            raw += number(value, referenceWidth);
        return object(raw);
    }

    std::string finish(Index root) const {
        constexpr std::size_t offsetWidth = 4;
        std::string list = bytes;
        for (const std::size_t offset : offsets)
            list += number(offset, offsetWidth);
        list.append(6, '\0') += number(offsetWidth, 1) + number(referenceWidth, 1);
        return list += number(offsets.size(), 8) + number(root, 8) + number(bytes.size(), 8);
    }

    static std::string number(std::uint64_t value, std::size_t width) {
        std::string digits;
        while (width-- > 0)
            digits += width < sizeof value ? static_cast<char>(value >> 8 * width) : '\0';
        return digits;
    }

    /// A marker with its count, which follows as an integer of four bytes when it does not fit the marker.
    static std::string marker(unsigned kind, std::size_t count) {
        if (count < 0xF) return number(kind << 4 | count, 1);
        return number(kind << 4 | 0xF, 1) + '\x12' + number(count, 4);
    }

private:
    const std::size_t referenceWidth;
    std::string bytes = "bplist00";
    std::vector<std::size_t> offsets;
};

}  // namespace quorvel
