// SPDX-License-Identifier: MIT
// Items Report: every item in one list, with the total.
#include "reports/basDesigns.h"

using namespace datareport;

Design rptItems() {
    const ReportColumn colDate{"Date", 0, 66};
    const ReportColumn colNumber{"Number", 68, 46};
    const ReportColumn colPayee{"Payee", 118, 164, Align::Left, 3};
    const ReportColumn colReconciled{"R", 286, 14, Align::Center};
    const ReportColumn colAmount{"Amount", 304, 88, Align::Right};
    const ReportColumn colComment{"Comment", 406, 176, Align::Left, 3};
    const ReportColumn colEnvelope{"Envelope", 590, 130, Align::Left, 2};
    const std::vector<ReportColumn> cols = {colDate,   colNumber,  colPayee,   colReconciled,
                                            colAmount, colComment, colEnvelope};
    return {.name = "rptItems",
            .title = "Items Report",
            .orientation = Orientation::Landscape,
            .width = dblLandscapeWidth,
            .bands = {
                {Band::ReportHeader, 0, {}},
                PageHeader(dblLandscapeWidth, cols),
                {Band::Detail,
                 14,
                 {
                     textBox("txtItemDate", "item_date", strReportDate, colDate.At(0), colDate.Text()),
                     textBox("txtItemNum", "item_num", "", colNumber.At(0), colNumber.Text()),
                     textBox("txtPayee", "payee", "", colPayee.At(0), colPayee.Text()),
                     textBox("txtReconciled", "reconciled", "", colReconciled.At(0), colReconciled.Text()),
                     textBox("txtAmount", "amount", strReportMoney, colAmount.At(0), colAmount.Text()),
                     textBox("txtComment", "comment", "", colComment.At(0), colComment.Text()),
                     textBox("txtEnvelope", "envelope", "", colEnvelope.At(0), colEnvelope.Text()),
                 }},
                {Band::PageFooter, 0, {}},
                Totals(Band::ReportFooter, dblLandscapeWidth, "Total", cols, {"", "", "", "", "amount", "", ""}),
            }};
}
