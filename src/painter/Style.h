#pragma once

#include <QColor>
#include <QFont>
#include <QPalette>
#include <QString>
#include <string>

#include "platform/Window.h"

/// The roles of fonts and colours as the user's desktop has them. One point is one logical pixel.
namespace quorvel::painter {

int pixels(double points);

QFont fontFor(const Font& font);

QColor colorFor(ColorRole role, const QPalette& palette);

/// The palette's colour for links, made lighter or darker where it could not be read on the window.
QColor linkColor(const QPalette& palette);

/// A text from outside, to be drawn on one line.
QString lineFrom(const std::string& text);

}  // namespace quorvel::painter
