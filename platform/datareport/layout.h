// SPDX-License-Identifier: MIT
// Lays a report out: its design and content become pages of placed texts and rules, the same on every machine for a
// given paper, with no window or printer involved.
#pragma once

#include <QMarginsF>
#include <QSizeF>
#include <QString>
#include <vector>

#include "datareport/content.h"
#include "datareport/design.h"
#include "datareport/typeface.h"

namespace datareport {

// Points, in the orientation of the report.
struct Paper {
    QSizeF size;
    double margin = 36;  // on every side
    bool operator==(const Paper&) const = default;
};

struct Item {
    int typeface = -1;  // in Pages::typefaces; -1 is a rule
    double left = 0;
    double baseline = 0;  // of a text; a rule lies here
    double width = 0;
    QString text;
};

struct Page {
    std::vector<Item> items;
};

// Items are measured from the corner inside the margins, in points times `scale`.
struct Pages {
    Paper paper;
    double scale = 1;  // below 1 where the design had to be shrunk to fit the paper
    std::vector<Typeface> typefaces;
    std::vector<Page> pages;  // at least one
};

Pages layOut(const Design& design, const Content& content, const Paper& paper);

// The pages as text, for tests: "=== page 1", then a line for each line of text, items from left to right with their
// left edge in whole points, "12 Rent | 90 850.00"; rules are "12 ----".
QString dump(const Pages& pages);

}  // namespace datareport
