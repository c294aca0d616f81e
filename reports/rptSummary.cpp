// SPDX-License-Identifier: MIT
// Summary Report: budget, deposits, payments and balance of each envelope, with their totals.
#include "reports/basDesigns.h"

using namespace datareport;

Design rptSummary() {
    const ReportColumns cols = {
        {"Envelope", "txtEnvelope", "envelope", "", 0, 160, Align::Left, kAllLines},
        {"Budget", "txtBudget", "budget", strReportMoney, 166, 84, Align::Right, 1, true},
        {"Deposits", "txtDeposits", "deposits", strReportMoney, 257, 84, Align::Right, 1, true},
        {"Payments", "txtPayments", "payments", strReportMoney, 348, 84, Align::Right, 1, true},
        {"Balance", "txtBalance", "balance", strReportMoney, 439, 84, Align::Right, 1, true},
    };
    return ListReport("rptSummary", "Summary Report", Orientation::Portrait, dblPortraitWidth, "Totals", cols);
}
