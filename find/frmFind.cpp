// SPDX-License-Identifier: MIT
#include "find/frmFind.h"

#include <QCoreApplication>
#include <QScreen>

#include "controls/entry_rules.h"
#include "controls/list_view.h"
#include "controls/message_box.h"
#include "find/basFind.h"
#include "help/basHelp.h"
#include "mainwindow/frmMain.h"

frmFind::frmFind(frmMain& frmOwner) : QDialog(&frmOwner), objMain(frmOwner) {
    setupUi(this);
    for (const FindField& fld : fldFields)
        cboFields->addItem(fld.strCaption, fld.intColumn);
    cboMatch->addItem("Any Part of Field", static_cast<int>(FindMatch::AnyPart));
    cboMatch->addItem("Whole Field", static_cast<int>(FindMatch::WholeField));
    cboMatch->addItem("Start of Field", static_cast<int>(FindMatch::StartOfField));
    cboMatch->setCurrentText("Whole Field");
    cboDirection->addItems({"Down", "Up"});
    connect(txtFind, &QLineEdit::textChanged, this, &frmFind::txtFind_Change);
    connect(cmdFindNext, &QPushButton::clicked, this, &frmFind::cmdFindNext_Click);
    connect(cmdCancel, &QPushButton::clicked, this, &frmFind::cmdCancel_Click);
    ConnectHelp(this, cmdHelp, "Find.htm");
    controls::applyEntryRules(this);
    txtFind_Change();
    setFixedSize(sizeHint());
}

void frmFind::txtFind_Change() {
    cmdFindNext->setEnabled(!txtFind->text().isEmpty());
}

// The dialog steps aside from the row that it found.
void frmFind::KeepClearOf(const controls::ListView& lvw) {
    const QRect rctCell = lvw.visualRect(lvw.currentIndex());
    const QRect rctRow(lvw.viewport()->mapToGlobal(QPoint(0, rctCell.top())),
                       QSize(lvw.viewport()->width(), rctCell.height()));
    if (!frameGeometry().intersects(rctRow))
        return;
    const QRect rctScreen = screen()->availableGeometry();
    const int intHeight = frameGeometry().height();
    const bool blnBelow = rctRow.bottom() + 1 + intHeight <= rctScreen.bottom();
    move(frameGeometry().left(), blnBelow ? rctRow.bottom() + 1 : qMax(rctScreen.top(), rctRow.top() - intHeight));
}

void frmFind::cmdFindNext_Click() try {
    controls::ListView& lvw = objMain.ItemList();
    const int intStart = lvw.selectedRow();
    if (intStart < 0)
        return;
    const int intRow = FindRow(lvw, cboFields->currentData().toInt(), txtFind->text(),
                               static_cast<FindMatch>(cboMatch->currentData().toInt()), intStart,
                               cboDirection->currentText() == "Down");
    if (intRow < 0) {
        controls::MsgBox(this, "Match not found.", controls::MsgIcon::None, controls::MsgButtons::Ok,
                         QCoreApplication::applicationName());
        return;
    }
    lvw.ensureVisible(intRow);
    lvw.selectRow(intRow);
    KeepClearOf(lvw);
} catch (...) {
    // Kept: a search that fails ends without a message.
}

void frmFind::cmdCancel_Click() {
    reject();
}
