// SPDX-License-Identifier: MIT
// The dialog "Add Envelope": asks for a name and a starting balance and creates the envelope with its first item.
#pragma once

#include <QDialog>

#include "ui_frmEnvelope.h"

class frmMain;

class frmEnvelope : public QDialog, private Ui::frmEnvelope {
    Q_OBJECT

 public:
    // The main window owns the dialog and gets the new node.
    explicit frmEnvelope(frmMain& frmOwner);

 private:
    void cmdOk_Click();
    void cmdCancel_Click();

    frmMain& objMain;
};

// The statement that creates the envelope. The name is stored as typed, blanks included.
QString EnvelopeInsertSql(const QString& strName);
// The statement that records the starting balance, dated today. An empty text counts as 0; error 13 when it is no
// number.
QString StartingBalanceSql(const QString& strName, const QString& strStartBal);
