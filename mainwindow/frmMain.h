// SPDX-License-Identifier: MIT
// The main window: the envelope tree on the left, the items of the selected envelope on the right, menus, toolbar and
// status bar around them. It owns what is selected; every other window is opened from here and owned by it.
//
// The implementation is split by subject: frmMain.cpp (frame, enabling, layout), frmMain_file.cpp (New, Open, Close,
// Save As, Compact), frmMain_envelopes.cpp (tree), frmMain_items.cpp (list and balances), frmMain_reports.cpp
// (printing, reports, help).
#pragma once

#include <QHash>
#include <QKeyEvent>
#include <QMainWindow>

#include "controls/common_dialog.h"
#include "ledger/udtItem.h"
#include "mainwindow/basAppState.h"
#include "ui_frmMain.h"

class frmMain : public QMainWindow, private Ui::frmMain {
    Q_OBJECT

 public:
    frmMain();

    // The name of the selected envelope; empty for the root, and before anything is selected. In an old budget an
    // envelope, too, may have the empty name: blnEnvelope tells.
    QString strEnvelope;

    // True when there is an envelope of this name; letter case does not count.
    [[nodiscard]] bool IsEnvelope(const QString& strName);
    // Rebuilds the tree from the budget. Selects nothing: the caller decides.
    void LoadEnvelopes();
    // LoadEnvelopes, with what was selected selected again. The item list stays as it is.
    void ReloadEnvelopes();
    // Adds a node for a new envelope, selects it and scrolls it into view.
    void AddEnvelopeNode(const QString& strName);
    // The list of items, whose selected row the item dialog edits and the search moves.
    [[nodiscard]] controls::ListView& ItemList() { return *lvwItems; }
    // The text of the selected node, "Envelopes" for the root.
    [[nodiscard]] QString SelectedNodeText() const { return tvwEnvelopes->nodeText(tvwEnvelopes->selectedNode()); }
    // Adds a row for a new item, selects it and scrolls it into view.
    void AddItemRow(const udtItem& itm);
    // Writes an item into its row.
    void UpdateItemRow(const udtItem& itm);
    // Shows the error that is being handled. If an item was no longer in the budget, the list is then loaded anew.
    void ShowItemError();
    // Enables menu entries and toolbar buttons by what is open and selected. To be called after every change of that.
    void SetAppState();

 protected:
    void resizeEvent(QResizeEvent* evt) override;
    void moveEvent(QMoveEvent* evt) override;
    void closeEvent(QCloseEvent* evt) override;

 private:
    void AddToolbarButton(const QString& strKey, const QString& strToolTip, const QString& strImage);
    void ConnectMenus();
    void LayOut();
    [[nodiscard]] AppState CurrentState() const;

    void tlbMain_ButtonClick(QAction* objButton);
    void mnuFileExit_Click();
    void mnuFilePrintSetup_Click();
    void mnuViewToolbar_Click();
    void mnuViewStatusBar_Click();
    void mnuToolsCalculator_Click();
    void mnuToolsStuffer_Click();

    void ShowSelected(bool blnPreview);
    void mnuFilePreview_Click();
    void mnuFilePrint_Click();
    void mnuToolsReports_Click();
    void ShowHelp();
    void mnuHelpContents_Click();
    void mnuHelpIndex_Click();
    void mnuHelpLicense_Click();
    void mnuHelpAbout_Click();

    void mnuFileNew_Click();
    void mnuFileOpen_Click();
    void mnuFileClose_Click();
    void mnuFileSaveAs_Click();
    void mnuToolsCompact_Click();
    void CloseBudget();
    void ShowOpenedBudget();

    void mnuEnvelopeAdd_Click();
    void mnuEnvelopeDelete_Click();
    void mnuEnvelopeRename_Click();
    void tvwEnvelopes_NodeClick(int intNode);
    void tvwEnvelopes_Collapse(int intNode);
    void tvwEnvelopes_KeyDown(QKeyEvent* evt);
    void tvwEnvelopes_MouseUp(const QPoint& pntGlobal);
    void tvwEnvelopes_BeforeLabelEdit(bool& blnCancel);
    void tvwEnvelopes_AfterLabelEdit(const QString& strNew, bool& blnCancel);
    [[nodiscard]] bool RootSelected() const;

    void mnuItemAdd_Click();
    void mnuItemEdit_Click();
    void mnuItemDelete_Click();
    void mnuItemFind_Click();
    void mnuItemReconcile_Click();
    void lvwItems_ColumnClick(int intColumn);
    void lvwItems_DblClick();
    void lvwItems_KeyDown(QKeyEvent* evt);
    void lvwItems_MouseUp(const QPoint& pntGlobal);
    void LoadItems();
    void ReloadItems();
    [[nodiscard]] QStringList CellsOf(const udtItem& itm) const;
    void RefreshBalances();
    [[nodiscard]] double TotalOfAllItems() const;
    [[nodiscard]] double TotalOfEnvelope() const;

    controls::CommonDialog dlgFile;        // one dialog for every command, so that its settings carry over
    bool blnEnvelope = false;              // an envelope is selected, and strEnvelope is its name
    QSize sizStart;                        // outer size to open with; empty once the window has it
    QString strSortField;                  // of the item list: a column of tbl_items
    QString strSortOrder;                  // "asc" or "desc"
    QHash<QString, QAction*> hshCommands;  // menu entries by name, toolbar buttons by key
    QLabel* lblPanel1;                     // panels of the status bar, children of it
    QLabel* lblPanel2;
    QLabel* lblPanel3;
};

// The SELECT behind the item list.
QString ItemsSql(bool blnAll, const QString& strEnvelope, const QString& strSortField, const QString& strSortOrder);
