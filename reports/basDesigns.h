// SPDX-License-Identifier: MIT
// The four reports as one reads them on paper: bands, controls, columns and formats.
//
// Envelope, Summary and Stuffer are portrait, Items is landscape. Every page header holds the labels lblEnvelope and
// lblDateRange, which whoever shows a report fills with its criteria.
#pragma once

#include <QStringList>
#include <vector>

#include "datareport/design.h"

datareport::Design rptEnvelope();
datareport::Design rptItems();
datareport::Design rptStuffer();
datareport::Design rptSummary();

// What the four have in common.
inline constexpr char strReportMoney[] = "\"$\"#,##0.00";
inline constexpr char strReportDate[] = "MM/dd/yyyy";
inline constexpr double dblPortraitWidth = 523;   // what A4 has between margins of half an inch
inline constexpr double dblLandscapeWidth = 720;  // what US Letter has

// A column: its heading and the place and style of everything in it.
struct ReportColumn {
    const char* strHeading;
    double dblLeft;
    double dblWidth;
    datareport::Align align = datareport::Align::Left;
    int intLines = 1;  // a longer text is wrapped into so many

    [[nodiscard]] datareport::Place At(double dblTop) const { return {dblLeft, dblTop, dblWidth}; }
    [[nodiscard]] datareport::Style Text(bool blnBold = false) const { return {align, 9, blnBold, intLines}; }
};

// Date, page number, program, title, criteria, and the headings over their columns.
datareport::BandDesign PageHeader(double dblWidth, const std::vector<ReportColumn>& cols);
// The line above the totals, the label before them, and the sums; `strFields` are the columns' fields, empty for none.
datareport::BandDesign Totals(datareport::Band band, double dblWidth, const QString& strCaption,
                              const std::vector<ReportColumn>& cols, const QStringList& strFields);
