// SPDX-License-Identifier: MIT
// What every sortable list shares.
#pragma once

#include <QString>

namespace controls {
class ListView;
}

// Display formats of the lists and captions.
inline constexpr char strMoneyFormat[] = "$#,##0.00;-$#,##0.00";
inline constexpr char strDateFormat[] = "mm/dd/yyyy";
inline constexpr char strCountFormat[] = "#,##0";

// Draws the sort arrow on a column, counted from 0; every other column loses its own.
void ShowHeaderArrow(controls::ListView& lvw, int intColumn, bool blnDescending);

// Lets the list sort its rows itself by the text of a column; `intOrder` 0 is ascending, 1 descending.
void SortListView(controls::ListView& lvw, int intColumn, int intOrder);

// A click on the column that shows `strTag`: another column sorts ascending, the same one turns its order round. True
// when the new order is descending.
bool ChangeSort(const QString& strTag, QString& strSortField, QString& strSortOrder);
