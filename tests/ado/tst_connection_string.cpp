// SPDX-License-Identifier: MIT
#include "ado/connection_string.h"

#include <QTest>

#include "ado/errors.h"
#include "rows.h"

using namespace Qt::StringLiterals;

namespace {

QString dump(const QString& text) {
    try {
        QStringList pairs;
        const ado::ConnectionString string(text);
        for (const auto& [key, value] : string.pairs())
            pairs += key + "=[" + value + "]";
        return pairs.join(' ');
    } catch (const vbrt::Error& e) {
        return "error " + QString::number(e.number());
    }
}

}  // namespace

class tst_connection_string : public QObject {
    Q_OBJECT

 private slots:
    void pairs_data() {
        addColumns<QString, QString>("text", "pairs");
        const QString error = "error -2147217805";

        addRow("empty", "", "");
        addRow("separators alone", " ; ;;", "");
        addRow("as the program writes it", "Provider=P;Data Source=C:\\My Files\\a.mdb;Jet OLEDB:Engine Type=4;",
               "Provider=[P] Data Source=[C:\\My Files\\a.mdb] Jet OLEDB:Engine Type=[4]");
        addRow("no separator at the end", "a=1;b=2", "a=[1] b=[2]");
        addRow("blanks around key and value", "  a  =  x y  ; b =z", "a=[x y] b=[z]");
        addRow("equals sign in a value", "a=b=c", "a=[b=c]");
        addRow("equals sign in a key", "a==b=c", "a=b=[c]");
        addRow("empty value", "a=;b=", "a=[] b=[]");
        addRow("apostrophe inside a plain value", "a=/home/O'Brien/x\"y", "a=[/home/O'Brien/x\"y]");
        addRow("double quotes", "a=\" x;\"\"y\"\"' \";b=1", "a=[ x;\"y\"' ] b=[1]");
        addRow("single quotes", "a = 'it''s; \"' ; b=1", "a=[it's; \"] b=[1]");
        addRow("empty quotes", "a=\"\"", "a=[]");
        addRow("the last of two counts", "Mode=Read;MODE=Write", "Mode=[Write]");
        addRow("beyond Latin", u"Data Source=/tmp/Бюджет 🙂.mdb"_s,
               u"Data Source=[/tmp/Бюджет 🙂.mdb]"_s);

        addRow("no equals sign", "abc", error);
        addRow("no equals sign before the next pair", "abc;d=1", error);
        addRow("empty key", "a=1; =2", error);
        addRow("quote never closed", "a=\"x;b=1", error);
        addRow("doubled quote at the end", "a='x''", error);
        addRow("text behind the quote", "a='x'y;b=1", error);
    }
    void pairs() {
        QFETCH(QString, text);
        QTEST(dump(text), "pairs");
    }

    void keysIgnoreCase() {
        const ado::ConnectionString string("DATA source=x;empty=");
        QCOMPARE(string.value("Data Source"), "x");
        QVERIFY(string.contains("Empty"));
        QVERIFY(!string.contains("missing"));
        QCOMPARE(string.value("missing"), QString());
    }

    void anyValueCanBeWritten_data() {
        addColumns<QString>("value");
        for (const char* value : {"", " ", "plain", "a;b", "a=b", "=", "'", "\"", "\"'\"';", "'quoted'", "\"quoted\"",
                                  " leading", "trailing ", "x'y\"z", "\t", ";", "\"\"", "line\nbreak\n"})
            addRow(QByteArray(value).toPercentEncoding().constData(), value);
    }
    void anyValueCanBeWritten() {
        QFETCH(QString, value);
        const ado::ConnectionString string("a=1;v=" + ado::connectionValue(value) + ";b=2;");
        QCOMPARE(string.value("v"), value);
        QCOMPARE(string.value("b"), "2");
    }

    void plainValuesStayPlain() {
        QCOMPARE(ado::connectionValue("C:\\O'Brien's files\\a.mdb"), "C:\\O'Brien's files\\a.mdb");
    }
};

QTEST_APPLESS_MAIN(tst_connection_string)
#include "tst_connection_string.moc"
