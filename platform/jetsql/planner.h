// SPDX-License-Identifier: MIT
// Decides how the rows of a FROM clause that meet its conditions are found: by an index or a scan, joined through an
// index or a hash table, in which order.
//
// Where a column with an index must equal something known (`id = 5`, `envelope = 'Rent'`, also several of them joined
// by OR), the index is asked and its answer is read in storage order; else the table is scanned. Of the tables of an
// inner join the largest is streamed and the others are held in hash tables, unless one of them has so few rows that
// asking the index of its neighbour is cheaper.
#pragma once

#include "jetsql/steps.h"

namespace jetsql {

// The rows that meet the condition. The step borrows the query.
StepPtr planRows(Query& query);

// The rows of the one table of a query that may meet its condition; the caller tests the condition.
std::unique_ptr<jet::TableScan> planTarget(Query& query);

// A frame with room for the rows of the query.
Frame frameFor(const Query& query);

}  // namespace jetsql
