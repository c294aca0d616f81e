// SPDX-License-Identifier: MIT
// A resolved expression: names are places in rows, every part has its type.
#pragma once

#include <vector>

#include "jetsql/functions.h"

namespace jetsql {

struct Expr {
    enum class Kind {
        Constant,   // value
        Column,     // rows[source][slot]
        Key,        // keys[slot]: an expression that the rows are grouped by
        Aggregate,  // aggregates[slot]
        Output,     // outputs[slot]: another output column of the same SELECT
        Negate,
        Arithmetic,  // children[0] op children[1]; "&" too
        Comparison,
        Like,
        And,
        Or,
        Not,
        IsNull,
        Between,
        In,
        Choice,   // IIf; evaluates only the branch taken
        Convert,  // children[0] as `type`
        Call,
    };

    Kind kind = Kind::Constant;
    Op op = Op::Add;
    MaybeType type;
    std::uint16_t length = 0;  // of a text column taken as it is
    std::size_t source = 0;
    std::size_t slot = 0;
    Value value;
    const Function* function = nullptr;
    std::vector<Expr> children;
};

// Where the values of an expression come from. A source that an outer join left without a row has Nulls.
struct Frame {
    std::vector<jet::Row> rows;
    const jet::Row* keys = nullptr;
    const jet::Row* aggregates = nullptr;
    const jet::Row* outputs = nullptr;
};

// The result is in the frame, in the expression or in `scratch`, and good until one of them changes.
const Value& evaluate(const Expr& e, const Frame& frame, Value& scratch);
// The same as a condition.
Truth test(const Expr& e, const Frame& frame);
inline bool holds(const Expr& e, const Frame& frame) {
    return test(e, frame) == Truth::True;
}

Expr makeConstant(Value v);
// What is the same for all rows is evaluated at once. Not what would fail: it may stand in a branch that is never
// taken. Not Date() and the like: a default is evaluated anew for each row.
Expr makeExpr(Expr::Kind kind, MaybeType type, std::vector<Expr> children, Op op = {},
              const Function* function = nullptr);
// `e` as a value of that type.
Expr converted(Expr e, MaybeType type);
// `e`, to be compared with something of that type: a text that meets a date is read as one. Throws TypeMismatch.
Expr comparableWith(MaybeType type, Expr e);
// The conditions that all hold when `e` does.
void splitConjunction(Expr e, std::vector<Expr>& out);

bool same(const Expr& a, const Expr& b);
// Whether it is the same for all rows, so that it can be evaluated with an empty frame.
bool isConstant(const Expr& e);
// Calls `f` for every part, the expression itself included.
template <typename F>
void visit(const Expr& e, F&& f) {
    f(e);
    for (const Expr& child : e.children)
        visit(child, f);
}

}  // namespace jetsql
