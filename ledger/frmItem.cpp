// SPDX-License-Identifier: MIT
#include "ledger/frmItem.h"

#include <QEvent>

#include "controls/hourglass.h"
#include "controls/list_view.h"
#include "db/basMain.h"
#include "help/basHelp.h"
#include "ledger/basAmountFilter.h"
#include "mainwindow/frmMain.h"
#include "vbrt/qstring.h"

namespace {

constexpr char strAddCaption[] = "Add Item";

void Execute(const QString& strSql) {
    objDatabase->objCnn()->Execute(strSql);
}

int HighestId() {
    const auto rst = objDatabase->objCnn()->Execute("select max(id) from tbl_items");
    const int lngId = static_cast<int>(rst->number(0));
    rst->Close();
    return lngId;
}

void SetTransferId(int lngId, int lngTransferId) {
    Execute("update tbl_items set transfer_id = " + QString::number(lngTransferId) +
            " where id = " + QString::number(lngId));
}

}  // namespace

frmItem::frmItem(frmMain& frmOwner, const QString& strCaption) : QDialog(&frmOwner), objMain(frmOwner) {
    setupUi(this);
    setWindowTitle(strCaption);
    // The envelope is shown, not edited: an item moves by a transfer.
    QPalette palShown = txtEnvelope->palette();
    palShown.setColor(QPalette::Base, palShown.color(QPalette::Window));
    txtEnvelope->setPalette(palShown);
    new clsAmountFilter(txtAmount);
    for (QWidget* txtBox : {static_cast<QWidget*>(txtAmount), static_cast<QWidget*>(txtItemNum),
                            static_cast<QWidget*>(txtPayee), static_cast<QWidget*>(txtComment)})
        txtBox->installEventFilter(this);
    connect(chkDeposit, &QCheckBox::clicked, this, &frmItem::chkDeposit_Click);
    connect(chkPayment, &QCheckBox::clicked, this, &frmItem::chkPayment_Click);
    connect(cmdOk, &QPushButton::clicked, this, &frmItem::cmdOk_Click);
    connect(cmdCancel, &QPushButton::clicked, this, &frmItem::cmdCancel_Click);
    ConnectHelp(this, cmdHelp, "Item.htm");
}

void frmItem::showEvent(QShowEvent* evt) try {
    QDialog::showEvent(evt);
    if (blnActivated)
        return;
    blnActivated = true;
    LoadItem();
    LoadTransfers();
    ShowItem();
} catch (...) {
    ShowError();
}

// The whole text of a box is selected when it gets the focus.
bool frmItem::eventFilter(QObject* objWatched, QEvent* evt) {
    if (evt->type() == QEvent::FocusIn) {
        if (auto* txtLine = qobject_cast<QLineEdit*>(objWatched))
            QMetaObject::invokeMethod(txtLine, &QLineEdit::selectAll, Qt::QueuedConnection);
        else if (auto* txtLines = qobject_cast<QPlainTextEdit*>(objWatched))
            QMetaObject::invokeMethod(txtLines, &QPlainTextEdit::selectAll, Qt::QueuedConnection);
    }
    return QDialog::eventFilter(objWatched, evt);
}

void frmItem::LoadItem() {
    itmLoaded = udtItem();
    itmLoaded.strEnvelope = objMain.SelectedNodeText();
    itmLoaded.strItemDate = vbrt::qt::CStr(vbrt::qt::Today());
    if (windowTitle() == strAddCaption)
        return;

    controls::ListView& lvw = objMain.ItemList();
    const int intRow = lvw.selectedRow();
    if (intRow < 0)
        vbrt::raise(vbrt::kObjectNotSet);
    itmLoaded.lngId = lvw.tag(intRow);
    if (const QString strDate = lvw.text(intRow, 0); !strDate.isEmpty())
        itmLoaded.strItemDate = strDate;
    itmLoaded.strItemNum = lvw.text(intRow, 1);
    itmLoaded.strPayee = lvw.text(intRow, 2);
    itmLoaded.strReconciled = lvw.text(intRow, 3);
    if (const QString strAmount = lvw.text(intRow, 4); !strAmount.isEmpty())
        itmLoaded.dblAmount = vbrt::qt::CDbl(strAmount);
    itmLoaded.strComment = lvw.text(intRow, 5);

    // Kept: the other half is found by the pointer that leads to this item, not by the item's own.
    const auto rst = objDatabase->objCnn()->Execute("select envelope, id from tbl_items where transfer_id = " +
                                                    QString::number(itmLoaded.lngId));
    if (!rst->AtEnd()) {
        itmLoaded.lngTransferId = static_cast<int>(rst->number("id"));
        itmLoaded.strTransferEnvelope = rst->text("envelope");
    }
    rst->Close();
}

void frmItem::LoadTransfers() {
    cboTransfer->addItem(QString());
    const auto rst = objDatabase->objCnn()->Execute("select envelope from tbl_envelopes where envelope <> '" +
                                                    SqlQuote(objMain.SelectedNodeText()) + "' order by envelope");
    for (; !rst->AtEnd(); rst->MoveNext())
        cboTransfer->addItem(rst->text(0));
    rst->Close();
}

void frmItem::ShowItem() {
    txtEnvelope->setText(itmLoaded.strEnvelope);
    dtpItemDate->setDate(vbrt::qt::CDate(itmLoaded.strItemDate));
    txtItemNum->setText(itmLoaded.strItemNum);
    txtPayee->setText(itmLoaded.strPayee);
    chkReconciled->setChecked(itmLoaded.strReconciled == "*");
    txtAmount->setText(vbrt::qt::Format(qAbs(itmLoaded.dblAmount), "###0.00"));
    const bool blnPayment = itmLoaded.dblAmount <= 0;
    chkPayment->setChecked(blnPayment);
    chkDeposit->setChecked(!blnPayment);
    txtComment->setPlainText(itmLoaded.strComment);
    if (!itmLoaded.strTransferEnvelope.isEmpty())
        cboTransfer->setCurrentText(itmLoaded.strTransferEnvelope);
}

void frmItem::chkDeposit_Click() {
    chkPayment->setChecked(!chkDeposit->isChecked());
}

void frmItem::chkPayment_Click() {
    chkDeposit->setChecked(!chkPayment->isChecked());
}

void frmItem::TrimTexts() {
    for (QLineEdit* txtBox : {txtEnvelope, txtItemNum, txtPayee, txtAmount})
        txtBox->setText(txtBox->text().trimmed());
    const QString strComment = txtComment->toPlainText();
    if (strComment != strComment.trimmed())
        txtComment->setPlainText(strComment.trimmed());
}

udtItem frmItem::CurrentItem() const {
    udtItem itm;
    itm.dblAmount = vbrt::qt::CDbl(txtAmount->text());
    itm.lngId = itmLoaded.lngId;
    itm.lngTransferId = itmLoaded.lngTransferId;
    // Lines end in the file as they always have there.
    itm.strComment = txtComment->toPlainText().replace("\n", "\r\n");
    itm.strEnvelope = txtEnvelope->text();
    itm.strItemDate = vbrt::qt::CStr(dtpItemDate->date());
    itm.strItemNum = txtItemNum->text();
    itm.strPayee = txtPayee->text();
    itm.strReconciled = chkReconciled->isChecked() ? "*" : "";
    itm.strTransferEnvelope = cboTransfer->currentText();
    return itm;
}

void frmItem::cmdOk_Click() try {
    controls::Hourglass hourglass;
    TrimTexts();
    if (txtAmount->text().isEmpty())
        txtAmount->setText("0.00");
    // Kept: the sign is written into the box. After a failure a second OK finds the negative amount there and turns
    // it back, so that the item is written as a deposit.
    if (chkPayment->isChecked())
        txtAmount->setText(vbrt::qt::CStr(vbrt::qt::CDbl(txtAmount->text()) * -1));
    if (windowTitle() == strAddCaption)
        AddItem(CurrentItem());
    else
        EditItem(CurrentItem());
    accept();
} catch (...) {
    ShowError();
}

void frmItem::cmdCancel_Click() {
    reject();
}

void frmItem::AddItem(udtItem itm) {
    Execute(ItemInsertSql(itm));
    itm.lngId = HighestId();
    objMain.AddItemRow(itm);
    if (itm.strTransferEnvelope.isEmpty())
        return;
    // Kept: the id of the other half is predicted, not read back; new rows are numbered one above the last.
    itm.lngTransferId = itm.lngId + 1;
    SetTransferId(itm.lngId, itm.lngTransferId);
    Execute(ItemInsertSql(PartnerOf(itm, itm.lngTransferId)));
}

void frmItem::EditItem(udtItem itm) {
    Execute(ItemUpdateSql(itm));
    objMain.UpdateItemRow(itm);
    const bool blnBefore = !itmLoaded.strTransferEnvelope.isEmpty();
    const bool blnAfter = !itm.strTransferEnvelope.isEmpty();
    if (!blnBefore && blnAfter) {
        Execute(ItemInsertSql(PartnerOf(itm, 0)));
        SetTransferId(itm.lngId, HighestId());
    } else if (blnBefore && blnAfter) {
        Execute(ItemUpdateSql(PartnerOf(itm, itmLoaded.lngTransferId)));
    } else if (blnBefore) {
        Execute("delete * from tbl_items where id = " + QString::number(itm.lngTransferId));
        SetTransferId(itm.lngId, 0);
    }
}
