#include "painter/Style.h"

#include <QApplication>
#include <QFontDatabase>
#include <algorithm>
#include <cmath>

#include "platform/text/DisplayText.h"

namespace quorvel::painter {

namespace {

/// The relative luminance of WCAG 2, 0 to 1.
double luminance(const QColor& color) {
    const auto linear = [](double part) {
        return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
}

double contrast(const QColor& one, const QColor& other) {
    const auto [darker, lighter] = std::minmax({luminance(one), luminance(other)});
    return (lighter + 0.05) / (darker + 0.05);
}

QColor mixed(const QColor& one, const QColor& other, double share) {
    const auto mix = [share](float first, float second) {
        return static_cast<float>(first * share + second * (1 - share));
    };
    return QColor::fromRgbF(mix(one.redF(), other.redF()), mix(one.greenF(), other.greenF()),
                            mix(one.blueF(), other.blueF()));
}

}  // namespace

int pixels(double points) {
    return static_cast<int>(std::lround(points));
}

QFont fontFor(const Font& font) {
    QFont result = font.role == FontRole::monospaced ? QFontDatabase::systemFont(QFontDatabase::FixedFont)
                                                     : QApplication::font();
    result.setPixelSize(std::max(1, pixels(font.points)));
    result.setBold(font.role == FontRole::boldSystem);
    return result;
}

QColor colorFor(ColorRole role, const QPalette& palette) {
    const QColor text = palette.color(QPalette::WindowText), ground = palette.color(QPalette::Window);
    // Faint, but still 4.5 to 1 in the themes that have black on light grey or white on dark grey.
    switch (role) {
        case ColorRole::label:
            return text;
        case ColorRole::secondaryLabel:
            return mixed(text, ground, 0.75);
        case ColorRole::tertiaryLabel:
            return mixed(text, ground, 0.6);
    }
    return text;
}

QColor linkColor(const QPalette& palette) {
    const QColor ground = palette.color(QPalette::Window), text = palette.color(QPalette::WindowText);
    const QColor link = palette.color(QPalette::Link);
    constexpr double legible = 4.5;
    for (int tenths = 10; tenths > 0; --tenths) {
        if (const QColor color = mixed(link, text, tenths / 10.0); contrast(color, ground) >= legible)
            return color;
    }
    return text;
}

QString lineFrom(const std::string& text) {
    return QString::fromStdString(onOneLine(text));
}

}  // namespace quorvel::painter
