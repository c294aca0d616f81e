// SPDX-License-Identifier: MIT
// The dialog "Add Item" / "Edit Item": one deposit or payment, or one half of a transfer, whose other half follows.
//
// Its caption alone decides whether it adds or edits. It writes the file and the row of the main window's list itself.
#pragma once

#include <QDialog>

#include "ledger/udtItem.h"
#include "ui_frmItem.h"

class frmMain;

class frmItem : public QDialog, private Ui::frmItem {
    Q_OBJECT

 public:
    // `strCaption` is "Add Item" or "Edit Item". The main window owns the dialog.
    frmItem(frmMain& frmOwner, const QString& strCaption);

 protected:
    void showEvent(QShowEvent* evt) override;

 private:
    void LoadItem();
    void LoadTransfers();
    void ShowItem();
    void TrimTexts();
    [[nodiscard]] int TransferIndex() const;
    [[nodiscard]] QString TypedComment() const;
    [[nodiscard]] udtItem CurrentItem() const;
    void AddItem(udtItem itm);
    void EditItem(udtItem itm);

    void cmdOk_Click();
    void cmdCancel_Click();
    void chkDeposit_Click();
    void chkPayment_Click();

    frmMain& objMain;
    udtItem itmLoaded;  // as it was when the dialog opened
    bool blnActivated = false;
};
