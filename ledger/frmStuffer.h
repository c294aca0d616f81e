// SPDX-License-Identifier: MIT
// The window "Envelope Stuffer": shows the budget and the balance of every envelope that has items, and allocates all
// budgets at once, as one item an envelope on a chosen date; what was allocated on a date can be taken back.
//
// The list shows the stored query qry_stuffer. The window changes the file and the main window's tree; the main
// window's list of items stays as it is.
#pragma once

#include <QDialog>
#include <cstdint>

#include "ui_frmStuffer.h"

class frmMain;

class frmStuffer : public QDialog, private Ui::frmStuffer {
    Q_OBJECT

 public:
    // The main window owns the stuffer.
    explicit frmStuffer(frmMain& frmOwner);

 private:
    void Form_Load();
    void LoadList();
    void ShowTotals();
    void ChangeItems(const QString& strSql, const QString& strDone, const QString& strTitle);
    [[nodiscard]] QString BudgetDate();
    [[nodiscard]] std::int32_t HighestId() const;

    void cmdStuff_Click();
    void cmdUndoStuff_Click();
    void cmdEdit_Click();
    void cmdClose_Click();
    void lvwStuffer_ColumnClick(int intColumn);
    void lvwStuffer_KeyDown(QKeyEvent* evt);
    void lvwStuffer_MouseUp(const QPoint& pntGlobal);

    frmMain& objMain;
    QMenu* mnuBudget;      // child
    QString strSortField;  // a column of qry_stuffer
    QString strSortOrder;  // "asc" or "desc"
};

// Columns of the stuffer's list.
inline constexpr int colBudget = 1;
inline constexpr int colCurrentBal = 2;
inline constexpr int colNewBal = 3;

// The statements behind the window. Dates are texts as CStr gives them, "11/15/2026".
QString StufferListSql(const QString& strSortField, const QString& strSortOrder);
QString StuffSql(const QString& strDate);
QString UndoStuffSql(const QString& strDate);
// Error 6 when the sum is too large for a number.
double AddAmounts(double dblFirst, double dblSecond);
