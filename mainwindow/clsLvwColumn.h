// SPDX-License-Identifier: MIT
// One column of a bound list: which field of the query it shows, in which format.
#pragma once

#include <QString>
#include <QVariant>

class clsLvwColumn {
 public:
    bool blnRedNegative = false;  // values below zero are shown in red
    QString strFieldName;         // field of the query result
    QString strFormat;            // display format; empty for the value's plain text
    QString strField;             // Kept: a second field name that is carried and not used

    // The text of a value that is not Null.
    [[nodiscard]] QString ShowColumn(const QVariant& varValue) const;
};
