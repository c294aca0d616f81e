// SPDX-License-Identifier: MIT
// Stuffer Report: what each envelope holds, what its budget would add, and what it would hold then.
#include "reports/basDesigns.h"

using namespace datareport;

Design rptStuffer() {
    const ReportColumn colEnvelope{"Envelope", 0, 196, Align::Left, 2};
    const ReportColumn colBudget{"Budget", 202, 100, Align::Right};
    const ReportColumn colCurrentBal{"Current Bal", 312, 100, Align::Right};
    const ReportColumn colNewBal{"New Bal", 423, 100, Align::Right};
    const std::vector<ReportColumn> cols = {colEnvelope, colBudget, colCurrentBal, colNewBal};
    return {
        .name = "rptStuffer",
        .title = "Stuffer Report",
        .orientation = Orientation::Portrait,
        .width = dblPortraitWidth,
        .bands = {
            {Band::ReportHeader, 0, {}},
            PageHeader(dblPortraitWidth, cols),
            // Kept: the names of the last two come from the Summary Report.
            {Band::Detail,
             14,
             {
                 textBox("txtEnvelope", "envelope", "", colEnvelope.At(0), colEnvelope.Text()),
                 textBox("txtBudget", "budget", strReportMoney, colBudget.At(0), colBudget.Text()),
                 textBox("txtDeposits", "current_balance", strReportMoney, colCurrentBal.At(0), colCurrentBal.Text()),
                 textBox("txtPayments", "new_balance", strReportMoney, colNewBal.At(0), colNewBal.Text()),
             }},
            {Band::PageFooter, 0, {}},
            Totals(Band::ReportFooter, dblPortraitWidth, "Totals", cols,
                   {"", "budget", "current_balance", "new_balance"}),
        }};
}
