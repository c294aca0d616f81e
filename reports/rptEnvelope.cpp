// SPDX-License-Identifier: MIT
// Envelope Report: the items of each envelope under its name, with a total for each.
#include "reports/basDesigns.h"

using namespace datareport;

Design rptEnvelope() {
    const ReportColumns cols = {
        {"Date", "txtItemDate", "item_date", strReportDate, 0, 66, Align::Left, 1, false, true},
        {"Number", "txtItemNum", "item_num", "", 68, 42, Align::Left, kAllLines},
        {"Payee", "txtPayee", "payee", "", 112, 142, Align::Left, kAllLines},
        {"R", "txtReconciled", "reconciled", "", 256, 14, Align::Center},
        {"Amount", "txtAmount", "amount", "#,##0.00;(#,##0.00)", 272, 100, Align::Decimal, 1, true},
        {"Comment", "txtComment", "comment", "", 386, 137, Align::Left, kAllLines},
    };
    return {
        .name = "rptEnvelope",
        .title = "Envelope Report",
        .childMember = "cmdEnvelope",
        .orientation = Orientation::Portrait,
        .width = dblPortraitWidth,
        .bands = {
            {Band::ReportHeader, 0, {}},
            PageHeader(dblPortraitWidth, cols),
            {Band::GroupHeader,
             18,
             {textBox("txtEnvelope", "envelope", "", {0, 2, dblPortraitWidth}, {Align::Left, 10, true, kAllLines})}},
            DetailRow(cols),
            Totals(Band::GroupFooter, dblPortraitWidth, "Total", cols),
            {Band::PageFooter, 0, {}},
            {Band::ReportFooter, 0, {}},
        }};
}
