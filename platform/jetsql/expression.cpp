// SPDX-License-Identifier: MIT
#include "jetsql/expression.h"

#include "jetsql/error.h"

#include <algorithm>
#include <array>

namespace jetsql {

namespace {

Truth negation(Truth t) {
    return t == Truth::Unknown ? t : truth(t == Truth::False);
}

bool isTrueFor(Op op, int comparison) {
    switch (op) {
        case Op::Equal:
            return comparison == 0;
        case Op::NotEqual:
            return comparison != 0;
        case Op::Less:
            return comparison < 0;
        case Op::LessEqual:
            return comparison <= 0;
        case Op::Greater:
            return comparison > 0;
        default:
            return comparison >= 0;
    }
}

// What holds of the two operands; unknown when one of them is Null.
template <class Test>
Truth testBoth(const Expr& e, const Frame& frame, Test&& test) {
    Value left;
    Value right;
    const Value& a = evaluate(e.children[0], frame, left);
    const Value& b = evaluate(e.children[1], frame, right);
    return jet::isNull(a) || jet::isNull(b) ? Truth::Unknown : truth(test(a, b));
}

Truth testComparison(const Expr& e, const Frame& frame) {
    return testBoth(e, frame, [&](const Value& a, const Value& b) { return isTrueFor(e.op, compare(a, b)); });
}

Truth testLike(const Expr& e, const Frame& frame) {
    return testBoth(e, frame, [](const Value& text, const Value& pattern) {
        const auto* plainText = std::get_if<std::string>(&text);
        const auto* plainPattern = std::get_if<std::string>(&pattern);
        return plainText && plainPattern ? like(*plainText, *plainPattern) : like(toText(text), toText(pattern));
    });
}

// Includes both bounds, which may come in either order.
Truth testBetween(const Expr& e, const Frame& frame) {
    std::array<Value, 3> scratch;
    const Value& v = evaluate(e.children[0], frame, scratch[0]);
    const Value& a = evaluate(e.children[1], frame, scratch[1]);
    const Value& b = evaluate(e.children[2], frame, scratch[2]);
    if (jet::isNull(v) || jet::isNull(a) || jet::isNull(b))
        return Truth::Unknown;
    const int toA = compare(v, a);
    const int toB = compare(v, b);
    return truth((toA >= 0 && toB <= 0) || (toA <= 0 && toB >= 0));
}

Truth testIn(const Expr& e, const Frame& frame) {
    Value scratch;
    const Value& v = evaluate(e.children[0], frame, scratch);
    if (jet::isNull(v))
        return Truth::Unknown;
    Truth result = Truth::False;
    for (std::size_t i = 1; i < e.children.size(); ++i) {
        Value other;
        const Value& candidate = evaluate(e.children[i], frame, other);
        if (jet::isNull(candidate))
            result = Truth::Unknown;
        else if (compare(v, candidate) == 0)
            return Truth::True;
    }
    return result;
}

Truth testBoth(const Expr& e, const Frame& frame) {
    const Truth decisive = truth(e.kind == Expr::Kind::Or);
    const Truth a = test(e.children[0], frame);
    if (a == decisive)
        return a;
    const Truth b = test(e.children[1], frame);
    return b == decisive || a != Truth::Unknown ? b : Truth::Unknown;
}

bool testNull(const Expr& e, const Frame& frame) {
    Value scratch;
    return jet::isNull(evaluate(e.children[0], frame, scratch));
}

Value calculate(const Expr& e, const Frame& frame) {
    Value left;
    Value right;
    return arithmetic(e.op, evaluate(e.children[0], frame, left), evaluate(e.children[1], frame, right));
}

Value evaluateUnary(const Expr& e, const Frame& frame) {
    Value scratch;
    const Value& v = evaluate(e.children[0], frame, scratch);
    return e.kind == Expr::Kind::Negate ? negated(v) : convert(v, *e.type);
}

Value call(const Expr& e, const Frame& frame) {
    std::array<Value, kMaxArguments> arguments;
    for (std::size_t i = 0; i < e.children.size(); ++i) {
        Value scratch;
        arguments[i] = evaluate(e.children[i], frame, scratch);
    }
    return callFunction(*e.function, std::span(arguments).first(e.children.size()));
}

MaybeType typeOf(const Value& v) {
    static constexpr MaybeType kTypes[] = {std::nullopt,        ColumnType::Boolean, ColumnType::Byte,
                                           ColumnType::Integer, ColumnType::Long,    ColumnType::Currency,
                                           ColumnType::Single,  ColumnType::Double,  ColumnType::DateTime,
                                           ColumnType::Text,    ColumnType::Binary,  ColumnType::Guid};
    return kTypes[v.index()];
}

}  // namespace

Expr makeConstant(Value v) {
    Expr e;
    e.type = typeOf(v);
    e.value = std::move(v);
    return e;
}

Expr makeExpr(Expr::Kind kind, MaybeType type, std::vector<Expr> children, Op op, const Function* function) {
    Expr e;
    e.kind = kind;
    e.type = type;
    e.children = std::move(children);
    e.op = op;
    e.function = function;
    const bool constant = !e.children.empty() && std::all_of(e.children.begin(), e.children.end(), [](const Expr& c) {
        return c.kind == Expr::Kind::Constant;
    });
    if (!constant)
        return e;
    try {
        Value scratch;
        Expr result = makeConstant(evaluate(e, Frame(), scratch));
        result.type = e.type;
        return result;
    } catch (const Error&) {
        return e;
    } catch (const vbrt::Error&) {
        return e;
    }
}

Expr converted(Expr e, MaybeType type) {
    if (!type || !e.type || e.type == type)
        return e;
    std::vector<Expr> children;
    children.push_back(std::move(e));
    return makeExpr(Expr::Kind::Convert, type, std::move(children));
}

Expr comparableWith(MaybeType type, Expr e) {
    requireComparable(type, e.type);
    return type == ColumnType::DateTime && e.type && isText(*e.type) ? converted(std::move(e), type) : std::move(e);
}

void splitConjunction(Expr e, std::vector<Expr>& out) {
    if (e.kind != Expr::Kind::And) {
        out.push_back(std::move(e));
        return;
    }
    splitConjunction(std::move(e.children[0]), out);
    splitConjunction(std::move(e.children[1]), out);
}

const Value& evaluate(const Expr& e, const Frame& frame, Value& scratch) {
    switch (e.kind) {
        case Expr::Kind::Constant:
            return e.value;
        case Expr::Kind::Column:
            return frame.rows[e.source][e.slot];
        case Expr::Kind::Key:
            return (*frame.keys)[e.slot];
        case Expr::Kind::Aggregate:
            return (*frame.aggregates)[e.slot];
        case Expr::Kind::Output:
            return (*frame.outputs)[e.slot];
        case Expr::Kind::Choice:
            return evaluate(e.children[holds(e.children[0], frame) ? 1 : 2], frame, scratch);
        case Expr::Kind::Arithmetic:
            return scratch = calculate(e, frame);
        case Expr::Kind::Negate:
        case Expr::Kind::Convert:
            return scratch = evaluateUnary(e, frame);
        case Expr::Kind::Call:
            return scratch = call(e, frame);
        default:
            return scratch = toValue(test(e, frame));
    }
}

Truth test(const Expr& e, const Frame& frame) {
    switch (e.kind) {
        case Expr::Kind::Comparison:
            return testComparison(e, frame);
        case Expr::Kind::Like:
            return testLike(e, frame);
        case Expr::Kind::And:
        case Expr::Kind::Or:
            return testBoth(e, frame);
        case Expr::Kind::Not:
            return negation(test(e.children[0], frame));
        case Expr::Kind::IsNull:
            return truth(testNull(e, frame));
        case Expr::Kind::Between:
            return testBetween(e, frame);
        case Expr::Kind::In:
            return testIn(e, frame);
        default: {
            Value scratch;
            return truthOf(evaluate(e, frame, scratch));
        }
    }
}

bool same(const Expr& a, const Expr& b) {
    return a.kind == b.kind && a.op == b.op && a.type == b.type && a.source == b.source && a.slot == b.slot &&
           a.function == b.function && a.value == b.value &&
           std::equal(a.children.begin(), a.children.end(), b.children.begin(), b.children.end(), same);
}

bool isConstant(const Expr& e) {
    bool constant = true;
    visit(e, [&](const Expr& part) {
        constant = constant && part.kind != Expr::Kind::Column && part.kind != Expr::Kind::Key &&
                   part.kind != Expr::Kind::Aggregate && part.kind != Expr::Kind::Output;
    });
    return constant;
}

}  // namespace jetsql
