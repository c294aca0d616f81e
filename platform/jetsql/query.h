// SPDX-License-Identifier: MIT
// Statements with every name looked up: tables, columns, aliases and types are known, nothing is decided yet about how
// to find the rows.
#pragma once

#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "jetsql/expression.h"
#include "jetsql/statement.h"

namespace jetsql {

struct Query;

// A table or stored query of a FROM clause.
struct Source {
    std::string name;  // by which columns are qualified: the alias if there is one
    jet::Table* table = nullptr;
    std::unique_ptr<Query> query;     // instead of a table
    std::vector<std::size_t> wanted;  // of a table: the positions of the columns that are used; a slot each
    // Values in a row of this source.
    [[nodiscard]] std::size_t width() const;
};

struct Join {
    enum class Kind { Leaf, Inner, Left };

    Kind kind = Kind::Leaf;
    std::size_t source = 0;  // of a leaf
    std::unique_ptr<Join> left;
    std::unique_ptr<Join> right;
    std::vector<Expr> on;  // all of these hold
};

struct Aggregate {
    enum class Kind { Rows, Count, Sum, Average, Min, Max };

    Kind kind = Kind::Rows;
    Expr argument;  // but for Rows: count(*)
    MaybeType type;
};

struct OrderKey {
    Expr expr;
    bool descending = false;
};

struct Query {
    std::vector<Source> sources;
    std::unique_ptr<Join> from;  // nothing: one row without columns
    std::vector<Expr> where;     // all of these hold
    bool grouped = false;        // one row a group, even if there are no keys
    std::vector<Expr> keys;
    std::vector<Aggregate> aggregates;
    std::vector<Expr> having;
    std::vector<Expr> outputs;
    std::vector<std::size_t> outputOrder;  // in which to evaluate them: some use others
    std::vector<OutputColumn> columns;
    std::vector<OrderKey> order;
    bool distinct = false;
    std::optional<std::size_t> top;
};

struct Insertion {
    jet::Table* table = nullptr;
    std::vector<std::size_t> positions;
    std::vector<Expr> values;
    std::unique_ptr<Query> source;                       // instead of values
    std::vector<std::pair<std::size_t, Expr>> defaults;  // of the columns not named
};

struct Change {
    jet::Table* table = nullptr;
    Query target;  // one source and the condition
    std::vector<std::size_t> positions;
    std::vector<Expr> values;
};

struct Deletion {
    jet::Table* table = nullptr;
    Query target;
};

using BoundStatement = std::variant<std::unique_ptr<Query>, Insertion, Change, Deletion>;

}  // namespace jetsql
