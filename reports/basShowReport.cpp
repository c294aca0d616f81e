// SPDX-License-Identifier: MIT
#include "reports/basShowReport.h"

#include "ado/connection.h"
#include "ado/recordset.h"
#include "controls/hourglass.h"
#include "datareport/data_report.h"
#include "db/basMain.h"
#include "help/basHelp.h"
#include "reports/basReports.h"

namespace {

// A recordset as the rows of a report.
class clsReportRows : public datareport::Rows {
 public:
    explicit clsReportRows(std::shared_ptr<ado::Recordset> rst) : objRst(std::move(rst)) {}

    int column(const QString& name) override { return objRst->fieldIndex(name); }
    bool next() override {
        if (blnStarted && !objRst->AtEnd())
            objRst->MoveNext();
        blnStarted = true;
        return !objRst->AtEnd();
    }
    QVariant value(int column) override { return objRst->Value(column); }
    std::unique_ptr<Rows> children(int column) override {
        return std::make_unique<clsReportRows>(objRst->chapter(column));
    }

 private:
    std::shared_ptr<ado::Recordset> objRst;  // shared with whoever closes it when the report is done
    bool blnStarted = false;
};

}  // namespace

std::unique_ptr<datareport::Rows> ReportRows(std::shared_ptr<ado::Recordset> rst) {
    return std::make_unique<clsReportRows>(std::move(rst));
}

void ShowReport(QWidget* frmOwner, const ReportRequest& rpt, bool blnPreview) {
    ado::Connection cnnShape;  // closes at the end, with its recordset
    std::shared_ptr<ado::Recordset> rst;
    {
        const controls::Hourglass hourglass;
        if (rpt.strReport == "Envelope") {
            cnnShape.setProvider("MSDataShape");
            cnnShape.Open(ShapeConnectionString(), QString(), QString(), -1);
            rst = cnnShape.Execute(rpt.strSql);
        } else {
            rst = objDatabase->objCnn()->Execute(rpt.strSql);
        }
    }
    datareport::DataReport objReport(ReportDesign(rpt.strReport));
    objReport.setDataSource(ReportRows(rst));
    if (!rpt.strEnvelope.isEmpty())
        objReport.setCaption(datareport::Band::PageHeader, "lblEnvelope", rpt.strEnvelope);
    if (!rpt.strDateRange.isEmpty())
        objReport.setCaption(datareport::Band::PageHeader, "lblDateRange", rpt.strDateRange);
    objReport.setHelp([](QWidget* frmPreview) { ShowHelpTopic(frmPreview, "Reports.htm#preview"); });
    if (blnPreview)
        objReport.Show(frmOwner);
    else
        objReport.PrintReport(frmOwner);
}
