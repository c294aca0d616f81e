// SPDX-License-Identifier: MIT
// Summary Report: budget, deposits, payments and balance of each envelope, with their totals.
#include "reports/basDesigns.h"

using namespace datareport;

Design rptSummary() {
    const ReportColumns cols = {
        {"Envelope", "txtEnvelope", "envelope", "", 0, 121, Align::Left, kAllLines},
        {"Budget", "txtBudget", "budget", strReportMoney, 127, 96, Align::Right, 1, true},
        {"Deposits", "txtDeposits", "deposits", strReportMoney, 227, 96, Align::Right, 1, true},
        {"Payments", "txtPayments", "payments", strReportMoney, 327, 96, Align::Right, 1, true},
        {"Balance", "txtBalance", "balance", strReportMoney, 427, 96, Align::Right, 1, true},
    };
    return ListReport("rptSummary", "Summary Report", Orientation::Portrait, dblPortraitWidth, "Totals", cols);
}
