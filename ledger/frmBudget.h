// SPDX-License-Identifier: MIT
// The dialog "Edit Budget": changes the standing budget amount of the envelope selected in the stuffer's list.
//
// It reads that row, writes the file, and then writes the row again; the list is not reloaded.
#pragma once

#include <QDialog>

#include "ui_frmBudget.h"

namespace controls {
class ListView;
}

class frmBudget : public QDialog, private Ui::frmBudget {
    Q_OBJECT

 public:
    // REQUIRES: a row of the list is selected, and the list outlives the dialog.
    frmBudget(QWidget* objOwner, controls::ListView& lvw);

 private:
    void cmdOk_Click();
    void cmdCancel_Click();

    controls::ListView& lvwStuffer;
};

// The statement that sets the budget. Error 13 or 6 when the text is no number or too large a one.
QString BudgetUpdateSql(const QString& strBudget, const QString& strEnvelope);
