// SPDX-License-Identifier: MIT
#include "ledger/frmEnvelope.h"

#include "controls/entry_rules.h"
#include "controls/hourglass.h"
#include "controls/message_box.h"
#include "db/basMain.h"
#include "help/basHelp.h"
#include "ledger/basAmountFilter.h"
#include "mainwindow/frmMain.h"
#include "vbrt/qstring.h"

QString EnvelopeInsertSql(const QString& strName) {
    return "insert into tbl_envelopes (envelope) values ('" + SqlQuote(strName) + "')";
}

QString StartingBalanceSql(const QString& strName, const QString& strStartBal) {
    // Kept: an envelope without a starting balance gets an item of amount 0, so that it shows in the stuffer and in
    // the summary, which join envelopes with items.
    QString strAmount = "0";
    if (!TrimBlanks(strStartBal).isEmpty())
        strAmount = vbrt::qt::CStr(vbrt::qt::Round(vbrt::qt::CDbl(strStartBal), 2));
    return "insert into tbl_items (amount, comment, envelope, item_date, payee) values (" + strAmount +
           ", 'Start of Envelope.', '" + SqlQuote(strName) + "', '" + vbrt::qt::CStr(vbrt::qt::Today()) +
           "', 'Starting Balance')";
}

frmEnvelope::frmEnvelope(frmMain& frmOwner) : QDialog(&frmOwner), objMain(frmOwner) {
    setupUi(this);
    setFixedSize(sizeHint());
    new clsAmountFilter(txtStartBal);
    connect(cmdOk, &QPushButton::clicked, this, &frmEnvelope::cmdOk_Click);
    connect(cmdCancel, &QPushButton::clicked, this, &frmEnvelope::cmdCancel_Click);
    ConnectHelp(this, cmdHelp, "Envelope.htm");
    controls::applyEntryRules(this);
}

void frmEnvelope::cmdOk_Click() try {
    const QString strName = txtEnvelope->text();
    if (TrimBlanks(strName).isEmpty()) {
        txtEnvelope->clear();
        txtEnvelope->setFocus();
        controls::MsgBox(this, "You must type an Envelope Name.", controls::MsgIcon::Critical, controls::MsgButtons::Ok,
                         "Error adding new Envelope");
        return;
    }
    if (objMain.IsEnvelope(strName)) {
        txtEnvelope->setFocus();
        controls::MsgBox(this,
                         "Cannot create new Envelope. An envelope with the name you specified already exists. "
                         "Specify a different envelope name.",
                         controls::MsgIcon::Critical, controls::MsgButtons::Ok, "Error naming Envelope");
        return;
    }
    {
        controls::Hourglass hourglass;
        ExecuteChange(EnvelopeInsertSql(strName), "envelope");
        objMain.AddEnvelopeNode(strName);
        // Kept: an envelope whose starting balance fails stays without one; a second OK then finds the name taken.
        ExecuteChange(StartingBalanceSql(strName, txtStartBal->text()));
    }
    accept();
} catch (...) {
    ShowError();
}

void frmEnvelope::cmdCancel_Click() {
    reject();
}
