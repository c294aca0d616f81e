// SPDX-License-Identifier: MIT
// The search that the Find dialog runs over the rows of a list: what the list shows, not what the database holds.
#pragma once

#include <QString>

namespace controls {
class ListView;
}

enum class FindMatch { AnyPart, WholeField, StartOfField };

// The columns that can be searched, in the order in which they are offered, and the cell that each one means.
struct FindField {
    const char* strCaption;
    int intColumn;
};
inline constexpr FindField fldFields[] = {{"Amount", 4}, {"Comment", 5}, {"Date", 0},      {"Envelope", 6},
                                          {"Number", 1}, {"Payee", 2},   {"Reconciled", 3}};

// "Any part" heeds no letter case, the other two do.
bool FindMatches(const QString& strCell, const QString& strFind, FindMatch match);

// The first matching row behind (or before) `intStart`, which is never looked at itself; -1 when there is none. The
// search does not go round.
int FindRow(const controls::ListView& lvw, int intColumn, const QString& strFind, FindMatch match, int intStart,
            bool blnDown);
