#include "painter/IconFile.h"

#include <QBuffer>
#include <QFile>
#include <QFileInfo>
#include <QImageReader>

namespace quorvel::painter {

namespace {

constexpr qint64 largestFile = 8 * 1024 * 1024;
constexpr int largestImageMegabytes = 32;
constexpr int mostImages = 64;

/// The smallest picture that has `size` pixels at least, else the largest one.
bool isBetter(const QImage& candidate, const QImage& best, int size) {
    if (best.isNull()) return true;
    return best.width() < size ? candidate.width() > best.width()
                               : candidate.width() >= size && candidate.width() < best.width();
}

QImage bestImage(QImageReader& reader, int size) {
    QImage best;
    for (int index = 0; index < std::min(reader.imageCount(), mostImages); ++index) {
        if (!reader.jumpToImage(index)) continue;
        const QImage image = reader.read();
        if (!image.isNull() && isBetter(image, best, size)) best = image;
    }
    return best;
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
    std::vector<std::string> pngs;
    for (const int size : {16, 32}) {
        const QImage image = bestImage(reader, size);
        if (image.isNull()) return {};
        pngs.push_back(encoded(image, size));
    }
    return pngs;
}

}  // namespace quorvel::painter
