// SPDX-License-Identifier: MIT
// Items Report: every item in one list, with the total.
#include "reports/basDesigns.h"

using namespace datareport;

Design rptItems() {
    const ReportColumns cols = {
        {"Date", "txtItemDate", "item_date", strReportDate, 0, 66, Align::Left, 1, false, true},
        {"Number", "txtItemNum", "item_num", "", 68, 46, Align::Left, kAllLines},
        {"Payee", "txtPayee", "payee", "", 118, 150, Align::Left, kAllLines},
        {"R", "txtReconciled", "reconciled", "", 272, 14, Align::Center},
        {"Amount", "txtAmount", "amount", strReportMoney, 290, 102, Align::Right, 1, true},
        {"Comment", "txtComment", "comment", "", 406, 176, Align::Left, kAllLines},
        {"Envelope", "txtEnvelope", "envelope", "", 590, 130, Align::Left, kAllLines},
    };
    return ListReport("rptItems", "Items Report", Orientation::Landscape, dblLandscapeWidth, "Total", cols);
}
