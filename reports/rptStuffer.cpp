// SPDX-License-Identifier: MIT
// Stuffer Report: what each envelope holds, what its budget would add, and what it would hold then.
#include "reports/basDesigns.h"

using namespace datareport;

Design rptStuffer() {
    const ReportColumns cols = {
        {"Envelope", "txtEnvelope", "envelope", "", 0, 196, Align::Left, kAllLines},
        {"Budget", "txtBudget", "budget", strReportMoney, 202, 100, Align::Right, 1, true},
        // Kept: the names of the last two come from the Summary Report.
        {"Current Bal", "txtDeposits", "current_balance", strReportMoney, 312, 100, Align::Right, 1, true},
        {"New Bal", "txtPayments", "new_balance", strReportMoney, 423, 100, Align::Right, 1, true},
    };
    return ListReport("rptStuffer", "Stuffer Report", Orientation::Portrait, dblPortraitWidth, "Totals", cols);
}
