// SPDX-License-Identifier: MIT
// A report described as bands with controls: what stands where, bound to which column, shown in which format.
//
//     const Design kBalances = {
//         .name = "rptBalances", .title = "Balances", .orientation = Orientation::Portrait, .width = 520,
//         .bands = {
//             {Band::PageHeader, 30, {label("lblName", "Envelope", {0, 4, 200}, kHeading)}},
//             {Band::Detail, 14, {textBox("txtName", "envelope", "", {0, 0, 200}),
//                                 textBox("txtBalance", "balance", "#,##0.00", {200, 0, 80}, kMoney)}},
//             {Band::ReportFooter, 20, {sum("Function1", "balance", "#,##0.00", {200, 4, 80}, kMoney)}},
//         }};
//
// Lengths are points (1/72 inch), measured from the left and top edge of the band; `width` is the width of all bands.
// A printer's page that is wider spreads the controls over it in proportion, text keeps its size; a narrower one
// shrinks everything. All text is Arial.
#pragma once

#include <QString>
#include <limits>
#include <vector>

namespace datareport {

enum class Orientation { Portrait = 1, Landscape = 2 };
// Decimal is Right for amounts that may end in a parenthesis: ")" stands beyond the right edge, so that the digits of
// "12.50" and "(12.50)" line up. Leave it a few points before the next column.
enum class Align { Left, Center, Right, Decimal };

// Where bands appear: the report header on the first page and the report footer after the last row; page header and
// footer on every page; group header and footer around the rows of a group, in a report over grouped rows. A group that
// goes on over the end of a page repeats its header.
enum class Band { ReportHeader, PageHeader, GroupHeader, Detail, GroupFooter, PageFooter, ReportFooter };

// Text starts at `left` and `top` and gets `width`; its height is that of its lines. Places may touch: six points at
// the right of each stay free, save at the right edge of the report. What stands below a text that takes several lines
// moves down with it.
struct Place {
    double left = 0;
    double top = 0;
    double width = 0;
};

// A row that is taller than a page goes on over its end.
inline constexpr int kAllLines = std::numeric_limits<int>::max();

struct Style {
    Align align = Align::Left;
    double size = 9;  // of the type, points
    bool bold = false;
    // A longer text is wrapped into this many lines at most and then ends in an ellipsis; kAllLines: it is never cut.
    int lines = 1;
};

struct Control {
    // Rule is a thin line over the whole place.
    enum class Kind { Label, TextBox, Sum, Rule };
    Kind kind = Kind::Label;
    QString name = {};  // unique within its band
    // Of a label; %d is today's date, %p the number of the page, %P that of the last one, %i the title, %% a "%".
    QString caption = {};
    // Of a text box, the column shown: of the row in the detail band, of the group's row in its header and footer
    // (other bands have no row). Of a sum, the column added up.
    QString field = {};
    QString format = {};  // as vbrt::Format takes it; empty: the value as text
    Place place = {};
    Style style = {};
    // Of the detail band: shown again where a row goes on over the end of a page.
    bool repeats = false;
};

struct BandDesign {
    Band band = Band::Detail;
    double height = 0;  // at least; a band grows with the lines in it
    std::vector<Control> controls = {};
};

struct Design {
    QString name = {};
    QString title = {};
    // The column whose rows are the details of a group. Empty: the rows themselves are the details.
    QString childMember = {};
    Orientation orientation = Orientation::Portrait;
    double width = 0;
    std::vector<BandDesign> bands = {};
};

Control label(const QString& name, const QString& caption, Place place, Style style = {});
Control textBox(const QString& name, const QString& field, const QString& format, Place place, Style style = {});
// Of all rows in a report footer, of the group's in a group footer. Null counts as 0.
Control sum(const QString& name, const QString& field, const QString& format, Place place, Style style = {});
Control rule(const QString& name, Place place);

// Null when the design has none of that kind.
const BandDesign* findBand(const Design& design, Band band);

}  // namespace datareport
