// SPDX-License-Identifier: MIT
// Lays a report out: its design and content become pages of placed texts and rules, the same on every machine for a
// given paper, with no window or printer involved.
#pragma once

#include <QMarginsF>
#include <QSizeF>
#include <QString>
#include <functional>
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

// Where a group begins.
struct Bookmark {
    QString title;
    std::size_t page = 0;
    double top = 0;  // measured as items are
};

// Items are measured from the corner inside the margins, in points times `scale`.
struct Pages {
    Paper paper;
    double scale = 1;  // below 1 where the design had to be shrunk to fit the paper
    std::vector<Typeface> typefaces;
    std::vector<Page> pages;  // at least one
    std::vector<Bookmark> bookmarks;
};

// Called now and then with how much of `whole` is done; false ends the work with Cancelled.
using Progress = std::function<bool(std::size_t done, std::size_t whole)>;
struct Cancelled {};

Pages layOut(const Design& design, const Content& content, const Paper& paper, const Progress& progress = {});

// A page as text, one line for each line on it, items from left to right.
QString pageText(const Page& page);

// The pages as text, for tests: "=== page 1", then a line for each line of text, items from left to right with their
// left edge in whole points, "12 Rent | 90 850.00"; rules are "12 ----".
QString dump(const Pages& pages);

}  // namespace datareport
