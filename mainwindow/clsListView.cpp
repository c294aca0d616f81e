// SPDX-License-Identifier: MIT
#include "mainwindow/clsListView.h"

#include <string>
#include <string_view>

#include "controls/hourglass.h"
#include "controls/list_view.h"

clsLvwColumn& clsListView::AddColumn() {
    colColumns.push_back(std::make_unique<clsLvwColumn>());
    return *colColumns.back();
}

void clsListView::LoadListView() try {
    if (strSql.isEmpty() || !objCnn || objLvw == nullptr)
        return;
    controls::Hourglass hourglass;
    const auto rst = objCnn->Execute(strSql);
    objLvw->setSorted(false);  // so that rows stay in query order
    {
        controls::ListView::Loading loading(*objLvw);
        objLvw->clear();
        LoadRows(*rst);
    }
    rst->Close();
    if (objLvw->rowCount() > 0)
        objLvw->selectRow(0);
} catch (...) {
    // Kept: a list that cannot be loaded stays as far as it was filled, without a message.
}

void clsListView::LoadRows(ado::Recordset& rst) {
    std::vector<int> intFields;
    for (const auto& col : colColumns)
        intFields.push_back(rst.fieldIndex(col->strFieldName));
    const int intTagField = strTagField.isEmpty() ? -1 : rst.fieldIndex(strTagField);

    std::vector<std::string> strCells(colColumns.size());
    std::vector<std::string_view> strRow(colColumns.size());
    for (; !rst.AtEnd(); rst.MoveNext()) {
        quint32 intRedCells = 0;
        for (std::size_t i = 0; i < colColumns.size(); ++i) {
            const QVariant varValue = rst.Value(intFields[i]);
            strCells[i].clear();
            if (varValue.isValid()) {
                strCells[i] = colColumns[i]->ShowColumn(varValue).toStdString();
                // Kept: only sub-items can be red, never the row's own text.
                if (i > 0 && colColumns[i]->blnRedNegative && varValue.toDouble() < 0)
                    intRedCells |= 1U << i;
            }
            strRow[i] = strCells[i];
        }
        const qint32 intTag = intTagField < 0 ? 0 : static_cast<qint32>(rst.number(intTagField));
        objLvw->addRow(strRow, intTag, intRedCells);
    }
}
