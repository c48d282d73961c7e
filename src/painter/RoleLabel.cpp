#include "painter/RoleLabel.h"

#include <QPainter>

#include "painter/Looks.h"

namespace quorvel::painter {

RoleLabel::RoleLabel(const Label& label, QWidget* parent) : QLabel(parent), role(label.color) {
    setTextFormat(Qt::PlainText);
    setText(lineFrom(label.text));
    setAccessibleName(text());
    setFont(fontFor(label.font));
}

void RoleLabel::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setPen(colorFor(role, palette()));
    const QString shown = fontMetrics().elidedText(text(), Qt::ElideMiddle, width());
    painter.drawText(rect(), Qt::AlignCenter | Qt::TextSingleLine, shown);
}

}  // namespace quorvel::painter
