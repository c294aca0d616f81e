// SPDX-License-Identifier: MIT
// The window "Reports": chooses one of four reports, an envelope, a date range and up to two sort fields, and previews
// or prints the report.
#pragma once

#include <QDialog>

#include "reports/basReports.h"
#include "ui_frmReports.h"

class frmReports : public QDialog, private Ui::frmReports {
    Q_OBJECT

 public:
    explicit frmReports(QWidget* frmOwner);

 private:
    void Form_Load();
    [[nodiscard]] ReportCriteria Criteria() const;
    void ShowChosenReport(bool blnPreview);

    void lstReports_Click();
    void cboDateRanges_Click();
    void dtpDates_Change();
    void cboSorts1_Click();
    void cboSorts2_Click();
    void cmdPreview_Click();
    void cmdPrint_Click();
    void cmdClose_Click();
};
