// SPDX-License-Identifier: MIT
// Summary Report: budget, deposits, payments and balance of each envelope, with their totals.
#include "reports/basDesigns.h"

using namespace datareport;

Design rptSummary() {
    const ReportColumn colEnvelope{"Envelope", 0, 160, Align::Left, 2};
    const ReportColumn colBudget{"Budget", 166, 84, Align::Right};
    const ReportColumn colDeposits{"Deposits", 257, 84, Align::Right};
    const ReportColumn colPayments{"Payments", 348, 84, Align::Right};
    const ReportColumn colBalance{"Balance", 439, 84, Align::Right};
    const std::vector<ReportColumn> cols = {colEnvelope, colBudget, colDeposits, colPayments, colBalance};
    return {.name = "rptSummary",
            .title = "Summary Report",
            .orientation = Orientation::Portrait,
            .width = dblPortraitWidth,
            .bands = {
                {Band::ReportHeader, 0, {}},
                PageHeader(dblPortraitWidth, cols),
                {Band::Detail,
                 14,
                 {
                     textBox("txtEnvelope", "envelope", "", colEnvelope.At(0), colEnvelope.Text()),
                     textBox("txtBudget", "budget", strReportMoney, colBudget.At(0), colBudget.Text()),
                     textBox("txtDeposits", "deposits", strReportMoney, colDeposits.At(0), colDeposits.Text()),
                     textBox("txtPayments", "payments", strReportMoney, colPayments.At(0), colPayments.Text()),
                     textBox("txtBalance", "balance", strReportMoney, colBalance.At(0), colBalance.Text()),
                 }},
                {Band::PageFooter, 0, {}},
                Totals(Band::ReportFooter, dblPortraitWidth, "Totals", cols,
                       {"", "budget", "deposits", "payments", "balance"}),
            }};
}
