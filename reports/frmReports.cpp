// SPDX-License-Identifier: MIT
#include "reports/frmReports.h"

#include <QScreen>
#include <QSignalBlocker>

#include "controls/entry_rules.h"
#include "db/basMain.h"
#include "help/basHelp.h"
#include "reports/basShowReport.h"
#include "vbrt/qstring.h"

frmReports::frmReports(QWidget* frmOwner) : QDialog(frmOwner) {
    setupUi(this);
    connect(lstReports, &QListWidget::currentRowChanged, this, &frmReports::lstReports_Click);
    connect(lstReports, &QListWidget::itemDoubleClicked, this, &frmReports::cmdPreview_Click);
    connect(cboDateRanges, &QComboBox::activated, this, &frmReports::cboDateRanges_Click);
    connect(dtpFromDate, &controls::DatePicker::dateChanged, this, &frmReports::dtpDates_Change);
    connect(dtpToDate, &controls::DatePicker::dateChanged, this, &frmReports::dtpDates_Change);
    connect(cboSorts1, &QComboBox::activated, this, &frmReports::cboSorts1_Click);
    connect(cboSorts2, &QComboBox::activated, this, &frmReports::cboSorts2_Click);
    connect(cmdPreview, &QPushButton::clicked, this, &frmReports::cmdPreview_Click);
    connect(cmdPrint, &QPushButton::clicked, this, &frmReports::cmdPrint_Click);
    connect(cmdClose, &QPushButton::clicked, this, &frmReports::cmdClose_Click);
    ConnectHelp(this, cmdHelp, "Reports.htm");
    controls::applyEntryRules(this);
    // The boxes of both frames begin at one line.
    int intCaptions = 0;
    for (const QLabel* lblCaption : {lblLabels_2, lblLabels_3, lblLabels_4, lblLabels_5, lblLabels_6, lblLabels_7})
        intCaptions = qMax(intCaptions, lblCaption->sizeHint().width());
    lytSelect->setColumnMinimumWidth(0, intCaptions);
    lytSort->setColumnMinimumWidth(0, intCaptions);
    Form_Load();
    if (sizeHint().width() > screen()->availableGeometry().width()) {  // a small screen and large letters
        cboEnvelopes->setMinimumContentsLength(1);
        lstReports->setMinimumWidth(lstReports->sizeHintForColumn(0) + 2 * lstReports->frameWidth());
        lstReports->setMaximumWidth(lstReports->minimumWidth());
    }
}

void frmReports::Form_Load() try {
    cboDateRanges->addItems(DateRangeCaptions());
    for (controls::DatePicker* dtp : {dtpFromDate, dtpToDate}) {
        const QSignalBlocker blkQuiet(dtp);
        dtp->setDate(vbrt::qt::Today());
    }
    cboDateRanges_Click();
    lstReports->addItems(ReportCaptions());
    lstReports->setCurrentRow(0);
    cboEnvelopes->addItem(strAllEnvelopes);
    const auto rst = objDatabase->objCnn()->Execute("select envelope from tbl_envelopes order by envelope");
    for (; !rst->AtEnd(); rst->MoveNext())
        cboEnvelopes->addItem(rst->text(0));
} catch (...) {
    ShowError();
}

void frmReports::lstReports_Click() try {
    const QString strReport = lstReports->currentItem()->text();
    const auto [strSort1, strSort2] = DefaultSorts(strReport);
    for (QComboBox* cbo : {cboSorts1, cboSorts2}) {
        cbo->clear();
        cbo->addItems(SortCaptions(strReport));
    }
    cboSorts1->setCurrentText(strSort1);
    cboSorts2->setCurrentText(strSort2);
} catch (...) {
    ShowError();
}

void frmReports::cboDateRanges_Click() try {
    const QString strRange = cboDateRanges->currentText();
    if (const auto rngDates = DateRange(strRange, vbrt::qt::Today())) {
        const QSignalBlocker blkFrom(dtpFromDate);
        const QSignalBlocker blkTo(dtpToDate);
        dtpFromDate->setDate(rngDates->first);
        dtpToDate->setDate(rngDates->second);
    }
    dtpFromDate->setEnabled(strRange != strAllDates);
    dtpToDate->setEnabled(strRange != strAllDates);
} catch (...) {
    ShowError();
}

void frmReports::dtpDates_Change() {
    cboDateRanges->setCurrentText(strCustomDates);
}

// A secondary sort never stands without a primary one.
void frmReports::cboSorts1_Click() {
    if (cboSorts1->currentText().isEmpty())
        cboSorts2->setCurrentIndex(0);
}

void frmReports::cboSorts2_Click() {
    if (cboSorts1->currentText().isEmpty() && !cboSorts2->currentText().isEmpty()) {
        cboSorts1->setCurrentText(cboSorts2->currentText());
        cboSorts2->setCurrentIndex(0);
    }
}

ReportCriteria frmReports::Criteria() const {
    ReportCriteria crt;
    crt.strReport = lstReports->currentItem()->text();
    crt.strEnvelope = cboEnvelopes->currentText();
    crt.strDateRange = cboDateRanges->currentText();
    crt.dtmFrom = dtpFromDate->date();
    crt.dtmTo = dtpToDate->date();
    crt.strSort1 = cboSorts1->currentText();
    crt.strSort2 = cboSorts2->currentText();
    crt.blnSort1Asc = optSort1Asc->isChecked();
    crt.blnSort2Asc = optSort2Asc->isChecked();
    return crt;
}

void frmReports::ShowChosenReport(bool blnPreview) {
    if (!dtpFromDate->interpretText() || !dtpToDate->interpretText())
        return;
    const ReportCriteria crt = Criteria();
    ReportRequest rpt;
    rpt.strReport = crt.strReport;
    rpt.strSql = ReportSql(crt);
    if (crt.strEnvelope != strAllEnvelopes)
        rpt.strEnvelope = crt.strEnvelope;
    if (crt.strDateRange != strAllDates)
        rpt.strDateRange = vbrt::qt::CStr(crt.dtmFrom) + " - " + vbrt::qt::CStr(crt.dtmTo);
    ShowReport(this, rpt, blnPreview);
}

void frmReports::cmdPreview_Click() try { ShowChosenReport(true); } catch (...) {
    ShowError();
}

void frmReports::cmdPrint_Click() try { ShowChosenReport(false); } catch (...) {
    ShowError();
}

void frmReports::cmdClose_Click() {
    reject();
}
