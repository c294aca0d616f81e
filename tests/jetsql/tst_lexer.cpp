// SPDX-License-Identifier: MIT
#include "jetsql/lexer.h"
#include "rows.h"

#include <QTest>

using jetsql::Token;

namespace {

// Tokens as text: words as they are, [names], values as in dumps, !kind for what cannot be read.
std::string dump(std::string_view sql) {
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

}  // namespace

class tst_lexer : public QObject {
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
        QCOMPARE(dump(sql.toStdString()), expected.toStdString());
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

    // Every token is at least a byte long, so the end is reached whatever the text.
    void anyBytes() {
        std::uint32_t random = 1;
        for (int round = 0; round < 20'000; ++round) {
            std::string sql;
            for (int i = 0; i < 12; ++i) {
                random = random * 1664525 + 1013904223;
                static constexpr char kFrequent[] = "'\"#[]`&H1.eE+-\0 ";
                sql += (random & 0x80000000U) != 0 ? kFrequent[(random >> 8U) % sizeof kFrequent]
                                                   : static_cast<char>(random >> 16U);
            }
            std::size_t at = 0;
            for (const Token& t : jetsql::tokenize(sql)) {
                QVERIFY(t.begin >= at && t.end <= sql.size());
                QVERIFY(t.end > t.begin || t.kind == Token::Kind::End);
                at = t.end;
            }
        }
    }
};

QTEST_APPLESS_MAIN(tst_lexer)
#include "tst_lexer.moc"
