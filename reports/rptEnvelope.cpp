// SPDX-License-Identifier: MIT
// Envelope Report: the items of each envelope under its name, with a total for each.
#include "reports/basDesigns.h"

using namespace datareport;

Design rptEnvelope() {
    const ReportColumn colDate{"Date", 0, 66};
    const ReportColumn colNumber{"Number", 68, 42};
    const ReportColumn colPayee{"Payee", 112, 160, Align::Left, 3};
    const ReportColumn colReconciled{"R", 274, 14, Align::Center};
    const ReportColumn colAmount{"Amount", 290, 82, Align::Decimal};
    const ReportColumn colComment{"Comment", 386, 137, Align::Left, 3};
    const std::vector<ReportColumn> cols = {colDate, colNumber, colPayee, colReconciled, colAmount, colComment};
    return {.name = "rptEnvelope",
            .title = "Envelope Report",
            .childMember = "cmdEnvelope",
            .orientation = Orientation::Portrait,
            .width = dblPortraitWidth,
            .bands = {
                {Band::ReportHeader, 0, {}},
                PageHeader(dblPortraitWidth, cols),
                {Band::GroupHeader,
                 18,
                 {textBox("txtEnvelope", "envelope", "", {0, 2, dblPortraitWidth}, {Align::Left, 10, true, 1})}},
                {Band::Detail,
                 14,
                 {
                     textBox("txtItemDate", "item_date", strReportDate, colDate.At(0), colDate.Text()),
                     textBox("txtItemNum", "item_num", "", colNumber.At(0), colNumber.Text()),
                     textBox("txtPayee", "payee", "", colPayee.At(0), colPayee.Text()),
                     textBox("txtReconciled", "reconciled", "", colReconciled.At(0), colReconciled.Text()),
                     textBox("txtAmount", "amount", "#,##0.00;(#,##0.00)", colAmount.At(0), colAmount.Text()),
                     textBox("txtComment", "comment", "", colComment.At(0), colComment.Text()),
                 }},
                Totals(Band::GroupFooter, dblPortraitWidth, "Total", cols, {"", "", "", "", "amount", ""}),
                {Band::PageFooter, 0, {}},
                {Band::ReportFooter, 0, {}},
            }};
}
