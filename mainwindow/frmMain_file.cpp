// SPDX-License-Identifier: MIT
// The file commands: New, Open, Close, Save As, Compact Database.
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include "ado/database_file.h"
#include "controls/hourglass.h"
#include "controls/message_box.h"
#include "db/basMain.h"
#include "mainwindow/basListView.h"
#include "mainwindow/frmMain.h"

namespace {

// Where the file dialogs start: the folder of the program, or, where nobody may write there, one's own.
QString ProgramFolder() {
    const QString strFolder = QCoreApplication::applicationDirPath();
    return QFileInfo(strFolder).isWritable() ? strFolder : QDir::homePath();
}

// A file of that name is replaced, but stays what it is until the new one is complete.
void WriteTemplate(const QString& strPath) {
    if (!QFile::exists(strPath)) {
        WriteResource("NEWDB", "CUSTOM", strPath);
        return;
    }
    const QString strPart = strPath + "-empty";
    QFile::remove(strPart);
    try {
        WriteResource("NEWDB", "CUSTOM", strPart);
        ado::replaceDatabaseFile(strPart, strPath);
    } catch (...) {
        QFile::remove(strPart);
        throw;
    }
}

QString CaptionOf(const QString& strTitle) {
    return QCoreApplication::applicationName() + " - " + strTitle;
}

}  // namespace

void frmMain::CloseBudget() {
    lvwItems->clearHeaderArrow();
    objDatabase.reset();
    strDatabasePath.clear();
    strDatabaseTitle.clear();
    tvwEnvelopes->clearNodes();
    lvwItems->clear();
    lblEnvelopes->clear();
    lblItems->clear();
    strEnvelope.clear();
    blnEnvelope = false;
    lblPanel2->setText("0 Envelope(s)");
    lblPanel3->setText("0 Item(s)");
    SetAppState();
}

// Kept: the caption of the window goes on naming the file that was closed.
void frmMain::mnuFileClose_Click() try { CloseBudget(); } catch (...) {
    ShowError();
}

void frmMain::ShowOpenedBudget() {
    setWindowTitle(CaptionOf(strDatabaseTitle));
    strSortField = "item_date";
    strSortOrder = "asc";
    LoadEnvelopes();
    ShowHeaderArrow(*lvwItems, 0, false);
    // The whole budget is what one sees first: the root is selected and its items are listed.
    tvwEnvelopes->selectNode(1);
    LoadItems();
    RefreshBalances();
    SetAppState();
}

void frmMain::mnuFileOpen_Click() try {
    dlgFile.filter = "Coinvale (*.mdb)|*.mdb|All Files (*.*)|*.*";
    dlgFile.flags = controls::kPathMustExist | controls::kHideReadOnly;
    dlgFile.defaultExt = ".mdb";
    dlgFile.initDir = ProgramFolder();
    dlgFile.showOpen();
    if (dlgFile.fileTitle.isEmpty() || dlgFile.fileName == strDatabasePath)
        return;

    CloseBudget();
    strDatabasePath = dlgFile.fileName;
    strDatabaseTitle = dlgFile.fileTitle;
    {
        controls::Hourglass hourglass;
        objDatabase = std::make_unique<clsDatabase>();
        if (blnDatabaseOpen)
            ShowOpenedBudget();
    }
    if (objDatabase->Unrepaired())
        controls::MsgBox(this,
                         "'" + strDatabaseTitle +
                             "' was not closed properly and cannot be put in order now, because the disk is full or "
                             "the file may not be written. Everything is there, but cannot be changed. Make room, "
                             "then close and open it again.",
                         controls::MsgIcon::Information);
} catch (...) {
    SetAppState();  // a budget that could not be shown is open: it can be closed or copied
    ShowError();
}

void frmMain::mnuFileNew_Click() try {
    dlgFile.dialogTitle = "New Coinvale Database";
    dlgFile.fileName.clear();
    // Kept: the blanks around the bar.
    dlgFile.filter = "Coinvale Databases (*.mdb) | *.mdb";
    dlgFile.flags = controls::kOverwritePrompt | controls::kHideReadOnly;
    dlgFile.defaultExt = ".mdb";
    dlgFile.initDir = ProgramFolder();
    dlgFile.showSave();
    if (dlgFile.fileName == strDatabasePath || dlgFile.fileName.isEmpty())
        return;

    controls::Hourglass hourglass;
    CloseBudget();
    WriteTemplate(dlgFile.fileName);
    strDatabasePath = dlgFile.fileName;
    strDatabaseTitle = dlgFile.fileTitle;
    // Kept: New makes no connection and the old one has been closed, so the new budget is not opened here. Since Open
    // ignores the file that is current, it can be opened after another one, or after the program is started again.
    if (blnDatabaseOpen)
        ShowOpenedBudget();
} catch (...) {
    ShowError();
}

void frmMain::mnuFileSaveAs_Click() try {
    dlgFile.filter = "Coinvale (*.mdb)|*.mdb";
    dlgFile.flags = controls::kOverwritePrompt | controls::kHideReadOnly;
    dlgFile.defaultExt = ".mdb";
    dlgFile.initDir = ProgramFolder();
    dlgFile.showSave();
    if (dlgFile.fileTitle.isEmpty() || dlgFile.fileName == strDatabasePath)
        return;

    controls::Hourglass hourglass;
    ado::copyDatabaseFile(strDatabasePath, dlgFile.fileName);
    // Kept: the connection stays with the file that was opened; only the caption, compaction and the reports, which go
    // by the path, use the copy from now on.
    strDatabasePath = dlgFile.fileName;
    strDatabaseTitle = dlgFile.fileTitle;
    setWindowTitle(CaptionOf(strDatabaseTitle));
} catch (...) {
    ShowError();
}

// The views are not reloaded: they keep showing what they showed.
void frmMain::mnuToolsCompact_Click() try {
    if (!objDatabase)
        return;
    if (objDatabase->CompactDatabase())
        controls::MsgBox(this, "Successfully compacted the '" + strDatabaseTitle + "' database.",
                         controls::MsgIcon::Information, controls::MsgButtons::Ok, "Compact Database");
    else
        CloseBudget();  // the connection is closed already; the window follows, so that Open takes the same file
} catch (...) {
    ShowError();
}
