// SPDX-License-Identifier: MIT
// Content is what a report shows of its rows: the texts of the text boxes and sums, band by band, in the order of the
// report. The rows are read once into it; pages of any size are laid out from it.
#pragma once

#include <QString>
#include <vector>

#include "datareport/design.h"
#include "datareport/rows.h"

namespace datareport {

struct Cell {
    QString text;
    bool whole = false;  // a number or a date: a part of it would be another one, so it is never shown in part
};

// One band with data: a group header, detail, group footer or the report footer.
struct Record {
    Band band = Band::Detail;
    std::vector<Cell> cells;  // one a control of the band, empty for labels and rules
};

using Content = std::vector<Record>;

// Throws what the rows throw, and error 13 for a sum over a text that is no number.
Content readContent(const Design& design, Rows& rows);

}  // namespace datareport
