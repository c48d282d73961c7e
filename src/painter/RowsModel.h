#pragma once

#include <QAbstractTableModel>
#include <QFont>

#include "platform/Window.h"

namespace quorvel::painter {

/// The rows of one table as the program gave them last.
class RowsModel final : public QAbstractTableModel {
public:
    RowsModel(const TableView& table, QObject* parent);

    void setRows(TableRows newRows);

    int rowCount(const QModelIndex& parent) const override;
    int columnCount(const QModelIndex& parent) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    std::vector<TableView::Column> columns;
    QFont font;
    TableRows rows;
};

}  // namespace quorvel::painter
