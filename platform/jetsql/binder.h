// SPDX-License-Identifier: MIT
// Looks up the names of a statement and finds the types of its expressions.
//
// In a SELECT list an output alias comes before a column of the same name; in ORDER BY the column comes first; other
// clauses do not see aliases. Throws jetsql::Error.
#pragma once

#include <string_view>

#include "jetsql/ast.h"
#include "jetsql/query.h"

namespace jetsql {

// `sql` is the text that the tree was made of, for messages. The result borrows tables of the database.
BoundStatement resolve(jet::Database& db, const ast::Statement& statement, std::string_view sql);

}  // namespace jetsql
