// SPDX-License-Identifier: MIT
#include "mainwindow/clsLvwColumn.h"

#include "vbrt/qstring.h"

QString clsLvwColumn::ShowColumn(const QVariant& varValue) const {
    if (!strFormat.isEmpty())
        return vbrt::qt::Format(varValue, strFormat);
    if (varValue.metaType() == QMetaType::fromType<vbrt::Date>())
        return vbrt::qt::toQString(vbrt::CStr(varValue.value<vbrt::Date>()));
    switch (varValue.typeId()) {
        case QMetaType::QString:
            return varValue.toString();
        case QMetaType::Bool:
            return vbrt::qt::CStr(varValue.toBool());
        default:
            return vbrt::qt::CStr(varValue.toDouble());
    }
}
