// SPDX-License-Identifier: MIT
// The dialog "Find Item": selects the next row of the item list whose cell matches a text. It stays open for the next.
#pragma once

#include <QDialog>

#include "ui_frmFind.h"

class frmMain;
namespace controls {
class ListView;
}

class frmFind : public QDialog, private Ui::frmFind {
    Q_OBJECT

 public:
    explicit frmFind(frmMain& frmOwner);

 private:
    void KeepClearOf(const controls::ListView& lvw);
    void cmdFindNext_Click();
    void cmdCancel_Click();
    void txtFind_Change();

    frmMain& objMain;
};
