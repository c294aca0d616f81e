// SPDX-License-Identifier: MIT
#include "jetsql/error.h"
#include "jetsql/parser.h"
#include "rows.h"
#include "vbrt/error.h"

#include <QTest>

namespace ast = jetsql::ast;
using jetsql::Errc;

namespace {

// --- trees as text: (op left right), names as qualifier.name

std::string dump(const ast::Expr& e) {
    static constexpr const char* kOps[] = {"+",  "-", "*",  "/", "\\", "mod",  "^",   "&", "=",
                                           "<>", "<", "<=", ">", ">=", "like", "and", "or"};
    static constexpr const char* kHeads[] = {"", "", "neg", "not", "", "between", "in", "isnull", ""};
    if (e.kind == ast::Expr::Kind::Literal)
        return jet::toDebugString(e.value);
    if (e.kind == ast::Expr::Kind::Column)
        return (e.qualifier.empty() ? "" : e.qualifier + ".") + e.name;
    std::string head = kHeads[static_cast<std::size_t>(e.kind)];
    if (e.kind == ast::Expr::Kind::Binary)
        head = kOps[static_cast<std::size_t>(e.op)];
    if (e.kind == ast::Expr::Kind::Call)
        head = e.name + "()" + (e.star ? " *" : "");
    std::string text = "(" + head;
    for (const ast::ExprPtr& arg : e.args)
        text += " " + dump(*arg);
    return text + ")";
}

std::string dump(const char* word, const ast::ExprPtr& e) {
    return e ? std::string(word) + dump(*e) : "";
}

std::string dump(const ast::FromItem& f) {
    static constexpr const char* kKinds[] = {"", "inner", "left", "right"};
    if (f.kind == ast::FromItem::Kind::Table)
        return f.name + (f.alias.empty() ? "" : "=" + f.alias);
    return "(" + std::string(kKinds[static_cast<std::size_t>(f.kind)]) + " " + dump(*f.left) + " " + dump(*f.right) +
           dump(" on ", f.on) + ")";
}

std::string dump(const ast::Select& s) {
    std::string text = "select";
    text += s.distinct ? " distinct" : "";
    text += s.distinctRow ? " distinctrow" : "";
    text += s.top ? " top " + std::to_string(*s.top) : "";
    for (const ast::OutputItem& o : s.outputs) {
        text += " [" + (o.star ? o.qualifier + "*" : dump(*o.expr));
        text += (o.alias.empty() ? "" : " as " + o.alias) + "]";
    }
    for (const ast::FromPtr& f : s.from)
        text += (&f == s.from.data() ? " from " : ", ") + dump(*f);
    text += dump(" where ", s.where);
    for (const ast::ExprPtr& key : s.groupBy)
        text += dump(&key == s.groupBy.data() ? " group " : ", ", key);
    text += dump(" having ", s.having);
    for (const ast::OrderItem& o : s.orderBy)
        text += dump(&o == s.orderBy.data() ? " order " : ", ", o.expr) + (o.descending ? " desc" : "");
    return text;
}

std::string dump(const ast::Insert& s) {
    std::string text = "insert " + s.table;
    if (s.columns) {
        text += " (";
        for (const std::string& c : *s.columns)
            text += (text.back() == '(' ? "" : " ") + c;
        text += ")";
    }
    for (const ast::ExprPtr& v : s.values)
        text += " " + dump(*v);
    return text + (s.select ? " " + dump(*s.select) : "");
}

std::string dump(const ast::Update& s) {
    std::string text = "update " + s.table + (s.alias.empty() ? "" : "=" + s.alias);
    for (const ast::Assignment& a : s.assignments)
        text += " " + (a.qualifier.empty() ? "" : a.qualifier + ".") + a.column + ":=" + dump(*a.value);
    return text + dump(" where ", s.where);
}

std::string dump(const ast::Delete& s) {
    return "delete " + s.table + (s.alias.empty() ? "" : "=" + s.alias) + dump(" where ", s.where);
}

std::string parsed(std::string_view sql) {
    return std::visit([](const auto& s) { return dump(s); }, jetsql::parse(sql));
}

// The code and the subject of the error that parsing ends with.
std::pair<int, std::string> errorOf(std::string_view sql) {
    try {
        return {-1, parsed(sql)};
    } catch (const jetsql::Error& e) {
        return {static_cast<int>(e.code()), e.subject()};
    }
}

}  // namespace

class tst_parser : public QObject {
    Q_OBJECT

 private slots:
    void statements_data() {
        addColumns<QByteArray, QByteArray>("sql", "expected");
        const auto row = [](const char* name, const char* sql, const char* expected) {
            addRow(name, QByteArray(sql), QByteArray(expected));
        };
        row("star", "select * from t", "select [*] from t");
        row("clauses, any case, odd blanks",
            "SELECT  a , b\tas c FROM t WHERE a=1\nGROUP BY a,b HAVING c>2 ORDER BY a DESC ,b ASC;",
            "select [a] [b as c] from t where (= a 1) group a, b having (> c 2) order a desc, b");
        row("distinct and top", "select distinct top 3 t.*, u.x from t, u v",
            "select distinct top 3 [t*] [u.x] from t, u=v");
        row("top as a name", "select top from t", "select [top] from t");
        row("without a table", "select 1, Now, Date()", "select [1] [(now())] [(Date())]");
        row("count of rows", "select count(*), count ( a ) from t", "select [(count() *)] [(count() a)] from t");
        row("joins in parentheses",
            "select * from (a inner join b on a.x = b.x) left outer join [c d] as e on b.y = e.y",
            "select [*] from (left (inner a b on (= a.x b.x)) c d=e on (= b.y e.y))");
        row("function that begins like a join", "select left(a, 1) from t right join u on right(b, 1) = c",
            "select [(left() a 1)] from (right t u on (= (right() b 1) c))");
        row("bang, brackets and backticks", "select [t]![c d], `e` from `t`", "select [t.c d] [e] from t");
        row("insert values", "insert into t (a, [b c]) values (1,'x')", "insert t (a b c) 1 \"x\"");
        row("insert without columns", "insert into t values (Null, -1)", "insert t Null (neg 1)");
        row("insert select", "insert into t (a) select b from u where b > 0",
            "insert t (a) select [b] from u where (> b 0)");
        row("update", "update t as u set u.a = 1, b = a + 1 where a is not null",
            "update t=u u.a:=1 b:=(+ a 1) where (not (isnull a))");
        row("delete", "delete from t", "delete t");
        row("delete star", "delete * from t where a = 1;", "delete t where (= a 1)");
        row("delete with the table named", "delete t.* from t u", "delete t=u");
    }
    void statements() {
        QFETCH(QByteArray, sql);
        QFETCH(QByteArray, expected);
        QCOMPARE(parsed(sql.toStdString()), expected.toStdString());
    }

    void expressions_data() {
        addColumns<QByteArray, QByteArray>("text", "expected");
        const auto row = [](const char* text, const char* expected) {
            addRow(text, QByteArray(text), QByteArray(expected));
        };
        row("a + b * c - d", "(- (+ a (* b c)) d)");
        row("a / b * c \\ d mod e", "(mod (\\ (* (/ a b) c) d) e)");
        row("-2 ^ 2", "(neg (^ 2 2))");
        row("2 ^ -1", "(^ 2 (neg 1))");
        row("- - a", "(neg (neg a))");
        row("+a", "a");
        row("a & b + c & d", "(& (& a (+ b c)) d)");
        row("a = b & c", "(= a (& b c))");
        row("not a = b and c or d", "(or (and (not (= a b)) c) d)");
        row("a or b and not c", "(or a (and b (not c)))");
        row("a between 1 and 2 and b", "(and (between a 1 2) b)");
        row("a not between b + 1 and c", "(not (between a (+ b 1) c))");
        row("a in (1, 2 + 3)", "(in a 1 (+ 2 3))");
        row("a not in ('x') or a not like 'b*'", "(or (not (in a \"x\")) (not (like a \"b*\")))");
        row("a is null = b", "(= (isnull a) b)");
        row("(a + b) * c", "(* (+ a b) c)");
        row("iif(a>0, a, 0)", "(iif() (> a 0) a 0)");
        row("null & true & No", "(& (& Null true) false)");
        row("t.null + [date] + date", "(+ (+ t.null date) date)");
        row("= 5", "5");
    }
    void expressions() {
        QFETCH(QByteArray, text);
        QFETCH(QByteArray, expected);
        QCOMPARE(dump(*jetsql::parseExpression(text.toStdString())), expected.toStdString());
    }

    void errors_data() {
        addColumns<QByteArray, int, QByteArray>("sql", "code", "subject");
        const auto refused = [](Errc code, std::initializer_list<const char*> statements) {
            for (const char* sql : statements)
                addRow(*sql ? sql : "nothing", QByteArray(sql), static_cast<int>(code), QByteArray());
        };
        const auto row = [](const char* sql, Errc code, const char* subject) {
            addRow(sql, QByteArray(sql), static_cast<int>(code), QByteArray(subject));
        };
        using enum Errc;
        refused(SyntaxOther, {"", "selec * from t", "'x'"});
        refused(SyntaxSelect,
                {"select", "select from t", "select a, from t", "select * form t", "select * from t where",
                 "select * from t group a", "select * from t order by", "select * from t order by a asc desc",
                 "select a as from t", "insert into t (a) select from u"});
        refused(SyntaxFrom, {"select * from", "select * from t,", "select * from 'x'", "select * from t were a = 1",
                             "select * from a join b on a.x = b.x", "select * from a inner join b",
                             "select * from (a inner join b on a.x = b.x"});
        refused(Overflow, {"select 1e999"});
        refused(SyntaxInsert,
                {"insert t values (1)", "insert into t (a) values (1", "insert into t (a) values (1,)",
                 "insert into t (a values (1)", "insert into t (a) values ()", "insert into t (a) values (1) where b"});
        refused(SyntaxUpdate,
                {"update t a = 1", "update t set a = where b = 1", "update t set a 1", "update t set a = 1,"});
        refused(SyntaxDelete, {"delete * form t", "delete from t wher a = 1", "delete a, b from t"});
        row("create table t (a long)", UnsupportedSql, "create");
        row("select a b from t", SyntaxMissingOperator, "a b");
        row("select * from t where envelope = 'O'Brien'", SyntaxMissingOperator, "envelope = 'O'Brien'");
        row("select * from t where a = order by b", SyntaxMissingOperator, "a =");
        row("select * from t where (a = 1 and b = 2 order by c", SyntaxMissingOperator, "(a = 1 and b = 2 order by c");
        row("select * from t where a between 1 or 2", SyntaxMissingOperator, "a between 1 or 2");
        row("select f(1,) from t", SyntaxMissingOperator, "f(1,)");
        row("select * from t where a = @b", SyntaxMissingOperator, "a = @b");
        row("select * from t where a = [b", SyntaxMissingOperator, "a = [b");
        row("select * from t where a = 'b", SyntaxString, "a = 'b");
        row("select * from t where a = #b# order by c", SyntaxDate, "a = #b#");
        row("select a.b.c from t", SyntaxMissingOperator, "a.b.c");
        row("select * from t where a = (select 1)", UnsupportedSql, "subquery");
        row("select * from (select 1)", UnsupportedSql, "subquery");
        row("select * from t where a in (select 1)", UnsupportedSql, "subquery");
        row("select * from t where exists (select 1)", UnsupportedSql, "EXISTS");
        row("select a from t union select b from u", UnsupportedSql, "union");
        row("select a into b from t", UnsupportedSql, "SELECT INTO");
        row("select top 5 percent a from t", UnsupportedSql, "TOP PERCENT");
        row("select 1; select 2", UnsupportedSql, "characters after the end of the statement");
        row("insert into t (a) values ('O'Brien', 5)", SyntaxMissingOperator, "'O'Brien', 5)");
        row("update t set a = 1 2", SyntaxMissingOperator, "1 2");
        row("update t inner join u on t.a = u.a set t.b = 1", UnsupportedSql, "changing a join");
    }
    void errors() {
        QFETCH(QByteArray, sql);
        QFETCH(int, code);
        QFETCH(QByteArray, subject);
        const auto [actual, text] = errorOf(sql.toStdString());
        QCOMPARE(actual, code);
        QCOMPARE(text, subject.toStdString());
    }

    void position() {
        try {
            jetsql::parse("select a from t where b b");
            QFAIL("no error");
        } catch (const jetsql::Error& e) {
            QCOMPARE(e.position(), std::size_t{24});
        }
    }

    void deepNesting() {
        const char* const shapes[][2] = {{"(", ")"}, {"-", ""},     {"not ", ""},    {"2^", ""},
                                         {"1+", ""}, {"abs(", ")"}, {"", " is null"}};
        for (const auto& [opening, closing] : shapes) {
            for (const int depth : {150, 10'000}) {
                const QByteArray sql =
                    "select " + QByteArray(opening).repeated(depth) + "1" + QByteArray(closing).repeated(depth);
                const bool fits = depth < jetsql::kMaxHeight;
                QCOMPARE(errorOf(sql.toStdString()).first, fits ? -1 : static_cast<int>(Errc::UnsupportedSql));
            }
        }
        const std::string joins = "select * from " + std::string(10'000, '(');
        QCOMPARE(errorOf(joins).first, static_cast<int>(Errc::UnsupportedSql));
    }

    void quotedNames() {
        QCOMPARE(jetsql::quotedName("tbl_items"), std::string("tbl_items"));
        QCOMPARE(jetsql::quotedName("Order Details"), std::string("[Order Details]"));
        QCOMPARE(jetsql::quotedName("Order"), std::string("[Order]"));
        QCOMPARE(jetsql::quotedName("2nd"), std::string("[2nd]"));
    }
};

QTEST_APPLESS_MAIN(tst_parser)
#include "tst_parser.moc"
