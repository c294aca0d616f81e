// SPDX-License-Identifier: MIT
// ListModel: the columns and rows of a ListView, as Qt's views read them, and their order.
//
// Rows come, go and move through the functions, which tell the view; whoever changes a cell of `store` calls touch()
// afterwards. During a load (they may be nested) the view is told nothing until the last one ends.
#pragma once

#include "controls/list_view.h"
#include "controls/row_store.h"

#include <QAbstractTableModel>
#include <span>
#include <string_view>
#include <vector>

namespace controls {

class ListModel : public QAbstractTableModel {
 public:
    struct Column {
        QString header;
        QString tag;
        ColumnAlignment alignment;
    };

    explicit ListModel(QObject* parent) : QAbstractTableModel(parent) {}

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override {
        return parent.isValid() ? 0 : static_cast<int>(store.size());
    }
    [[nodiscard]] int columnCount(const QModelIndex& parent = {}) const override {
        return parent.isValid() ? 0 : static_cast<int>(columns.size());
    }
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

    // The whole text of a cell; DisplayRole has it on one line.
    [[nodiscard]] QString cellText(int row, int column) const;

    void addColumn(const Column& column) {
        beginInsertColumns({}, columnCount(), columnCount());
        columns.push_back(column);
        endInsertColumns();
    }

    int addRow(std::span<const std::string_view> cells, qint32 tag, quint32 redCells);
    void removeRow(int row) {
        beginRemoveRows({}, row, row);
        store.remove(static_cast<std::size_t>(row));
        endRemoveRows();
    }
    void clear();
    void beginLoad() {
        if (m_loads++ == 0)
            beginResetModel();
    }
    void endLoad();
    void sortRows();
    void touch(int row, int column) {
        if (m_loads == 0)
            emit dataChanged(index(row, column), index(row, column));
    }
    [[nodiscard]] bool loading() const { return m_loads > 0; }

    std::vector<Column> columns;
    RowStore store;
    bool sorted = false;
    int sortKey = 0;
    Qt::SortOrder sortOrder = Qt::AscendingOrder;
    int arrowColumn = -1;  // whose heading tells assistive technology of the order
    bool arrowDescending = false;

 private:
    [[nodiscard]] std::vector<quint32> sortedOrder() const;
    [[nodiscard]] int placeFor(std::string_view text) const;

    int m_loads = 0;
};

}  // namespace controls
