// SPDX-License-Identifier: MIT
#include "reports/basDesigns.h"

using namespace datareport;

BandDesign PageHeader(double dblWidth, const ReportColumns& cols) {
    const Style styRight{.align = Align::Right};
    const double dblHalf = dblWidth / 2;
    BandDesign bnd{Band::PageHeader,
                   106,
                   {
                       label("lblDate", "%d", {0, 0, 120}),
                       label("lblPage", "Page %p", {dblHalf - 60, 0, 120}, {.align = Align::Center}),
                       label("lblProduct", "Coinvale", {dblWidth - 120, 0, 120}, styRight),
                       label("lblTitle", "%i", {dblHalf - 200, 15, 400}, {Align::Center, 16, true, 1}),
                       label("lblEnvelopeCaption", "Envelope:", {0, 46, 62}, {.bold = true}),
                       label("lblEnvelope", "All Envelopes", {66, 46, dblWidth - 66}, {.lines = kAllLines}),
                       label("lblDateRangeCaption", "Date Range:", {0, 59, 62}, {.bold = true}),
                       label("lblDateRange", "All Dates", {66, 59, dblWidth - 66}),
                       rule("linTop", {0, 79, dblWidth}),
                       rule("linBottom", {0, 98, dblWidth}),
                   }};
    for (const ReportColumn& col : cols)
        bnd.controls.push_back(
            label(QString("lblHeading") + col.strHeading, col.strHeading, col.At(82), col.Text(true)));
    return bnd;
}

BandDesign DetailRow(const ReportColumns& cols) {
    BandDesign bnd{Band::Detail, 14, {}};
    for (const ReportColumn& col : cols) {
        bnd.controls.push_back(textBox(col.strName, col.strField, col.strFormat, col.At(0), col.Text(false)));
        bnd.controls.back().repeats = col.blnRepeats;
    }
    return bnd;
}

BandDesign Totals(Band band, double dblWidth, const QString& strCaption, const ReportColumns& cols) {
    BandDesign bnd{
        band, 22, {rule("linTotals", {0, 2, dblWidth}), label("lblTotal", strCaption, {0, 5, 60}, {.bold = true})}};
    int intFunction = 0;
    for (const ReportColumn& col : cols)
        if (col.blnTotal)
            bnd.controls.push_back(sum("Function" + QString::number(++intFunction), col.strField, strReportMoney,
                                       col.At(5), col.Text(true)));
    return bnd;
}

Design ListReport(const QString& strName, const QString& strTitle, Orientation ori, double dblWidth,
                  const QString& strCaption, const ReportColumns& cols) {
    return {.name = strName,
            .title = strTitle,
            .orientation = ori,
            .width = dblWidth,
            .bands = {
                {Band::ReportHeader, 0, {}},
                PageHeader(dblWidth, cols),
                DetailRow(cols),
                {Band::PageFooter, 0, {}},
                Totals(Band::ReportFooter, dblWidth, strCaption, cols),
            }};
}
