// SPDX-License-Identifier: MIT
// The window "Envelope Stuffer": shows the budget and the balance of every envelope that has items, and allocates all
// budgets at once, as one item an envelope on a chosen date; what was allocated on a date can be taken back.
//
// The list shows the stored query qry_stuffer. The window changes the file and the main window's tree; it tells whether
// the main window has to load its items anew.
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
    [[nodiscard]] bool ItemsChanged() const { return blnItemsChanged; }

 protected:
    void keyPressEvent(QKeyEvent* evt) override;

 private:
    void Form_Load();
    void LoadList();
    void ShowTotals();
    void AlignTotals();
    void ChangeItems(const QString& strSql, const QString& strDone, const QString& strTitle);
    [[nodiscard]] QString BudgetDate() const;
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
    bool blnItemsChanged = false;
};

// Columns of the stuffer's list.
inline constexpr int colBudget = 1;
inline constexpr int colCurrentBal = 2;
inline constexpr int colNewBal = 3;

// The statements behind the window. Dates are texts as CStr gives them, "11/15/2026".
QString StufferListSql(const QString& strSortField, const QString& strSortOrder);
QString StuffSql(const QString& strDate);
QString UndoStuffSql(const QString& strDate);
// An amount as a cell of the list shows it; a Null shows as nothing and counts 0.
double ShownAmount(const QString& strCell);
// Error 6 when the sum is too large for a number.
double AddAmounts(double dblFirst, double dblSecond);
