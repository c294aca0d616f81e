// SPDX-License-Identifier: MIT
// Decides how the rows of a FROM clause that meet its conditions are found: by an index or a scan, joined through an
// index or a hash table, in which order.
//
// Where a column with an index must equal something known (`id = 5`, `envelope = 'Rent'`, also several of them joined
// by OR), the index is asked and its answer is read in storage order; else the table is scanned. Of the tables of an
// inner join the largest is streamed and the others are held in hash tables, unless one of them has so few rows that
// asking the index of its neighbour is cheaper.
#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "jetsql/query.h"

namespace jetsql {

// Delivers rows into the frame, one after the other.
class Step {
 public:
    Step() = default;
    Step(const Step&) = delete;
    Step& operator=(const Step&) = delete;
    virtual ~Step() = default;

    // False at the end.
    virtual bool next(Frame& frame) = 0;
};

// The rows that meet the condition. The step borrows the query.
std::unique_ptr<Step> planRows(Query& query);

// The rows of one table, found by an index or a scan.
class TableReader {
 public:
    // All rows.
    TableReader(jet::Table& table, std::vector<std::size_t> wanted);
    // These rows, in this order.
    TableReader(jet::Table& table, std::vector<std::size_t> wanted, std::vector<jet::RowId> ids);

    // False at the end.
    bool next(jet::Row& row);
    [[nodiscard]] jet::RowId rowId() const;

 private:
    jet::Table* m_table;
    std::vector<std::size_t> m_wanted;
    std::unique_ptr<jet::TableScan> m_scan;  // else:
    std::vector<jet::RowId> m_ids;
    std::size_t m_next = 0;
};

// The rows of the one table of a query that may meet its condition; the caller tests the condition.
TableReader planTarget(Query& query);

// A frame with room for the rows of the query.
Frame frameFor(const Query& query);

}  // namespace jetsql
