// SPDX-License-Identifier: MIT
// Shows or prints one of the four reports over a query.
#pragma once

#include <QString>
#include <memory>

#include "datareport/rows.h"

class QWidget;
namespace ado {
class Recordset;
}

struct ReportRequest {
    QString strReport;     // "Envelope", "Items", "Stuffer" or "Summary"
    QString strSql;        // of "Envelope" a shape, which gets a connection of its own; else it runs on the open one
    QString strEnvelope;   // shown in the page header; empty: the designed "All Envelopes"
    QString strDateRange;  // likewise; empty: "All Dates"
};

// The preview is modal and owned by `frmOwner`; printing asks nothing. Throws what the query and the printer throw.
void ShowReport(QWidget* frmOwner, const ReportRequest& rpt, bool blnPreview);

// A recordset as the rows of a report.
std::unique_ptr<datareport::Rows> ReportRows(std::shared_ptr<ado::Recordset> rst);
