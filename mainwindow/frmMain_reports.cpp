// SPDX-License-Identifier: MIT
// What the main window shows on paper and about itself: Print, Print Preview, Reports, Help, About.
#include "db/basMain.h"
#include "help/basHelp.h"
#include "help/frmAbout.h"
#include "mainwindow/frmMain.h"
#include "reports/basReports.h"
#include "reports/basShowReport.h"
#include "reports/frmReports.h"

// The report of what is selected in the tree, in the order of the list.
void frmMain::ShowSelected(bool blnPreview) {
    const QString strOrderBy = " order by " + strSortField + " " + strSortOrder;
    ReportRequest rpt;
    if (RootSelected()) {
        rpt.strReport = "Items";
        rpt.strSql = "select * from tbl_items" + strOrderBy;
    } else {
        rpt.strReport = "Envelope";
        rpt.strSql = EnvelopeShapeSql(" where envelope = '" + SqlQuote(strEnvelope) + "'" + strOrderBy);
        rpt.strEnvelope = strEnvelope;
    }
    ShowReport(this, rpt, blnPreview);
}

void frmMain::mnuFilePreview_Click() try { ShowSelected(true); } catch (...) {
    ShowError();
}

void frmMain::mnuFilePrint_Click() try { ShowSelected(false); } catch (...) {
    ShowError();
}

void frmMain::mnuToolsReports_Click() try {
    frmReports frm(this);
    frm.exec();
} catch (...) {
    ShowError();
}

// F1: the contents with the page about this window.
void frmMain::ShowHelp() {
    ShowHelpTopic(this, "MainWindow.htm");
}

void frmMain::mnuHelpContents_Click() {
    ShowHelpContents(this);
}

void frmMain::mnuHelpIndex_Click() {
    ShowHelpIndex(this);
}

void frmMain::mnuHelpLicense_Click() {
    ShowHelpTopic(this, "License.htm");
}

void frmMain::mnuHelpAbout_Click() try {
    frmAbout frm(this);
    frm.exec();
} catch (...) {
    ShowError();
}
