// SPDX-License-Identifier: MIT
// The item list: loading and sorting it, and the balances and counts that go with it.
#include "controls/label.h"
#include "db/basMain.h"
#include "mainwindow/basListView.h"
#include "mainwindow/clsListView.h"
#include "mainwindow/frmMain.h"
#include "vbrt/qstring.h"

QString ItemsSql(bool blnAll, const QString& strEnvelope, const QString& strSortField, const QString& strSortOrder) {
    QString strSql = "select * from tbl_items";
    if (!blnAll)
        strSql += " where envelope = '" + SqlQuote(strEnvelope) + "'";
    // Items with equal sort values keep the order in which they were entered.
    return strSql + " order by " + strSortField + " " + strSortOrder + ", id asc";
}

void frmMain::LoadItems() {
    clsListView objList;
    for (const char* strField : {"item_date", "item_num", "payee", "reconciled", "amount", "comment", "envelope"})
        objList.AddColumn().strFieldName = strField;
    objList.Column(0).strFormat = strDateFormat;
    objList.Column(4).strFormat = strMoneyFormat;
    objList.Column(4).blnRedNegative = true;
    objList.SetConnection(objDatabase->objCnn());
    objList.SetListView(lvwItems);
    objList.strSql = ItemsSql(RootSelected(), strEnvelope, strSortField, strSortOrder);
    objList.strTagField = "id";
    objList.LoadListView();
}

void frmMain::lvwItems_ColumnClick(int intColumn) try {
    if (lvwItems->rowCount() == 0)
        return;
    const QString strTag = lvwItems->columnTag(intColumn);
    if (strTag != strSortField) {
        strSortField = strTag;
        strSortOrder = "asc";
    } else {
        strSortOrder = strSortOrder == "asc" ? "desc" : "asc";
    }
    const bool blnDescending = strSortOrder == "desc";
    ShowHeaderArrow(*lvwItems, intColumn, blnDescending);
    // Dates and amounts sort by value, which the database knows; texts sort in place.
    if (strTag == "item_date" || strTag == "amount")
        LoadItems();
    else
        SortListView(*lvwItems, intColumn, blnDescending ? 1 : 0);
    lvwItems->selectRow(0);
    lvwItems->ensureVisible(0);
} catch (...) {
    // Kept: sorting never shows a message.
}

void frmMain::lvwItems_MouseUp(const QPoint& pntGlobal) try { mnuItem->popup(pntGlobal); } catch (...) {
    // Kept: quiet, as the other events of the list.
}

namespace {

double Total(const QString& strSql) {
    const auto rst = objDatabase->objCnn()->Execute(strSql);
    const double dblTotal = rst->isNull("total") ? 0 : rst->number("total");
    rst->Close();
    return dblTotal;
}

}  // namespace

double frmMain::TotalOfAllItems() const {
    return Total("select sum(amount) as total from tbl_items");
}

double frmMain::TotalOfEnvelope() const {
    return Total("select sum(amount) as total from tbl_items where envelope = '" + SqlQuote(strEnvelope) + "'");
}

void frmMain::RefreshBalances() {
    const QString strTotal = vbrt::qt::Format(TotalOfAllItems(), strMoneyFormat);
    controls::setCaption(lblEnvelopes, "Budget Total = " + strTotal);
    if (RootSelected())
        controls::setCaption(lblItems, "All Envelopes = " + strTotal);
    else
        controls::setCaption(lblItems, controls::asCaption(strEnvelope) +
                                           " Envelope = " + vbrt::qt::Format(TotalOfEnvelope(), strMoneyFormat));
    lblPanel2->setText(vbrt::qt::Format(static_cast<double>(tvwEnvelopes->nodeCount() - 1), strCountFormat) +
                       " Envelope(s)");
    lblPanel3->setText(vbrt::qt::Format(static_cast<double>(lvwItems->rowCount()), strCountFormat) + " Item(s)");
}
