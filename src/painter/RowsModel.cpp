#include "painter/RowsModel.h"

#include <utility>

#include "painter/Looks.h"

namespace quorvel::painter {

RowsModel::RowsModel(const TableView& table, QObject* parent)
    : QAbstractTableModel(parent), columns(table.columns), font(fontFor(table.font)) {}

void RowsModel::setRows(TableRows newRows) {
    beginResetModel();
    rows = std::move(newRows);
    endResetModel();
}

int RowsModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(rows.size());
}

int RowsModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(columns.size());
}

QVariant RowsModel::data(const QModelIndex& index, int role) const {
    if (role == Qt::FontRole) return font;
    if (role != Qt::DisplayRole || !index.isValid()) return {};
    const auto& row = rows.at(static_cast<std::size_t>(index.row()));
    const auto column = static_cast<std::size_t>(index.column());
    return column < row.size() ? lineFrom(row[column]) : QString();
}

QVariant RowsModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || section < 0) return {};
    if (role == Qt::TextAlignmentRole) return QVariant(Qt::AlignLeft | Qt::AlignVCenter);
    const auto index = static_cast<std::size_t>(section);
    return role == Qt::DisplayRole && index < columns.size() ? lineFrom(columns[index].title) : QVariant();
}

}  // namespace quorvel::painter
