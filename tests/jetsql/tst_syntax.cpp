// SPDX-License-Identifier: MIT
// Tokens, and the trees that the parser makes of them; what it refuses is in syntax.test.
#include "jetsql/error.h"
#include "jetsql/lexer.h"
#include "jetsql/parser.h"
#include "rows.h"

#include <QTest>

namespace ast = jetsql::ast;
using jetsql::Errc;
using jetsql::Token;

namespace {

// Tokens as text: words as they are, [names], values as in dumps, !kind for what cannot be read.
std::string tokensOf(std::string_view sql) {
    std::string text;
    for (const Token& t : jetsql::tokenize(sql)) {
        if (t.kind == Token::Kind::End)
            return text;
        text += text.empty() ? "" : " ";
        static constexpr const char* kBad[] = {"!string", "!date", "!number", "!name", "!byte"};
        if (t.kind == Token::Kind::Word || t.kind == Token::Kind::Symbol)
            text += t.text;
        else if (t.kind == Token::Kind::Name)
            text += "[" + t.text + "]";
        else if (t.kind == Token::Kind::Literal)
            text += jet::toDebugString(t.value);
        else
            text += kBad[static_cast<int>(t.kind) - static_cast<int>(Token::Kind::BadString)];
    }
    return text + " without end";
}

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

// The code of the error that parsing ends with.
int errorOf(std::string_view sql) {
    try {
        jetsql::parse(sql);
        return -1;
    } catch (const jetsql::Error& e) {
        return static_cast<int>(e.code());
    }
}

}  // namespace

class tst_syntax : public QObject {
    Q_OBJECT

 private slots:
    void tokens_data() {
        addColumns<QByteArray, QByteArray>("sql", "expected");
        const auto row = [](const char* name, const char* sql, const char* expected) {
            addRow(name, QByteArray(sql), QByteArray(expected));
        };
        row("nothing", " \t\r\n", "");
        row("words and symbols", "select*from t_1;", "select * from t_1 ;");
        row("operators of two characters", "a<=b<>c>=d< =e", "a <= b <> c >= d < = e");
        row("names in brackets", "[tbl items]![a]b`c d`", "[tbl items] ! [a] b [c d]");
        row("numbers", "1 12.5 .5 1. 1e3 1E-2 2147483647 2147483648", "1 12.5 0.5 1 1000 0.01 2147483647 2147483648");
        row("hexadecimal numbers", "&H10 &hFFFFFFFF a&b", "16 -1 a & b");
        row("a letter behind a number", "12abc 1e 1e+", "12 abc 1 e 1 e +");
        row("point between names", "t.5 1.2.3", "t 0.5 1.2 0.3");
        row("numbers out of range", "1e400 1e-400 &H123456789", "!number 0 !number");
        row("texts", "'a' \"b\" '' 'it''s' \"say \"\"x\"\"\" '\"'",
            "\"a\" \"b\" \"\" \"it's\" \"say \\\"x\\\"\" \"\\\"\"");
        row("a text over two lines", "'a\nb'", "\"a\\nb\"");
        row("a text without end", "a = 'O'Brien'", "a = \"O\" Brien !string");
        row("dates are American", "#1/2/2026# #13/1/2026# #2026-01-13#", "#46024# #46035# #46035#");
        row("what is no date", "#2026-13-01# #x# ## #1/2", "!date !date !date !date");
        row("a name without end", "[abc", "!name");
        row("an empty name", "[]", "!name");
        row("bytes that mean nothing", "a ? @ { $ :", "a !byte !byte !byte !byte !byte");
        row("letters beyond ASCII", "f\xC3\xBCr 'f\xC3\xBCr'", "f\xC3\xBCr \"f\xC3\xBCr\"");
    }
    void tokens() {
        QFETCH(QByteArray, sql);
        QFETCH(QByteArray, expected);
        QCOMPARE(tokensOf(sql.toStdString()), expected.toStdString());
    }

    void numbersHaveTypes() {
        const auto tokens = jetsql::tokenize("1 1.0 3000000000 1e0");
        QVERIFY(std::holds_alternative<std::int32_t>(tokens[0].value));
        for (std::size_t i = 1; i < 4; ++i)
            QVERIFY(std::holds_alternative<double>(tokens[i].value));
    }

    void scripts_data() {
        addColumns<QByteArray, QByteArray, QByteArray>("text", "statements", "open");
        addRow("one", QByteArray("a b"), QByteArray("<a b>"), QByteArray());
        addRow("empty ones", QByteArray(" ;; a;\n;"), QByteArray("< a>"), QByteArray());
        addRow("quoted", QByteArray("';' \"a;\" [;] `;`;b"), QByteArray("<';' \"a;\" [;] `;`><b>"), QByteArray());
        addRow("open text", QByteArray("a; 'b;c''"), QByteArray("<a>< 'b;c''>"), QByteArray("'"));
        addRow("open name", QByteArray("[] a; [b;c"), QByteArray("<[] a>< [b;c>"), QByteArray("]"));
        addRow("a date never closed", QByteArray("#1; 'b"), QByteArray("<#1; 'b>"), QByteArray());
    }
    void scripts() {
        QFETCH(QByteArray, text);
        QFETCH(QByteArray, open);
        const std::string sql = text.toStdString();
        const jetsql::Script script = jetsql::splitStatements(sql);
        std::string marked;
        for (const std::string_view statement : script.statements)
            marked += "<" + std::string(statement) + ">";
        QTEST(QByteArray::fromStdString(marked), "statements");
        QCOMPARE(script.open, open.isEmpty() ? char{0} : open[0]);
    }

    void offsets() {
        const std::string_view sql = "ab  'c''d' [e]#";
        std::string marked;
        for (const Token& t : jetsql::tokenize(sql))
            marked += "<" + std::string(sql.substr(t.begin, t.end - t.begin)) + ">";
        QCOMPARE(marked, std::string("<ab><'c''d'><[e]><#><>"));
    }

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
        row("a = b is null", "(isnull (= a b))");
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

    void position() {
        try {
            jetsql::parse("select a from t where b b");
            QFAIL("no error");
        } catch (const jetsql::Error& e) {
            QCOMPARE(e.position(), std::size_t{24});
        }
        QCOMPARE(errorOf(""), static_cast<int>(Errc::SyntaxOther));
    }

    void deepNesting() {
        const char* const shapes[][2] = {{"(", ")"}, {"-", ""},     {"not ", ""},    {"2^", ""},
                                         {"1+", ""}, {"abs(", ")"}, {"", " is null"}};
        for (const auto& [opening, closing] : shapes) {
            for (const int depth : {150, 10'000}) {
                const QByteArray sql =
                    "select " + QByteArray(opening).repeated(depth) + "1" + QByteArray(closing).repeated(depth);
                const bool fits = depth < jetsql::kMaxHeight;
                QCOMPARE(errorOf(sql.toStdString()), fits ? -1 : static_cast<int>(Errc::UnsupportedSql));
            }
        }
        const std::string joins = "select * from " + std::string(10'000, '(');
        QCOMPARE(errorOf(joins), static_cast<int>(Errc::UnsupportedSql));
    }

    void quotedNames() {
        QCOMPARE(jetsql::quotedName("tbl_items"), std::string("tbl_items"));
        QCOMPARE(jetsql::quotedName("Order Details"), std::string("[Order Details]"));
        QCOMPARE(jetsql::quotedName("Order"), std::string("[Order]"));
        QCOMPARE(jetsql::quotedName("2nd"), std::string("[2nd]"));
    }
};

QTEST_APPLESS_MAIN(tst_syntax)
#include "tst_syntax.moc"
