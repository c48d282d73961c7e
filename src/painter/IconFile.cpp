#include "painter/IconFile.h"

#include <QBuffer>
#include <QFile>
#include <QFileInfo>
#include <QImageReader>
#include <algorithm>
#include <map>
#include <tuple>
#include <utility>

namespace quorvel::painter {

namespace {

constexpr qint64 largestFile = 8 * 1024 * 1024;
constexpr int largestImageMegabytes = 32;
constexpr int mostImages = 64;

/// The side in pixels of what goes under a type of the format; the picture itself is not decoded for it.
int sideOf(const QByteArray& type) {
    static const std::map<QByteArray, int> sides{
        {"is32", 16},  {"icp4", 16},  {"ic04", 16},  {"il32", 32},  {"icp5", 32},  {"ic05", 32},
        {"ic11", 32},  {"ih32", 48},  {"icp6", 64},  {"ic12", 64},  {"it32", 128}, {"ic07", 128},
        {"ic08", 256}, {"ic13", 256}, {"ic09", 512}, {"ic14", 512}, {"ic10", 1024}};
    constexpr int unknown = 2048;
    const auto found = sides.find(type);
    return found == sides.end() ? unknown : found->second;
}

/// The picture's side and its index in the file.
using Entry = std::pair<int, int>;

std::vector<Entry> entriesOf(QImageReader& reader) {
    std::vector<Entry> entries;
    for (int index = 0; index < std::min(reader.imageCount(), mostImages); ++index) {
        if (reader.jumpToImage(index)) entries.emplace_back(sideOf(reader.subType()), index);
    }
    return entries;
}

/// The smallest picture that has `size` pixels at least, else the largest one. Large ones take a hundred
/// milliseconds, and some use formats that cannot be read.
QImage bestImage(QImageReader& reader, std::vector<Entry> entries, int size) {
    std::ranges::sort(entries, {}, [size](const Entry& entry) {
        const auto [side, index] = entry;
        return std::tuple(side < size, side < size ? -side : side, index);
    });
    for (const auto& [side, index] : entries) {
        reader.jumpToImage(index);
        if (const QImage image = reader.read(); !image.isNull()) return image;
    }
    return {};
}

std::string encoded(const QImage& image, int size) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    const QImage scaled = image.convertToFormat(QImage::Format_ARGB32)
                              .scaled(size, size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    return scaled.save(&buffer, "PNG") ? bytes.toStdString() : std::string();
}

}  // namespace

std::vector<std::string> decodedIcon(const std::string& path) {
    const QString name = QFile::decodeName(QByteArray::fromStdString(path));
    QFile file(name);
    // Asked before opening, which would wait for a FIFO.
    if (!QFileInfo(name).isFile() || file.size() > largestFile || !file.open(QIODevice::ReadOnly)) return {};
    QImageReader::setAllocationLimit(largestImageMegabytes);
    QImageReader reader(&file, "icns");
    const auto entries = entriesOf(reader);
    std::vector<std::string> pngs;
    for (const int size : {16, 32}) {
        const QImage image = bestImage(reader, entries, size);
        if (image.isNull()) return {};
        pngs.push_back(encoded(image, size));
    }
    return pngs;
}

}  // namespace quorvel::painter
