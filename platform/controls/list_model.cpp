// SPDX-License-Identifier: MIT
#include "controls/list_model.h"

#include "controls/sort_text.h"

#include <QColor>
#include <algorithm>
#include <string>

namespace controls {

namespace {

Qt::Alignment qtAlignment(ColumnAlignment alignment) {
    switch (alignment) {
        case ColumnAlignment::Right:
            return Qt::AlignRight | Qt::AlignVCenter;
        case ColumnAlignment::Center:
            return Qt::AlignHCenter | Qt::AlignVCenter;
        case ColumnAlignment::Left:
            break;
    }
    return Qt::AlignLeft | Qt::AlignVCenter;
}

// A cell has one line.
QString onOneLine(QString text) {
    text.replace(QStringLiteral("\r\n"), QStringLiteral(" "));
    for (QChar& c : text) {
        if (c < u' ' || c == QChar::LineSeparator || c == QChar::ParagraphSeparator)
            c = u' ';
    }
    return text;
}

// Texts with their sort keys: the first eight bytes for most comparisons, the whole key in `bytes`.
struct SortEntry {
    quint64 head;
    quint32 offset;
    quint32 size;
    quint32 row;
};

quint64 headOf(std::string_view key) {
    quint64 head = 0;
    for (std::size_t i = 0; i < 8; ++i)
        head = head << 8 | (i < key.size() ? static_cast<unsigned char>(key[i]) : 0U);
    return head;
}

std::string sortKeyOf(std::string_view text) {
    std::string key;
    appendSortKey(text, key);
    return key;
}

}  // namespace

QVariant ListModel::data(const QModelIndex& index, int role) const {
    const auto row = static_cast<std::size_t>(index.row());
    const auto column = static_cast<std::size_t>(index.column());
    if (!index.isValid() || row >= store.size() || column >= columns.size())
        return {};
    switch (role) {
        case Qt::DisplayRole:
            return onOneLine(cellText(index.row(), index.column()));
        case Qt::TextAlignmentRole:
            return QVariant::fromValue(qtAlignment(columns[column].alignment));
        case Qt::ForegroundRole:
            return store.isRed(row, column) ? QVariant(QColor(Qt::red)) : QVariant();
        default:
            return {};
    }
}

QString ListModel::cellText(int row, int column) const {
    const std::string_view text = store.text(static_cast<std::size_t>(row), static_cast<std::size_t>(column));
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

QVariant ListModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || section < 0 || section >= columnCount())
        return {};
    const Column& column = columns[static_cast<std::size_t>(section)];
    if (role == Qt::DisplayRole)
        return column.header;
    if (role == Qt::AccessibleTextRole && section == arrowColumn)
        return column.header +
               (arrowDescending ? QStringLiteral(", sorted descending") : QStringLiteral(", sorted ascending"));
    if (role == Qt::TextAlignmentRole)
        return QVariant::fromValue(qtAlignment(column.alignment));
    return {};
}

int ListModel::addRow(std::span<const std::string_view> cells, qint32 tag, quint32 redCells) {
    int row = rowCount();
    if (m_loads > 0) {
        store.insert(store.size(), cells, tag, redCells);
        return row;
    }
    if (sorted) {
        const auto key = static_cast<std::size_t>(sortKey);
        row = placeFor(key < cells.size() ? cells[key] : std::string_view());
    }
    beginInsertRows({}, row, row);
    store.insert(static_cast<std::size_t>(row), cells, tag, redCells);
    endInsertRows();
    return row;
}

void ListModel::clear() {
    if (m_loads > 0) {
        store.clear();
        return;
    }
    beginResetModel();
    store.clear();
    endResetModel();
}

void ListModel::endLoad() {
    if (--m_loads > 0)
        return;
    if (sorted)
        store.reorder(sortedOrder());
    endResetModel();
}

std::vector<quint32> ListModel::sortedOrder() const {
    std::string bytes;
    std::vector<SortEntry> entries(store.size());
    for (std::size_t row = 0; row < entries.size(); ++row) {
        const std::size_t offset = bytes.size();
        appendSortKey(store.text(row, static_cast<std::size_t>(sortKey)), bytes);
        entries[row].offset = static_cast<quint32>(offset);
        entries[row].size = static_cast<quint32>(bytes.size() - offset);
        entries[row].row = static_cast<quint32>(row);
    }
    const auto keyOf = [&bytes](const SortEntry& e) { return std::string_view(bytes).substr(e.offset, e.size); };
    for (SortEntry& entry : entries)
        entry.head = headOf(keyOf(entry));
    const auto less = [&keyOf](const SortEntry& a, const SortEntry& b) {
        return a.head != b.head ? a.head < b.head : keyOf(a) < keyOf(b);
    };
    if (sortOrder == Qt::AscendingOrder)
        std::stable_sort(entries.begin(), entries.end(), less);
    else
        std::stable_sort(entries.begin(), entries.end(),
                         [&less](const SortEntry& a, const SortEntry& b) { return less(b, a); });

    std::vector<quint32> order(entries.size());
    std::transform(entries.begin(), entries.end(), order.begin(), [](const SortEntry& entry) { return entry.row; });
    return order;
}

void ListModel::sortRows() {
    if (m_loads > 0)
        return;
    emit layoutAboutToBeChanged({}, VerticalSortHint);
    const std::vector<quint32> order = sortedOrder();
    store.reorder(order);
    const QModelIndexList from = persistentIndexList();
    if (!from.isEmpty()) {
        std::vector<int> newRow(order.size());
        for (std::size_t row = 0; row < order.size(); ++row)
            newRow[order[row]] = static_cast<int>(row);
        QModelIndexList to;
        for (const QModelIndex& old : from)
            to += index(newRow[static_cast<std::size_t>(old.row())], old.column());
        changePersistentIndexList(from, to);
    }
    emit layoutChanged({}, VerticalSortHint);
}

// Behind the last row that does not come after the text.
int ListModel::placeFor(std::string_view text) const {
    const std::string key = sortKeyOf(text);
    std::size_t low = 0;
    std::size_t high = store.size();
    while (low < high) {
        const std::size_t middle = low + (high - low) / 2;
        const std::string other = sortKeyOf(store.text(middle, static_cast<std::size_t>(sortKey)));
        const bool comesBefore = sortOrder == Qt::AscendingOrder ? key < other : key > other;
        if (comesBefore)
            high = middle;
        else
            low = middle + 1;
    }
    return static_cast<int>(low);
}

}  // namespace controls
