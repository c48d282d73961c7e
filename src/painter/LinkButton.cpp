#include "painter/LinkButton.h"

#include <QFocusEvent>
#include <QPainter>
#include <QStyleOptionFocusRect>

#include "painter/Looks.h"

namespace quorvel::painter {

LinkButton::LinkButton(const Button& button, QWidget* parent) : QAbstractButton(parent) {
    setText(lineFrom(button.title));
    setAccessibleName(text());
    setFocusPolicy(Qt::StrongFocus);
    setCursor(Qt::PointingHandCursor);
    QFont font = fontFor({});
    font.setUnderline(true);
    setFont(font);
}

void LinkButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const QColor color = linkColor(palette());
    painter.setPen(isDown() ? color.darker(130) : color);
    painter.drawText(rect(), Qt::AlignCenter | Qt::TextSingleLine, text());
    if (!hasFocus() || !isFocusVisible) return;
    QStyleOptionFocusRect option;
    option.initFrom(this);
    option.state |= QStyle::State_KeyboardFocusChange;
    option.backgroundColor = palette().color(QPalette::Window);
    style()->drawPrimitive(QStyle::PE_FrameFocusRect, &option, &painter, this);
}

/// A click needs no frame to show where it went.
void LinkButton::focusInEvent(QFocusEvent* event) {
    isFocusVisible = event->reason() == Qt::TabFocusReason || event->reason() == Qt::BacktabFocusReason;
    QAbstractButton::focusInEvent(event);
}

}  // namespace quorvel::painter
