// SPDX-License-Identifier: MIT
// The syntax tree of a statement: what was written, with nothing looked up yet.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "jet/values/value.h"

namespace jetsql {

enum class Op {
    Add,
    Subtract,
    Multiply,
    Divide,
    IntegerDivide,
    Mod,
    Power,
    Concatenate,
    Equal,
    NotEqual,
    Less,
    LessEqual,
    Greater,
    GreaterEqual,
    Like,
    And,
    Or,
};

}  // namespace jetsql

namespace jetsql::ast {

struct Expr;
using ExprPtr = std::unique_ptr<Expr>;

struct Expr {
    enum class Kind {
        Literal,  // value
        Column,   // [qualifier.]name
        Negate,   // args[0]
        Not,      // args[0]
        Binary,   // args[0] op args[1]
        Between,  // args[0] between args[1] and args[2]
        In,       // args[0] in (args[1], ...)
        IsNull,   // args[0] is null
        Call,     // name(args...), or name(*) with `star`
    };

    Kind kind = Kind::Literal;
    Op op = Op::Add;
    bool star = false;
    jet::Value value;
    std::string qualifier;
    std::string name;
    std::vector<ExprPtr> args;
    std::size_t begin = 0;  // of its text in the statement
    std::size_t end = 0;
    int height = 1;  // of this tree; bounded, so that walking it cannot exhaust the stack
};

struct OutputItem {
    bool star = false;      // * or table.*
    std::string qualifier;  // of table.*
    ExprPtr expr;
    std::string alias;  // empty: none
    std::size_t begin = 0;
};

struct FromItem;
using FromPtr = std::unique_ptr<FromItem>;

struct FromItem {
    enum class Kind { Table, Inner, Left, Right };

    Kind kind = Kind::Table;
    std::string name;
    std::string alias;  // empty: none
    FromPtr left;
    FromPtr right;
    ExprPtr on;
    std::size_t begin = 0;
    int height = 1;
};

struct OrderItem {
    ExprPtr expr;
    bool descending = false;
};

struct Select {
    bool distinct = false;
    bool distinctRow = false;
    std::optional<std::uint32_t> top;
    std::vector<OutputItem> outputs;
    std::vector<FromPtr> from;  // empty: one row without columns
    ExprPtr where;
    std::vector<ExprPtr> groupBy;
    ExprPtr having;
    std::vector<OrderItem> orderBy;
};

struct Insert {
    std::string table;
    std::optional<std::vector<std::string>> columns;
    std::vector<ExprPtr> values;
    std::unique_ptr<Select> select;  // instead of values
};

struct Assignment {
    std::string qualifier;
    std::string column;
    ExprPtr value;
};

struct Update {
    std::string table;
    std::string alias;
    std::vector<Assignment> assignments;
    ExprPtr where;
};

struct Delete {
    std::string table;
    std::string alias;
    ExprPtr where;
};

using Statement = std::variant<Select, Insert, Update, Delete>;

}  // namespace jetsql::ast
