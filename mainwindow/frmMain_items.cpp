// SPDX-License-Identifier: MIT
// The item list: loading and sorting it, the commands on its selected row, and the balances and counts beside it.
#include <QKeyEvent>

#include "controls/hourglass.h"
#include "controls/label.h"
#include "controls/message_box.h"
#include "db/basMain.h"
#include "find/frmFind.h"
#include "ledger/frmItem.h"
#include "mainwindow/basListView.h"
#include "mainwindow/clsListView.h"
#include "mainwindow/frmMain.h"
#include "vbrt/qstring.h"

namespace {

constexpr int intReconciledColumn = 3;
constexpr int intAmountColumn = 4;

// Dates and amounts sort by value, which the database knows; texts sort in place.
bool SortsByValue(const QString& strField) {
    return strField == "item_date" || strField == "amount";
}

// Picks the item of this id and the half that points at it.
QString WithPartner(int lngId) {
    const QString strId = QString::number(lngId);
    return " where id = " + strId + " or transfer_id = " + strId;
}

}  // namespace

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
    objList.Column(intAmountColumn).strFormat = strMoneyFormat;
    objList.Column(intAmountColumn).blnRedNegative = true;
    objList.SetConnection(objDatabase->objCnn());
    objList.SetListView(lvwItems);
    objList.strSql = ItemsSql(RootSelected(), strEnvelope, strSortField, strSortOrder);
    objList.strTagField = "id";
    objList.LoadListView();
    // A new item then goes where the order of a text column has it.
    for (int intColumn = 0; intColumn < lvwItems->columnCount(); ++intColumn)
        if (lvwItems->columnTag(intColumn) == strSortField && !SortsByValue(strSortField)) {
            SortListView(*lvwItems, intColumn, strSortOrder == "desc" ? 1 : 0);
            lvwItems->selectRow(0);
        }
}

// What was selected stays selected, if it is still there.
void frmMain::ReloadItems() {
    const int intRow = lvwItems->selectedRow();
    const int lngId = intRow < 0 ? 0 : lvwItems->tag(intRow);
    LoadItems();
    const int intNew = lvwItems->rowOfTag(lngId);
    if (intNew >= 0) {
        lvwItems->selectRow(intNew);
        lvwItems->ensureVisible(intNew);
    }
    RefreshBalances();
    SetAppState();
}

void frmMain::ShowItemError() {
    bool blnGone = false;
    try {
        throw;
    } catch (const vbrt::Error& err) {
        blnGone = err.number() == intGone;
        ShowError();
    } catch (...) {
        ShowError();
    }
    if (!blnGone || !blnDatabaseOpen)
        return;
    try {
        ReloadItems();
    } catch (...) {
        ShowError();
    }
}

void frmMain::lvwItems_ColumnClick(int intColumn) try {
    if (lvwItems->rowCount() == 0)
        return;
    const QString strTag = lvwItems->columnTag(intColumn);
    const bool blnDescending = ChangeSort(strTag, strSortField, strSortOrder);
    ShowHeaderArrow(*lvwItems, intColumn, blnDescending);
    if (SortsByValue(strTag))
        LoadItems();
    else
        SortListView(*lvwItems, intColumn, blnDescending ? 1 : 0);
    lvwItems->selectRow(0);
    lvwItems->ensureVisible(0);
} catch (...) {
    // Kept: sorting never shows a message.
}

void frmMain::AddItemRow(const udtItem& itm) {
    const int intRow = lvwItems->addRow(CellsOf(itm), itm.lngId);
    lvwItems->setForeColor(intRow, intAmountColumn, itm.dblAmount < 0 ? controls::kRed : controls::kBlack);
    lvwItems->selectRow(intRow);
    lvwItems->ensureVisible(intRow);
}

QStringList frmMain::CellsOf(const udtItem& itm) const {
    return {itm.strItemDate.isEmpty() ? "" : vbrt::qt::Format(vbrt::qt::CDate(itm.strItemDate), strDateFormat),
            itm.strItemNum,
            itm.strPayee,
            itm.strReconciled,
            vbrt::qt::Format(itm.dblAmount, strMoneyFormat),
            itm.strComment,
            itm.strEnvelope};
}

void frmMain::UpdateItemRow(const udtItem& itm) {
    const QStringList lstCells = CellsOf(itm);
    const int intRow = lvwItems->rowOfTag(itm.lngId);
    if (intRow < 0)
        return ReloadItems();
    for (int intColumn = 0; intColumn < lstCells.size(); ++intColumn)
        lvwItems->setText(intRow, intColumn, lstCells[intColumn]);
    lvwItems->setForeColor(intRow, intAmountColumn, itm.dblAmount < 0 ? controls::kRed : controls::kBlack);
}

void frmMain::mnuItemAdd_Click() try {
    frmItem frm(*this, "Add Item");
    frm.exec();
    RefreshBalances();
    SetAppState();
} catch (...) {
    ShowError();
}

void frmMain::mnuItemEdit_Click() try {
    frmItem frm(*this, "Edit Item");
    frm.exec();
    RefreshBalances();
} catch (...) {
    ShowError();
}

void frmMain::mnuItemDelete_Click() try {
    const int intRow = lvwItems->selectedRow();
    if (intRow < 0)
        return;
    const auto intAnswer =
        controls::MsgBox(this, "Are you sure you want to delete this item?", controls::MsgIcon::Exclamation,
                         controls::MsgButtons::YesNo, "Confirm Item Delete");
    if (intAnswer == controls::MsgAnswer::No)
        return;
    controls::Hourglass hourglass;
    ExecuteChange("delete * from tbl_items" + WithPartner(lvwItems->tag(intRow)), "item", Rows::OneOrMore);
    lvwItems->removeRow(intRow);  // selects the next row, or the last
    RefreshBalances();
    SetAppState();
} catch (...) {
    ShowItemError();
}

void frmMain::mnuItemReconcile_Click() try {
    const int intRow = lvwItems->selectedRow();
    if (intRow < 0)
        return;
    const QString strNew = lvwItems->text(intRow, intReconciledColumn).isEmpty() ? "*" : "";
    ExecuteChange("update tbl_items set reconciled = '" + strNew + "'" + WithPartner(lvwItems->tag(intRow)), "item",
                  Rows::OneOrMore);
    lvwItems->setText(intRow, intReconciledColumn, strNew);
} catch (...) {
    ShowItemError();
}

void frmMain::mnuItemFind_Click() try {
    frmFind frm(*this);
    frm.exec();
} catch (...) {
    ShowError();
}

// Items are edited within their own envelope only, so neither mouse nor keys do it while the root is selected.
void frmMain::lvwItems_DblClick() try {
    if (lvwItems->rowCount() > 0 && !RootSelected())
        mnuItemEdit_Click();
} catch (...) {
    // Kept: quiet, as the other events of the list.
}

void frmMain::lvwItems_KeyDown(QKeyEvent* evt) try {
    if (lvwItems->rowCount() == 0 || RootSelected())
        return;
    if (evt->key() == Qt::Key_Delete) {
        evt->accept();
        mnuItemDelete_Click();
    } else if (evt->key() == Qt::Key_Return || evt->key() == Qt::Key_Enter || evt->key() == Qt::Key_F2) {
        evt->accept();
        mnuItemEdit_Click();
    }
} catch (...) {
    // Kept: quiet, as the other events of the list.
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
