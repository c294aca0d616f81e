// SPDX-License-Identifier: MIT
// Rows of a report from a table written down in a test.
#pragma once

#include "datareport/rows.h"
#include "vbrt/date.h"
#include "vbrt/error.h"

#include <QStringList>
#include <map>
#include <utility>
#include <vector>

Q_DECLARE_METATYPE(vbrt::Date)

struct Table {
    QStringList columns;
    std::vector<std::vector<QVariant>> rows;
    std::vector<Table> groups;  // behind each row, as the column "rows"
};

class TableRows : public datareport::Rows {
 public:
    explicit TableRows(Table table) : m_table(std::move(table)) {}

    int column(const QString& name) override {
        if (name == "rows")
            return -1;
        for (int i = 0; i < m_table.columns.size(); ++i)
            if (m_table.columns[i].compare(name, Qt::CaseInsensitive) == 0)
                return i;
        throw vbrt::Error(3265, "no column " + name.toStdString());
    }
    bool next() override { return ++m_row < static_cast<int>(m_table.rows.size()); }
    QVariant value(int column) override {
        return m_table.rows.at(static_cast<std::size_t>(m_row)).at(static_cast<std::size_t>(column));
    }
    std::unique_ptr<Rows> children(int) override {
        return std::make_unique<TableRows>(m_table.groups.at(static_cast<std::size_t>(m_row)));
    }

 private:
    Table m_table;
    int m_row = -1;
};
