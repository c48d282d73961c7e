#include "painter/Controls.h"

#include <QFocusEvent>
#include <QHeaderView>
#include <QPainter>
#include <QStyleOptionFocusRect>
#include <QStyledItemDelegate>
#include <algorithm>

#include "painter/Style.h"

namespace quorvel::painter {

namespace {

/// A row is what can be selected; the frame of the focus would stand round one of its cells.
class RowDelegate final : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

protected:
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override {
        QStyledItemDelegate::initStyleOption(option, index);
        option->state.setFlag(QStyle::State_HasFocus, false);
    }
};

}  // namespace

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

RowsTable::RowsTable(const TableView& table, QWidget* parent)
    : QTableWidget(0, static_cast<int>(table.columns.size()), parent) {
    setFont(fontFor(table.font));
    setShowGrid(false);
    setWordWrap(false);
    setTabKeyNavigation(false);
    setCornerButtonEnabled(false);
    setItemDelegate(new RowDelegate(this));
    setEditTriggers(NoEditTriggers);
    setSelectionBehavior(SelectRows);
    setSelectionMode(SingleSelection);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    verticalHeader()->hide();
    verticalHeader()->setMinimumSectionSize(1);
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    verticalHeader()->setDefaultSectionSize(std::max(1, pixels(table.rowHeight)));
    auto* titles = horizontalHeader();
    titles->setFont(font());
    titles->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    titles->setHighlightSections(false);
    titles->setStretchLastSection(true);
    double points = 0;
    int index = 0;
    for (const auto& column : table.columns) {
        setHorizontalHeaderItem(index, new QTableWidgetItem(lineFrom(column.title)));
        titles->resizeSection(index++, pixels(column.width));
        points += column.width;
    }
    setMinimumWidth(pixels(points));
}

void RowsTable::setRows(const TableRows& rows) {
    setRowCount(0);
    setRowCount(static_cast<int>(rows.size()));
    for (int row = 0; row < rowCount(); ++row) {
        const auto& texts = rows[static_cast<std::size_t>(row)];
        for (int column = 0; column < std::min(columnCount(), static_cast<int>(texts.size())); ++column)
            setItem(row, column, new QTableWidgetItem(lineFrom(texts[static_cast<std::size_t>(column)])));
    }
}

}  // namespace quorvel::painter
