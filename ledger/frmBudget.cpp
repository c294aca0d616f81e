// SPDX-License-Identifier: MIT
#include "ledger/frmBudget.h"

#include "controls/entry_rules.h"
#include "controls/list_view.h"
#include "db/basMain.h"
#include "help/basHelp.h"
#include "ledger/basAmountFilter.h"
#include "ledger/frmStuffer.h"
#include "mainwindow/basListView.h"
#include "vbrt/qstring.h"

QString BudgetUpdateSql(const QString& strBudget, const QString& strEnvelope) {
    return "update tbl_envelopes set budget = " + vbrt::qt::CStr(vbrt::qt::CDbl(strBudget)) + " where envelope = '" +
           SqlQuote(strEnvelope) + "'";
}

frmBudget::frmBudget(QWidget* objOwner, controls::ListView& lvw) : QDialog(objOwner), lvwStuffer(lvw) {
    setupUi(this);
    setFixedSize(sizeHint());
    new clsAmountFilter(txtBudget);
    controls::applyEntryRules(this);
    connect(cmdOk, &QPushButton::clicked, this, &frmBudget::cmdOk_Click);
    connect(cmdCancel, &QPushButton::clicked, this, &frmBudget::cmdCancel_Click);
    ConnectHelp(this, cmdHelp, "Stuffer.htm");
    txtBudget->setText(vbrt::qt::Format(lvw.text(lvw.selectedRow(), colBudget), "###0.00"));
    txtBudget->selectAll();
}

void frmBudget::cmdOk_Click() try {
    const int intRow = lvwStuffer.selectedRow();
    ExecuteChange(BudgetUpdateSql(txtBudget->text(), lvwStuffer.text(intRow)), "envelope");
    // Kept: only the new balance changes its colour here; the budget's own colour is that of the last load.
    lvwStuffer.setText(intRow, colBudget, vbrt::qt::Format(vbrt::qt::CDbl(txtBudget->text()), strMoneyFormat));
    const double dblNewBal = AddAmounts(ShownAmount(lvwStuffer.text(intRow, colCurrentBal)),
                                        ShownAmount(lvwStuffer.text(intRow, colBudget)));
    lvwStuffer.setText(intRow, colNewBal, vbrt::qt::Format(dblNewBal, strMoneyFormat));
    lvwStuffer.setForeColor(intRow, colNewBal, dblNewBal < 0 ? controls::kRed : controls::kBlack);
    accept();
} catch (...) {
    ShowError();
}

void frmBudget::cmdCancel_Click() {
    reject();
}
