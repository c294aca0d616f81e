// SPDX-License-Identifier: MIT
// The four reports as one reads them on paper: bands, controls, columns and formats.
//
// Envelope, Summary and Stuffer are portrait, Items is landscape. Every page header holds the labels lblEnvelope and
// lblDateRange, which whoever shows a report fills with its criteria.
#pragma once

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

// A column: its heading, the text box below it, and whether it is added up.
struct ReportColumn {
    const char* strHeading;
    const char* strName;   // of the text box
    const char* strField;  // the query's column that it shows
    const char* strFormat;
    double dblLeft;
    double dblWidth;
    datareport::Align align = datareport::Align::Left;
    int intLines = 1;  // kAllLines for a text that wraps as far as it needs
    bool blnTotal = false;
    bool blnRepeats = false;  // shown again where a row goes on over the end of a page

    [[nodiscard]] datareport::Place At(double dblTop) const { return {dblLeft, dblTop, dblWidth}; }
    [[nodiscard]] datareport::Style Text(bool blnBold) const { return {align, 9, blnBold, blnBold ? 1 : intLines}; }
};
using ReportColumns = std::vector<ReportColumn>;

// Date, page number, product, title, criteria, and the headings over their columns.
datareport::BandDesign PageHeader(double dblWidth, const ReportColumns& cols);
// The text boxes of one row.
datareport::BandDesign DetailRow(const ReportColumns& cols);
// A line, `strCaption`, and the sums of the columns that have one: Function1, Function2 and so on.
datareport::BandDesign Totals(datareport::Band band, double dblWidth, const QString& strCaption,
                              const ReportColumns& cols);

// A report of one list: the page header, the rows, and `strCaption` with the sums at the end.
datareport::Design ListReport(const QString& strName, const QString& strTitle, datareport::Orientation ori,
                              double dblWidth, const QString& strCaption, const ReportColumns& cols);
