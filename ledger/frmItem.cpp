// SPDX-License-Identifier: MIT
#include "ledger/frmItem.h"

#include "controls/entry_rules.h"
#include "controls/hourglass.h"
#include "controls/list_view.h"
#include "db/basMain.h"
#include "help/basHelp.h"
#include "ledger/basAmountFilter.h"
#include "mainwindow/frmMain.h"
#include "vbrt/qstring.h"

namespace {

constexpr char strAddCaption[] = "Add Item";

int HighestId() {
    const auto rst = objDatabase->objCnn()->Execute("select max(id) from tbl_items");
    const int lngId = static_cast<int>(rst->number(0));
    rst->Close();
    return lngId;
}

void SetTransferId(int lngId, int lngTransferId) {
    ExecuteChange("update tbl_items set transfer_id = " + QString::number(lngTransferId) +
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
    controls::applyEntryRules(this);
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
    itmLoaded.strItemDate = lvw.text(intRow, 0);
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
        itmLoaded.strTransferEnvelope = rst->isNull("envelope") ? QString() : rst->text("envelope");
        itmLoaded.blnTransfer = true;
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
    // A half whose envelope is not offered, as in a budget where both halves are in one, would look like no transfer.
    if (itmLoaded.blnTransfer && TransferIndex() == 0)
        cboTransfer->addItem(itmLoaded.strTransferEnvelope);
}

// The entry of the loaded item's other half, 0 when it is not there. An old budget may have an envelope without a name.
int frmItem::TransferIndex() const {
    int intIndex = cboTransfer->count() - 1;
    while (intIndex > 0 && cboTransfer->itemText(intIndex) != itmLoaded.strTransferEnvelope)
        --intIndex;
    return intIndex;
}

void frmItem::ShowItem() {
    txtEnvelope->setText(itmLoaded.strEnvelope);
    dtpItemDate->setDate(itmLoaded.strItemDate.isEmpty() ? QDate() : vbrt::qt::CDate(itmLoaded.strItemDate));
    dtpItemDate->lineEdit()->selectAll();
    txtItemNum->setText(itmLoaded.strItemNum);
    txtPayee->setText(itmLoaded.strPayee);
    chkReconciled->setChecked(itmLoaded.strReconciled == "*");
    txtAmount->setText(vbrt::qt::Format(qAbs(itmLoaded.dblAmount), "###0.00"));
    const bool blnPayment = itmLoaded.dblAmount <= 0;
    chkPayment->setChecked(blnPayment);
    chkDeposit->setChecked(!blnPayment);
    txtComment->setPlainText(itmLoaded.strComment);
    if (itmLoaded.blnTransfer)
        cboTransfer->setCurrentIndex(TransferIndex());
}

void frmItem::chkDeposit_Click() {
    chkPayment->setChecked(!chkDeposit->isChecked());
}

void frmItem::chkPayment_Click() {
    chkDeposit->setChecked(!chkPayment->isChecked());
}

// What nobody has typed stays as it was loaded.
void frmItem::TrimTexts() {
    for (QLineEdit* txtBox : {txtEnvelope, txtItemNum, txtPayee, txtAmount}) {
        const QString strTrimmed = TrimBlanks(txtBox->text());
        if (strTrimmed == txtBox->text())
            continue;
        const bool blnTyped = txtBox->isModified();
        txtBox->setText(strTrimmed);
        txtBox->setModified(blnTyped);
    }
    if (txtComment->document()->isModified() && TypedComment() != TrimBlanks(TypedComment())) {
        txtComment->setPlainText(TrimBlanks(TypedComment()));
        txtComment->document()->setModified();
    }
}

// With its no-break spaces, which toPlainText() would turn into blanks.
QString frmItem::TypedComment() const {
    return txtComment->document()
        ->toRawText()
        .replace(QChar::ParagraphSeparator, u'\n')
        .replace(QChar::LineSeparator, u'\n');
}

udtItem frmItem::CurrentItem() const {
    udtItem itm;
    itm.dblAmount = vbrt::qt::CDbl(txtAmount->text());
    itm.lngId = itmLoaded.lngId;
    itm.lngTransferId = itmLoaded.lngTransferId;
    // Lines end in the file as they always have there.
    itm.strComment = txtComment->document()->isModified() ? TypedComment().replace("\n", "\r\n") : itmLoaded.strComment;
    itm.strEnvelope = itmLoaded.strEnvelope;  // the box shows it without the blanks that its name may have
    itm.strItemDate = dtpItemDate->date().isNull() ? QString() : vbrt::qt::CStr(dtpItemDate->date());
    itm.strItemNum = txtItemNum->isModified() ? txtItemNum->text() : itmLoaded.strItemNum;
    itm.strPayee = txtPayee->isModified() ? txtPayee->text() : itmLoaded.strPayee;
    itm.strReconciled = chkReconciled->isChecked() ? "*" : "";
    itm.strTransferEnvelope = cboTransfer->currentText();
    itm.blnTransfer = cboTransfer->currentIndex() > 0;
    return itm;
}

void frmItem::cmdOk_Click() try {
    if (!dtpItemDate->interpretText())
        return;
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
    objMain.ShowItemError();
}

void frmItem::cmdCancel_Click() {
    reject();
}

void frmItem::AddItem(udtItem itm) {
    ExecuteChange(ItemInsertSql(itm));
    itm.lngId = HighestId();
    objMain.AddItemRow(itm);
    if (!itm.blnTransfer)
        return;
    // Kept: the id of the other half is predicted, not read back; new rows are numbered one above the last.
    itm.lngTransferId = itm.lngId + 1;
    SetTransferId(itm.lngId, itm.lngTransferId);
    ExecuteChange(ItemInsertSql(PartnerOf(itm, itm.lngTransferId)));
}

void frmItem::EditItem(udtItem itm) {
    ExecuteChange(ItemUpdateSql(itm));
    objMain.UpdateItemRow(itm);
    if (!itmLoaded.blnTransfer && itm.blnTransfer) {
        ExecuteChange(ItemInsertSql(PartnerOf(itm, 0)));
        SetTransferId(itm.lngId, HighestId());
    } else if (itmLoaded.blnTransfer && itm.blnTransfer) {
        ExecuteChange(ItemUpdateSql(PartnerOf(itm, itmLoaded.lngTransferId)));
    } else if (itmLoaded.blnTransfer) {
        ExecuteChange("delete * from tbl_items where id = " + QString::number(itm.lngTransferId));
        SetTransferId(itm.lngId, 0);
    }
}
