#pragma once

#include <QAbstractButton>
#include <QLabel>
#include <QTableWidget>

#include "platform/Window.h"

/// The parts of a window that the toolkit does not have as they are wanted.
namespace quorvel::painter {

/// A centred text on one line, never markup. Its colour is taken from the palette each time it is drawn, so
/// that a change of theme shows at once.
class RoleLabel final : public QLabel {
public:
    RoleLabel(const Label& label, QWidget* parent);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    ColorRole role;
};

/// A title without a border, underlined and in the colour of links.
class LinkButton final : public QAbstractButton {
public:
    LinkButton(const Button& button, QWidget* parent);

protected:
    void paintEvent(QPaintEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;

private:
    bool isFocusVisible = false;
};

/// Rows of texts, each on one line, of which one can be selected and none edited.
class RowsTable final : public QTableWidget {
public:
    RowsTable(const TableView& table, QWidget* parent);
    void setRows(const TableRows& rows);
};

}  // namespace quorvel::painter
