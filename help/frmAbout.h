// SPDX-License-Identifier: MIT
// The About box: what the program is, its license, and three pictures that take turns, one a second.
#pragma once

#include <QDialog>
#include <QTimer>

#include "ui_frmAbout.h"

class frmAbout : public QDialog, private Ui::frmAbout {
    Q_OBJECT

 public:
    explicit frmAbout(QWidget* frmOwner);

 private:
    void tmrAbout_Timer();
    void cmdOk_Click();
    void cmdLicense_Click();

    QTimer* tmrAbout;  // a child of the box
};
