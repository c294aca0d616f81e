// SPDX-License-Identifier: MIT
// UsageMap is a set of page numbers kept in one row of a map-row page; PageSpace hands out and takes back pages.
//
// A map row is inline (type 0: a start page and a bitmap) or a list of bitmap pages (type 1). Maps grow as the format
// allows: the row gets longer while its page has room, else it becomes a list. Owned maps hold all pages of an owner;
// free-space maps are hints and subsets of them; the free-page map of the file is page 1 row 0.
//
// Both borrow the Pager. Changes need an open transaction. Nothing is cached between calls, so a rollback needs no
// attention here.
#pragma once

#include <optional>
#include <vector>

#include "jet/disk/pager.h"

namespace jet {

class PageSpace;

class UsageMap {
 public:
    // `row` is the place of the map row. Throws Corrupt on use when the row is no map.
    UsageMap(Pager& pager, RowId row) : m_pager(&pager), m_row(row) {}

    [[nodiscard]] RowId row() const { return m_row; }
    [[nodiscard]] bool contains(PageNo page) const;
    // All pages in ascending order. Throws Corrupt for a page outside the file unless `anywhere`.
    [[nodiscard]] std::vector<PageNo> pages(bool anywhere = false) const;
    // The lowest page >= `from`, if there is one below the end of the file.
    [[nodiscard]] std::optional<PageNo> next(PageNo from) const;
    [[nodiscard]] bool empty() const { return !next(0); }

    // `space` provides bitmap pages when the map outgrows its row.
    void add(PageNo page, PageSpace& space);
    void remove(PageNo page);

    // The bitmap pages of a type 1 map; none for an inline one.
    [[nodiscard]] std::vector<PageNo> mapPages() const;

    // 133 bytes of an empty inline map.
    static Bytes freshRow();

 private:
    Pager* m_pager;
    RowId m_row;
};

class PageSpace {
 public:
    explicit PageSpace(Pager& pager) : m_pager(&pager) {}

    // A zeroed page that belongs to no map yet: the lowest free one below the end of the file, else a new one at the
    // end (the free-page map then grows with the file).
    PageNo allocate();
    // The same, put into `owner`.
    PageNo allocate(UsageMap& owner);
    // Marks the page free and, when it holds data rows, its type byte as emptied. REQUIRES: in no map any more.
    void free(PageNo page);
    [[nodiscard]] bool isFree(PageNo page) const;

    // Adds an empty map row to a map-row page (owner field 0) that has room, preferring `near`, else to a new page.
    RowId newMapRow(std::optional<PageNo> near = std::nullopt);

 private:
    void cover(PageNo page);

    Pager* m_pager;
};

}  // namespace jet
