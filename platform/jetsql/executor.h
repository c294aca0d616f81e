// SPDX-License-Identifier: MIT
// Runs resolved statements: groups, sorts and calculates the outputs of a SELECT, applies the changes of the others.
#pragma once

#include <memory>

#include "jetsql/query.h"

namespace jetsql {

// The output rows of a query.
class RowStream {
 public:
    RowStream() = default;
    RowStream(const RowStream&) = delete;
    RowStream& operator=(const RowStream&) = delete;
    virtual ~RowStream() = default;

    // False at the end; `row` is reused.
    virtual bool next(jet::Row& row) = 0;
};

// Groups and sorts at once, if the query wants that; other rows are found while they are asked for. Borrows the query.
std::unique_ptr<RowStream> openQuery(Query& query);

// Return the rows affected.
long run(jet::Database& db, Insertion& insertion);
long run(jet::Database& db, Change& change);
long run(jet::Database& db, Deletion& deletion);

}  // namespace jetsql
