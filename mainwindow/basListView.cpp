// SPDX-License-Identifier: MIT
#include "mainwindow/basListView.h"

#include "controls/list_view.h"

void ShowHeaderArrow(controls::ListView& lvw, int intColumn, bool blnDescending) {
    lvw.setHeaderArrow(intColumn, blnDescending);
}

void SortListView(controls::ListView& lvw, int intColumn, int intOrder) {
    lvw.sortRows(intColumn, intOrder == 0 ? Qt::AscendingOrder : Qt::DescendingOrder);
}

bool ChangeSort(const QString& strTag, QString& strSortField, QString& strSortOrder) {
    strSortOrder = strTag == strSortField && strSortOrder == "asc" ? "desc" : "asc";
    strSortField = strTag;
    return strSortOrder == "desc";
}
