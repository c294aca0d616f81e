// SPDX-License-Identifier: MIT
// The envelope tree: loading it, what is selected, and the commands that add, delete and rename envelopes.
#include <QKeyEvent>

#include "controls/hourglass.h"
#include "controls/message_box.h"
#include "db/basMain.h"
#include "ledger/frmEnvelope.h"
#include "ledger/frmStuffer.h"
#include "mainwindow/frmMain.h"

namespace {

constexpr char strRootKey[] = "r";
constexpr int intRoot = 1;

}  // namespace

bool frmMain::IsEnvelope(const QString& strName) {
    const auto rst = objDatabase->objCnn()->Execute("select count(*) from tbl_envelopes where envelope = '" +
                                                    SqlQuote(strName) + "'");
    const bool blnFound = rst->number(0) > 0;
    rst->Close();
    return blnFound;
}

void frmMain::LoadEnvelopes() try {
    controls::Hourglass hourglass;
    tvwEnvelopes->clearNodes();
    tvwEnvelopes->addNode("", strRootKey, "Envelopes", "folder_closed", "folder_open");
    const auto rst = objDatabase->objCnn()->Execute("select envelope from tbl_envelopes order by envelope");
    for (; !rst->AtEnd(); rst->MoveNext()) {
        const QString strName = rst->isNull(0) ? QString() : rst->text(0);
        tvwEnvelopes->addNode(strRootKey, strName, strName, "env_closed", "env_open");
    }
    rst->Close();
    tvwEnvelopes->expandNode(intRoot);
} catch (...) {
    // Kept: a tree that cannot be read to the end keeps the nodes added so far, without a message.
}

// Loading leaves no node selected. The item list still shows the items of strEnvelope, or of all envelopes, so that
// node is selected again: tree, strEnvelope and list go on naming the same thing.
void frmMain::ReloadEnvelopes() {
    const bool blnRoot = RootSelected();
    LoadEnvelopes();
    int intNode = blnRoot ? intRoot : tvwEnvelopes->nodeCount();
    while (intNode > intRoot && tvwEnvelopes->nodeText(intNode) != strEnvelope)
        --intNode;
    tvwEnvelopes->selectNode(intNode);
    tvwEnvelopes->ensureVisible(intNode);
}

void frmMain::mnuToolsStuffer_Click() try {
    frmStuffer frm(*this);
    frm.exec();
    if (frm.ItemsChanged())
        return ReloadItems();
    RefreshBalances();
    SetAppState();
} catch (...) {
    ShowError();
}

void frmMain::AddEnvelopeNode(const QString& strName) {
    const int intNode = tvwEnvelopes->addNode(strRootKey, strName, strName, "env_closed", "env_open");
    tvwEnvelopes->selectNode(intNode);
    tvwEnvelopes->ensureVisible(intNode);
}

void frmMain::mnuEnvelopeAdd_Click() try {
    const int intBefore = tvwEnvelopes->nodeCount();
    frmEnvelope frm(*this);
    frm.exec();
    if (tvwEnvelopes->nodeCount() > intBefore)
        tvwEnvelopes_NodeClick(tvwEnvelopes->selectedNode());
} catch (...) {
    ShowError();
}

void frmMain::mnuEnvelopeDelete_Click() try {
    const auto intAnswer = controls::MsgBox(
        this, "Are you sure you want to delete the envelope '" + strEnvelope + "' and all of its items?",
        controls::MsgIcon::Exclamation, controls::MsgButtons::YesNo, "Confirm Envelope Delete");
    if (intAnswer == controls::MsgAnswer::No)
        return;
    controls::Hourglass hourglass;
    ExecuteChange("delete * from tbl_envelopes where envelope = '" + SqlQuote(strEnvelope) + "'", "envelope");
    tvwEnvelopes->removeNode(tvwEnvelopes->selectedNode());
    tvwEnvelopes_NodeClick(tvwEnvelopes->selectedNode());
} catch (...) {
    ShowError();
}

void frmMain::mnuEnvelopeRename_Click() try { tvwEnvelopes->startLabelEdit(); } catch (...) {
    ShowError();
}

// The root is no envelope and has no name to change.
void frmMain::tvwEnvelopes_BeforeLabelEdit(bool& blnCancel) {
    blnCancel = RootSelected();
}

void frmMain::tvwEnvelopes_AfterLabelEdit(const QString& strNew, bool& blnCancel) try {
    if (strNew == strEnvelope) {
        blnCancel = true;
        return;
    }
    // Kept: the comparison above heeds letter case and this one does not, so a change of case alone is refused.
    if (IsEnvelope(strNew)) {
        controls::MsgBox(this,
                         "Cannot rename Envelope. An envelope with the name you specified already exists. "
                         "Specify a different envelope name.",
                         controls::MsgIcon::Critical, controls::MsgButtons::Ok, "Error renaming Envelope");
        blnCancel = true;
        return;
    }
    controls::Hourglass hourglass;
    ExecuteChange("update tbl_envelopes set envelope = '" + SqlQuote(strNew) + "' where envelope = '" +
                      SqlQuote(strEnvelope) + "'",
                  "envelope");
    strEnvelope = strNew;
    LoadItems();
    RefreshBalances();
} catch (...) {
    blnCancel = true;  // nothing was renamed, so the label stays
    ShowError();
}

void frmMain::tvwEnvelopes_NodeClick(int intNode) try {
    if (intNode == 0)
        return;
    const QString strSelected = intNode == intRoot ? QString() : tvwEnvelopes->nodeText(intNode);
    const bool blnSelected = intNode != intRoot;
    // A click that repeats the selection reloads nothing.
    if (strEnvelope == strSelected && blnEnvelope == blnSelected)
        return;
    tvwEnvelopes->ensureVisible(intNode);
    strEnvelope = strSelected;
    blnEnvelope = blnSelected;
    LoadItems();
    RefreshBalances();
    SetAppState();
} catch (...) {
    // Kept: selecting never shows a message.
}

// Kept: the root can never be closed.
void frmMain::tvwEnvelopes_Collapse(int intNode) try {
    if (intNode == intRoot)
        tvwEnvelopes->expandNode(intRoot);
} catch (...) {
    // Kept: quiet, as all events of the tree.
}

void frmMain::tvwEnvelopes_KeyDown(QKeyEvent* evt) try {
    if (!blnEnvelope)
        return;
    if (evt->key() == Qt::Key_Delete) {
        evt->accept();
        mnuEnvelopeDelete_Click();
    } else if (evt->key() == Qt::Key_F2) {
        evt->accept();
        mnuEnvelopeRename_Click();
    }
} catch (...) {
    // Kept: quiet, as all events of the tree.
}

void frmMain::tvwEnvelopes_MouseUp(const QPoint& pntGlobal) try { mnuEnvelope->popup(pntGlobal); } catch (...) {
    // Kept: quiet, as all events of the tree.
}
