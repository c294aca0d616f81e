// SPDX-License-Identifier: MIT
#include "jetsql/parser.h"

#include "jetsql/error.h"
#include "jetsql/lexer.h"
#include "vbrt/ascii.h"

#include <algorithm>
#include <iterator>

namespace jetsql {

namespace {

using ast::Expr;
using ast::ExprPtr;
using ast::FromItem;
using ast::FromPtr;
using Kind = Token::Kind;

// Words that cannot be a name unless they stand in brackets.
constexpr std::string_view kReserved[] = {
    "all",  "and",    "as",    "asc",    "between", "by",     "create", "delete", "desc",   "distinct", "distinctrow",
    "drop", "exists", "false", "from",   "group",   "having", "in",     "inner",  "insert", "into",     "is",
    "join", "left",   "like",  "mod",    "not",     "null",   "on",     "or",     "order",  "right",    "select",
    "set",  "true",   "union", "update", "values",  "where",  "with",   "xor"};

// Words that end an expression.
constexpr std::string_view kClauseWords[] = {"from", "where", "group",  "having", "order", "as",   "asc",
                                             "desc", "on",    "inner",  "left",   "right", "join", "union",
                                             "into", "set",   "values", "with",   "select"};

template <std::size_t N>
bool isOneOf(std::string_view word, const std::string_view (&list)[N]) {
    return std::any_of(std::begin(list), std::end(list),
                       [&](std::string_view w) { return vbrt::equalsIgnoringCase(w, word); });
}

// Binding strength; the higher binds tighter.
enum Level { kLowest, kOr, kAnd, kNot, kCompare, kConcatenate, kAdd, kMod, kIntegerDivide, kMultiply, kNegate, kPower };

struct Infix {
    std::string_view text;
    Op op;
    Level level;
};

constexpr Infix kInfixes[] = {
    {"or", Op::Or, kOr},
    {"and", Op::And, kAnd},
    {"=", Op::Equal, kCompare},
    {"<>", Op::NotEqual, kCompare},
    {"<", Op::Less, kCompare},
    {"<=", Op::LessEqual, kCompare},
    {">", Op::Greater, kCompare},
    {">=", Op::GreaterEqual, kCompare},
    {"like", Op::Like, kCompare},
    {"&", Op::Concatenate, kConcatenate},
    {"+", Op::Add, kAdd},
    {"-", Op::Subtract, kAdd},
    {"mod", Op::Mod, kMod},
    {"\\", Op::IntegerDivide, kIntegerDivide},
    {"*", Op::Multiply, kMultiply},
    {"/", Op::Divide, kMultiply},
    {"^", Op::Power, kPower},
};

class Parser : private TokenReader {
 public:
    using TokenReader::TokenReader;

    ast::Statement statement() {
        ast::Statement result;
        if (acceptWord("select"))
            result = select();
        else if (acceptWord("insert"))
            result = insert();
        else if (acceptWord("update"))
            result = update();
        else if (acceptWord("delete"))
            result = erase();
        else
            refuseStatement();
        finish();
        return result;
    }

    ExprPtr onlyExpression() {
        m_syntax = Errc::SyntaxMissingOperator;
        acceptSymbol("=");
        ExprPtr e = expression();
        if (peek().kind != Kind::End)
            missingOperator();
        return e;
    }

 private:
    // --- tokens

    [[nodiscard]] bool isName(std::size_t ahead = 0) const {
        const Token& t = peek(ahead);
        return t.kind == Kind::Name || (t.kind == Kind::Word && !isOneOf(t.text, kReserved));
    }
    void expectWord(std::string_view word) {
        if (!acceptWord(word))
            fail(m_syntax);
    }
    void expectSymbol(std::string_view symbol) {
        if (!acceptSymbol(symbol))
            fail(m_syntax);
    }
    std::string expectName() {
        if (!isName())
            fail(m_syntax);
        return m_tokens[m_at++].text;
    }

    // --- errors

    [[noreturn]] void fail(Errc code, std::string subject = {}) const {
        throw Error(code, std::move(subject), peek().begin);
    }
    [[noreturn]] void unsupported(std::string what) const { fail(Errc::UnsupportedSql, std::move(what)); }
    [[noreturn]] void missingOperator() const { fail(Errc::SyntaxMissingOperator, clauseText()); }

    // The text of the expression that is being read, to the end of its clause.
    [[nodiscard]] std::string clauseText() const {
        int depth = 0;
        const std::size_t begin = m_tokens[m_expression].begin;
        std::size_t end = begin;
        for (std::size_t i = m_expression; i < m_tokens.size(); ++i) {
            const Token& t = m_tokens[i];
            if (t.kind == Kind::End || (depth == 0 && endsExpression(t)))
                break;
            if (t.kind == Kind::Symbol && t.text == "(")
                ++depth;
            if (t.kind == Kind::Symbol && t.text == ")")
                --depth;
            end = t.end;
        }
        return std::string(m_sql.substr(begin, end - begin));
    }

    [[nodiscard]] static bool endsExpression(const Token& t) {
        switch (t.kind) {
            case Kind::End:
                return true;
            case Kind::Word:
                return isOneOf(t.text, kClauseWords);
            case Kind::Symbol:
                return t.text == "," || t.text == ")" || t.text == ";";
            default:
                return false;
        }
    }

    [[noreturn]] void refuseStatement() const {
        static constexpr std::string_view kOthers[] = {"alter",      "create",    "drop",   "execute",   "grant",
                                                       "parameters", "procedure", "revoke", "transform", "with"};
        if (peek().kind == Kind::Word && isOneOf(peek().text, kOthers))
            unsupported(peek().text);
        fail(Errc::SyntaxOther);
    }

    void finish() {
        if (isWord("union") || isWord("with"))
            unsupported(peek().text);
        const bool semicolon = acceptSymbol(";");
        if (peek().kind == Kind::End)
            return;
        if (semicolon)
            unsupported("characters after the end of the statement");
        fail(m_syntax);
    }

    // Counts the levels of recursion, so that deep nesting ends in an error.
    class Nesting {
     public:
        explicit Nesting(Parser& parser) : m_parser(parser) {
            if (++m_parser.m_depth > kMaxHeight)
                m_parser.tooComplex();
        }
        Nesting(const Nesting&) = delete;
        Nesting& operator=(const Nesting&) = delete;
        ~Nesting() { --m_parser.m_depth; }

     private:
        Parser& m_parser;
    };

    [[noreturn]] void tooComplex() const { unsupported("expression nested too deeply"); }

    // --- expressions

    ExprPtr expression() {
        m_expression = m_at;
        if (endsExpression(peek()) && !isFunctionCall())
            fail(m_syntax);
        ExprPtr e = level(kLowest);
        if (!endsExpression(peek()))
            missingOperator();
        return e;
    }

    // Left(...) and Right(...) are functions although the words begin a join.
    [[nodiscard]] bool isFunctionCall() const {
        return peek().kind == Kind::Word && isSymbol("(", 1) && (isName() || isWord("left") || isWord("right"));
    }

    ExprPtr make(Expr::Kind kind, std::vector<ExprPtr> args, std::size_t begin) const {
        auto e = std::make_unique<Expr>();
        e->kind = kind;
        for (const ExprPtr& arg : args)
            e->height = std::max(e->height, arg->height + 1);
        if (e->height > kMaxHeight)
            tooComplex();
        e->args = std::move(args);
        e->begin = begin;
        e->end = m_at > 0 ? m_tokens[m_at - 1].end : begin;
        return e;
    }

    template <typename... Args>
    static std::vector<ExprPtr> list(Args... args) {
        std::vector<ExprPtr> result;
        (result.push_back(std::move(args)), ...);
        return result;
    }

    ExprPtr level(Level lowest) {
        const Nesting nesting(*this);
        ExprPtr left = operand();
        for (;;) {
            if (const Infix* infix = infixHere(); infix && infix->level > lowest) {
                ++m_at;
                ExprPtr right = level(infix->level);
                const std::size_t begin = left->begin;
                left = make(Expr::Kind::Binary, list(std::move(left), std::move(right)), begin);
                left->op = infix->op;
            } else if (kCompare > lowest && isTest()) {
                left = test(std::move(left));
            } else {
                return left;
            }
        }
    }

    [[nodiscard]] const Infix* infixHere() const {
        if (peek().kind != Kind::Word && peek().kind != Kind::Symbol)
            return nullptr;
        const auto* found = std::find_if(std::begin(kInfixes), std::end(kInfixes),
                                         [&](const Infix& i) { return vbrt::equalsIgnoringCase(i.text, peek().text); });
        return found == std::end(kInfixes) ? nullptr : found;
    }

    [[nodiscard]] bool isTest() const {
        const std::size_t after = isWord("not") ? 1 : 0;
        return isWord("between", after) || isWord("in", after) || (after == 1 && isWord("like", after)) || isWord("is");
    }

    // [NOT] BETWEEN, [NOT] IN, NOT LIKE, IS [NOT] NULL behind their first operand.
    ExprPtr test(ExprPtr left) {
        const std::size_t begin = left->begin;
        bool negated = acceptWord("not");
        ExprPtr e;
        if (acceptWord("between")) {
            ExprPtr low = level(kCompare);
            if (!acceptWord("and"))
                missingOperator();
            ExprPtr high = level(kCompare);
            e = make(Expr::Kind::Between, list(std::move(left), std::move(low), std::move(high)), begin);
        } else if (acceptWord("in")) {
            std::vector<ExprPtr> args = list(std::move(left));
            if (!acceptSymbol("("))
                missingOperator();
            arguments(args);
            e = make(Expr::Kind::In, std::move(args), begin);
        } else if (acceptWord("like")) {
            ExprPtr pattern = level(kCompare);
            e = make(Expr::Kind::Binary, list(std::move(left), std::move(pattern)), begin);
            e->op = Op::Like;
        } else {
            expectWord("is");
            negated = acceptWord("not");
            if (!acceptWord("null"))
                missingOperator();
            e = make(Expr::Kind::IsNull, list(std::move(left)), begin);
        }
        return negated ? make(Expr::Kind::Not, list(std::move(e)), begin) : std::move(e);
    }

    // The rest of a list behind its "(".
    void arguments(std::vector<ExprPtr>& args) {
        if (isWord("select"))
            unsupported("subquery");
        do {
            args.push_back(level(kLowest));
        } while (acceptSymbol(","));
        if (!acceptSymbol(")"))
            missingOperator();
    }

    ExprPtr operand() {
        const Token& t = peek();
        switch (t.kind) {
            case Kind::Literal: {
                ++m_at;
                ExprPtr e = make(Expr::Kind::Literal, {}, t.begin);
                e->value = t.value;
                return e;
            }
            case Kind::BadString:
                fail(Errc::SyntaxString, clauseText());
            case Kind::BadDate:
                fail(Errc::SyntaxDate, clauseText());
            case Kind::BadNumber:
                fail(Errc::Overflow);
            case Kind::Symbol:
                return prefixed(t);
            case Kind::Name:
                return column();
            case Kind::Word:
                return word(t);
            default:
                missingOperator();
        }
    }

    ExprPtr prefixed(const Token& t) {
        if (acceptSymbol("(")) {
            if (isWord("select"))
                unsupported("subquery");
            ExprPtr e = level(kLowest);
            if (!acceptSymbol(")"))
                missingOperator();
            e->begin = t.begin;
            e->end = m_tokens[m_at - 1].end;
            return e;
        }
        if (acceptSymbol("-"))
            return make(Expr::Kind::Negate, list(level(kNegate)), t.begin);
        if (acceptSymbol("+"))
            return level(kNegate);
        missingOperator();
    }

    ExprPtr word(const Token& t) {
        if (acceptWord("not"))
            return make(Expr::Kind::Not, list(level(kNot)), t.begin);
        if (isWord("exists"))
            unsupported("EXISTS");
        if (isFunctionCall())
            return call();
        const bool alone = !isSymbol(".", 1) && !isSymbol("!", 1);
        if (alone && (isWord("null") || isWord("true") || isWord("false") || isWord("yes") || isWord("no"))) {
            ++m_at;
            ExprPtr e = make(Expr::Kind::Literal, {}, t.begin);
            if (!vbrt::equalsIgnoringCase(t.text, "null"))
                e->value = vbrt::equalsIgnoringCase(t.text, "true") || vbrt::equalsIgnoringCase(t.text, "yes");
            return e;
        }
        if (alone && acceptWord("now")) {
            ExprPtr e = make(Expr::Kind::Call, {}, t.begin);
            e->name = "now";
            return e;
        }
        if (!isName())
            missingOperator();
        return column();
    }

    ExprPtr call() {
        const std::size_t begin = peek().begin;
        const std::string name = m_tokens[m_at].text;
        m_at += 2;
        std::vector<ExprPtr> args;
        const bool star = isSymbol("*") && isSymbol(")", 1);
        if (star)
            m_at += 2;
        else if (!acceptSymbol(")"))
            arguments(args);
        ExprPtr e = make(Expr::Kind::Call, std::move(args), begin);
        e->name = name;
        e->star = star;
        return e;
    }

    ExprPtr column() {
        const std::size_t begin = peek().begin;
        std::string qualifier;
        std::string name = m_tokens[m_at++].text;
        if (acceptSymbol(".") || acceptSymbol("!")) {
            if (peek().kind != Kind::Word && peek().kind != Kind::Name)
                missingOperator();
            qualifier = std::move(name);
            name = m_tokens[m_at++].text;
        }
        ExprPtr e = make(Expr::Kind::Column, {}, begin);
        e->qualifier = std::move(qualifier);
        e->name = std::move(name);
        return e;
    }

    // --- SELECT, behind the word

    ast::Select select() {
        m_syntax = Errc::SyntaxSelect;
        ast::Select s;
        if (acceptWord("distinct"))
            s.distinct = true;
        else if (acceptWord("distinctrow"))
            s.distinctRow = true;
        else
            acceptWord("all");
        top(s);
        do {
            s.outputs.push_back(output());
        } while (acceptSymbol(","));
        if (isWord("into"))
            unsupported("SELECT INTO");
        if (acceptWord("from"))
            from(s);
        if (acceptWord("where"))
            s.where = expression();
        if (acceptWord("group")) {
            expectWord("by");
            do {
                s.groupBy.push_back(expression());
            } while (acceptSymbol(","));
        }
        if (acceptWord("having"))
            s.having = expression();
        if (acceptWord("order")) {
            expectWord("by");
            do {
                s.orderBy.push_back(orderItem());
            } while (acceptSymbol(","));
        }
        return s;
    }

    void top(ast::Select& s) {
        if (!isWord("top") || peek(1).kind != Kind::Literal)
            return;
        ++m_at;
        const auto* count = std::get_if<std::int32_t>(&peek().value);
        if (!count)
            fail(Errc::SyntaxSelect);
        s.top = static_cast<std::uint32_t>(*count);
        ++m_at;
        if (isWord("percent"))
            unsupported("TOP PERCENT");
    }

    ast::OutputItem output() {
        ast::OutputItem item;
        item.begin = peek().begin;
        if (acceptSymbol("*")) {
            item.star = true;
        } else if (isName() && (isSymbol(".", 1) || isSymbol("!", 1)) && isSymbol("*", 2)) {
            item.star = true;
            item.qualifier = peek().text;
            m_at += 3;
        } else {
            item.expr = expression();
            if (acceptWord("as"))
                item.alias = expectName();
        }
        return item;
    }

    ast::OrderItem orderItem() {
        ast::OrderItem item;
        item.expr = expression();
        item.descending = acceptWord("desc");
        if (!item.descending)
            acceptWord("asc");
        return item;
    }

    void from(ast::Select& s) {
        m_syntax = Errc::SyntaxFrom;
        do {
            s.from.push_back(joined());
        } while (acceptSymbol(","));
        static constexpr std::string_view kFollowing[] = {"where", "group", "having", "order", "union", "with"};
        if (!endsExpression(peek()) || (peek().kind == Kind::Word && !isOneOf(peek().text, kFollowing)))
            fail(Errc::SyntaxFrom);
        m_syntax = Errc::SyntaxSelect;
    }

    FromPtr joined() {
        const Nesting nesting(*this);
        FromPtr left = tableOrGroup();
        while (isWord("inner") || isWord("left") || isWord("right")) {
            auto join = std::make_unique<FromItem>();
            join->begin = peek().begin;
            join->kind = isWord("inner")  ? FromItem::Kind::Inner
                         : isWord("left") ? FromItem::Kind::Left
                                          : FromItem::Kind::Right;
            ++m_at;
            if (join->kind != FromItem::Kind::Inner)
                acceptWord("outer");
            expectWord("join");
            join->left = std::move(left);
            join->right = tableOrGroup();
            join->height = 1 + std::max(join->left->height, join->right->height);
            if (join->height > kMaxHeight)
                tooComplex();
            expectWord("on");
            join->on = expression();
            left = std::move(join);
        }
        return left;
    }

    FromPtr tableOrGroup() {
        if (acceptSymbol("(")) {
            if (isWord("select"))
                unsupported("subquery");
            FromPtr inner = joined();
            expectSymbol(")");
            return inner;
        }
        auto item = std::make_unique<FromItem>();
        item->begin = peek().begin;
        item->name = expectName();
        item->alias = alias();
        return item;
    }

    std::string alias() {
        if (acceptWord("as") || isName())
            return expectName();
        return {};
    }

    // --- the statements that change data, behind their first word

    ast::Insert insert() {
        m_syntax = Errc::SyntaxInsert;
        ast::Insert s;
        expectWord("into");
        s.table = expectName();
        if (acceptSymbol("(")) {
            s.columns.emplace();
            do {
                s.columns->push_back(expectName());
            } while (acceptSymbol(","));
            expectSymbol(")");
        }
        if (acceptWord("select")) {
            s.select = std::make_unique<ast::Select>(select());
            return s;
        }
        expectWord("values");
        expectSymbol("(");
        do {
            s.values.push_back(expression());
        } while (acceptSymbol(","));
        expectSymbol(")");
        return s;
    }

    ast::Update update() {
        m_syntax = Errc::SyntaxUpdate;
        ast::Update s;
        s.table = expectName();
        if (!isWord("set"))
            s.alias = alias();
        refuseJoin();
        expectWord("set");
        do {
            ast::Assignment a;
            a.column = expectName();
            if (acceptSymbol(".") || acceptSymbol("!")) {
                a.qualifier = std::move(a.column);
                a.column = expectName();
            }
            expectSymbol("=");
            a.value = expression();
            s.assignments.push_back(std::move(a));
        } while (acceptSymbol(","));
        if (acceptWord("where"))
            s.where = expression();
        return s;
    }

    ast::Delete erase() {
        m_syntax = Errc::SyntaxDelete;
        ast::Delete s;
        if (!acceptSymbol("*") && isName() && isSymbol(".", 1) && isSymbol("*", 2))
            m_at += 3;
        expectWord("from");
        s.table = expectName();
        s.alias = alias();
        refuseJoin();
        if (acceptWord("where"))
            s.where = expression();
        return s;
    }

    void refuseJoin() const {
        if (isSymbol(",") || isWord("inner") || isWord("left") || isWord("right"))
            unsupported("changing a join");
    }

    std::size_t m_expression = 0;  // token where the outermost expression begins
    int m_depth = 0;
    Errc m_syntax = Errc::SyntaxOther;  // what is wrong when the words of the statement are
};

}  // namespace

ast::Statement parse(std::string_view sql) {
    return Parser(sql).statement();
}

ast::ExprPtr parseExpression(std::string_view text) {
    return Parser(text).onlyExpression();
}

std::string quotedName(const std::string& name) {
    const std::vector<Token> tokens = tokenize(name);
    const bool plain = tokens.front().kind == Kind::Word && tokens.front().text == name;
    return plain && !isOneOf(name, kReserved) ? name : "[" + name + "]";
}

}  // namespace jetsql
