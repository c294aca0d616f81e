// SPDX-License-Identifier: MIT
#include "ado/connection_string.h"

#include <QTest>

#include "ado/errors.h"

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
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("pairs");
        const QString error = "error -2147217805";

        QTest::newRow("empty") << ""
                               << "";
        QTest::newRow("separators alone") << " ; ;;"
                                          << "";
        QTest::newRow("as the program writes it")
            << "Provider=P;Data Source=C:\\My Files\\a.mdb;Jet OLEDB:Engine Type=4;"
            << "Provider=[P] Data Source=[C:\\My Files\\a.mdb] Jet OLEDB:Engine Type=[4]";
        QTest::newRow("no separator at the end") << "a=1;b=2"
                                                 << "a=[1] b=[2]";
        QTest::newRow("blanks around key and value") << "  a  =  x y  ; b =z"
                                                     << "a=[x y] b=[z]";
        QTest::newRow("equals sign in a value") << "a=b=c"
                                                << "a=[b=c]";
        QTest::newRow("equals sign in a key") << "a==b=c"
                                              << "a=b=[c]";
        QTest::newRow("empty value") << "a=;b="
                                     << "a=[] b=[]";
        QTest::newRow("apostrophe inside a plain value") << "a=/home/O'Brien/x\"y"
                                                         << "a=[/home/O'Brien/x\"y]";
        QTest::newRow("double quotes") << "a=\" x;\"\"y\"\"' \";b=1"
                                       << "a=[ x;\"y\"' ] b=[1]";
        QTest::newRow("single quotes") << "a = 'it''s; \"' ; b=1"
                                       << "a=[it's; \"] b=[1]";
        QTest::newRow("empty quotes") << "a=\"\""
                                      << "a=[]";
        QTest::newRow("the last of two counts") << "Mode=Read;MODE=Write"
                                                << "Mode=[Write]";
        QTest::newRow("beyond Latin") << u"Data Source=/tmp/Бюджет 🙂.mdb"_qs
                                      << u"Data Source=[/tmp/Бюджет 🙂.mdb]"_qs;

        QTest::newRow("no equals sign") << "abc" << error;
        QTest::newRow("no equals sign before the next pair") << "abc;d=1" << error;
        QTest::newRow("empty key") << "a=1; =2" << error;
        QTest::newRow("quote never closed") << "a=\"x;b=1" << error;
        QTest::newRow("doubled quote at the end") << "a='x''" << error;
        QTest::newRow("text behind the quote") << "a='x'y;b=1" << error;
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
        QTest::addColumn<QString>("value");
        for (const char* value : {"", " ", "plain", "a;b", "a=b", "=", "'", "\"", "\"'\"';", "'quoted'", "\"quoted\"",
                                  " leading", "trailing ", "x'y\"z", "\t", ";", "\"\"", "line\nbreak\n"})
            QTest::newRow(QByteArray(value).toPercentEncoding().constData()) << value;
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
