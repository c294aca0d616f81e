// SPDX-License-Identifier: MIT
// Runs statements of the Jet SQL dialect against a jet::Database.
//
// docs/sql.md states the supported grammar on one page; anything outside it fails with an error that names the place.
// The stages, one file each, to be read in this order: lexer, parser (syntax tree), binder (names, types, aliases),
// planner (index lookup, scan, join, group, sort), executor (rows). A data-changing statement is one transaction: it
// finds its rows first and then applies the change, all of it or nothing.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "jet/database.h"

namespace jetsql {

struct OutputColumn {
    std::string name;
    jet::ColumnType type = jet::ColumnType::Text;  // by the rules of the dialect: Count is Long, Sum of Double Double
    std::uint16_t length = 0;                      // of a text column taken from a table as it is
};

// The rows of a SELECT, produced while they are asked for. Borrows nothing: it keeps the database open. A change to a
// table while its rows are being read ends in undefined rows, never in a crash: read to the end first.
class Rows {
 public:
    virtual ~Rows() = default;
    Rows(const Rows&) = delete;
    Rows& operator=(const Rows&) = delete;

    [[nodiscard]] virtual const std::vector<OutputColumn>& columns() const = 0;
    // Moves to the next row; false at the end. `row` is reused. May throw what evaluating an expression throws.
    virtual bool next(jet::Row& row) = 0;

 protected:
    Rows() = default;
};

struct Outcome {
    std::unique_ptr<Rows> rows;  // set for a SELECT
    long affected = 0;           // rows that an INSERT, UPDATE or DELETE names, without those of its cascades
};

// Throws jetsql::Error, jet::Error or vbrt::Error; a failed statement has changed nothing.
Outcome execute(const std::shared_ptr<jet::Database>& db, std::string_view sql);

// The text of a stored query rebuilt from its rows, for instance for the command line. Throws UnsupportedSql for what
// is neither a SELECT nor stored as text.
std::string sqlOf(const jet::StoredQuery& query);

}  // namespace jetsql
