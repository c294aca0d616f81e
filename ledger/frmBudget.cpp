// SPDX-License-Identifier: MIT
#include "ledger/frmBudget.h"

#include <QFocusEvent>

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
    txtBudget->installEventFilter(this);
    connect(cmdOk, &QPushButton::clicked, this, &frmBudget::cmdOk_Click);
    connect(cmdCancel, &QPushButton::clicked, this, &frmBudget::cmdCancel_Click);
    ConnectHelp(this, cmdHelp, "Stuffer.htm");
    txtBudget->setText(vbrt::qt::Format(lvw.text(lvw.selectedRow(), colBudget), "###0.00"));
    txtBudget->selectAll();
}

// The whole amount is selected whenever the box gets the focus, but not when its pop-up menu closes or the user comes
// back from another program.
bool frmBudget::eventFilter(QObject* objWatched, QEvent* evt) {
    if (objWatched == txtBudget && evt->type() == QEvent::FocusIn) {
        const auto intReason = static_cast<QFocusEvent*>(evt)->reason();
        if (intReason != Qt::PopupFocusReason && intReason != Qt::ActiveWindowFocusReason)
            txtBudget->selectAll();
    }
    return QDialog::eventFilter(objWatched, evt);
}

void frmBudget::cmdOk_Click() try {
    const int intRow = lvwStuffer.selectedRow();
    objDatabase->objCnn()->Execute(BudgetUpdateSql(txtBudget->text(), lvwStuffer.text(intRow)));
    // Kept: only the new balance changes its colour here; the budget's own colour is that of the last load.
    lvwStuffer.setText(intRow, colBudget, vbrt::qt::Format(vbrt::qt::CDbl(txtBudget->text()), strMoneyFormat));
    const double dblNewBal = AddAmounts(vbrt::qt::CDbl(lvwStuffer.text(intRow, colCurrentBal)),
                                        vbrt::qt::CDbl(lvwStuffer.text(intRow, colBudget)));
    lvwStuffer.setText(intRow, colNewBal, vbrt::qt::Format(dblNewBal, strMoneyFormat));
    lvwStuffer.setForeColor(intRow, colNewBal, dblNewBal < 0 ? controls::kRed : controls::kBlack);
    accept();
} catch (...) {
    ShowError();
}

void frmBudget::cmdCancel_Click() {
    reject();
}
