// SPDX-License-Identifier: MIT
// Connections, their strings, and the one table of errors.
#include "ado/connection.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTest>
#include <new>
#include <stdexcept>

#include "ado/database_file.h"
#include "ado/fixture.h"
#include "jet/values/error.h"
#include "jetsql/error.h"
#include "rows.h"

using namespace Qt::StringLiterals;
using fixture::errorOf;
using fixture::rowsOf;

namespace {

// The pairs of a connection string, or its error.
QString pairsOf(const QString& text) {
    QStringList pairs;
    const QString error = fixture::errorOf([&] {
        const ado::ConnectionString string(text);
        for (const auto& [key, value] : string.pairs())
            pairs += key + "=[" + value + "]";
    });
    return error.isEmpty() ? pairs.join(' ') : "error " + error.section(' ', 0, 0);
}

template <class Work>
QString thrownBy(Work&& work) {
    return fixture::errorOf([&] { ado::guarded(work); });
}

template <class Exception>
QString shown(const Exception& exception) {
    return thrownBy([&] { throw exception; });
}
QString shown(jet::Errc code) {
    return shown(jet::Error(code, "a%t", "tbl", 12));
}
QString shown(jetsql::Errc code) {
    return shown(jetsql::Error(code, "a%t", 3));
}

}  // namespace

class tst_connection : public QObject {
    Q_OBJECT

    QTemporaryDir m_dir;
    QString m_path;

 private slots:
    void init() {
        m_path = m_dir.filePath("home;of 'O\"Brien'.mdb");
        fixture::create(m_path);
    }

    void states() {
        ado::Connection connection;
        QCOMPARE(connection.State(), ado::adStateClosed);
        QCOMPARE(errorOf([&] { connection.Close(); }), "3704 Operation is not allowed when the object is closed.");
        QCOMPARE(errorOf([&] { connection.Execute("select 1"); }).left(5), "3704 ");

        connection.Open(fixture::connectionString(m_path));
        QCOMPARE(connection.State(), ado::adStateOpen);
        QCOMPARE(errorOf([&] { connection.Open(fixture::connectionString(m_path)); }),
                 "3705 Operation is not allowed when the object is open.");
        QCOMPARE(errorOf([&] { connection.setProvider("x"); }).left(5), "3705 ");
        QCOMPARE(rowsOf(connection, "select count(*) from parents"), "0");

        connection.Close();
        QCOMPARE(connection.State(), ado::adStateClosed);
        connection.Open(fixture::connectionString(m_path), "ADMIN", "");
        QCOMPARE(connection.State(), ado::adStateOpen);
    }

    void providerAsProperty() {
        ado::Connection connection;
        connection.setProvider("microsoft.jet.oledb.4.0");
        connection.Open("Data Source=" + ado::connectionValue(m_path) + ";Jet OLEDB:Engine Type=4;" +
                        "Jet OLEDB:Database Password=" + ado::connectionValue(fixture::kPassword));
        QCOMPARE(connection.State(), ado::adStateOpen);
    }

    void refusedOpenings_data() {
        addColumns<QString, QString>("string", "error");
        const QString dir = QDir(m_dir.path()).absolutePath();
        fixture::writeBytes(dir + "/text.mdb", QByteArray(5000, 'x'));
        fixture::writeBytes(dir + "/empty.mdb", {});

        addRow("no provider", "Data Source=x.mdb", "3706 Provider cannot be found. It may not be properly installed.");
        addRow("other provider", "Provider=SQLOLEDB;Data Source=x.mdb",
               "3706 Provider cannot be found. It may not be properly installed.");
        addRow("not a connection string", "home.mdb", "-2147217805 The format of the connection string is not valid.");
        addRow("unknown key", fixture::connectionString(dir + "/x.mdb") + "Jet OLEDB:Color=4",
               "-2147467259 Could not find installable ISAM.");
        addRow("other user", fixture::connectionString(dir + "/x.mdb") + "User ID=bob",
               "-2147217843 Not a valid account name or password.");
        addRow("no file", fixture::connectionString(dir + "/none.mdb"),
               "-2147467259 Could not find file '" + dir + "/none.mdb'.");
        addRow("no data source", "Provider=Microsoft.Jet.OLEDB.4.0", "-2147467259 Could not find file ''.");
        addRow("NUL in the path", fixture::connectionString(dir + "/text.mdb" + QChar(0) + "x"),
               "-2147467259 Could not find file '" + dir + "/text.mdb'.");
        addRow("no folder", fixture::connectionString(dir + "/none/home.mdb"),
               "-2147467259 '" + dir +
                   "/none/home.mdb' is not a valid path.  Make sure that the path name is spelled correctly and that "
                   "you are connected to the server on which the file resides.");
        addRow("a folder", fixture::connectionString(dir),
               "-2147467259 The Microsoft Jet database engine cannot open the file '" + dir +
                   "'.  It is already opened exclusively by another user, or you need permission to view its data.");
        addRow("no database", fixture::connectionString(dir + "/text.mdb"),
               "-2147467259 Unrecognized database format '" + dir + "/text.mdb'.");
        addRow("empty file", fixture::connectionString(dir + "/empty.mdb"),
               "-2147467259 Unrecognized database format '" + dir + "/empty.mdb'.");
        addRow("wrong password", fixture::connectionString(m_dir.filePath("home;of 'O\"Brien'.mdb"), "other"),
               "-2147217843 Not a valid password.");
        addRow("no password",
               "Provider=Microsoft.Jet.OLEDB.4.0;Data Source=" +
                   ado::connectionValue(m_dir.filePath("home;of 'O\"Brien'.mdb")),
               "-2147217843 Not a valid password.");
    }
    void refusedOpenings() {
        QFETCH(QString, string);
        ado::Connection connection;
        QTEST(errorOf([&] { connection.Open(string); }), "error");
        QCOMPARE(connection.State(), ado::adStateClosed);
    }

    void statements() {
        ado::Connection connection;
        connection.Open(fixture::connectionString(m_path));
        long affected = -5;
        auto result = connection.Execute("insert into parents (name, amount) values ('Rent', 1.5)", &affected);
        QCOMPARE(affected, 1);
        QCOMPARE(result->State(), ado::adStateClosed);
        connection.Execute("insert into parents (name) values ('Food')");
        connection.Execute("insert into children (parent, note) values ('rent', 'é')");

        connection.Execute("update parents set amount = 2", &affected);
        QCOMPARE(affected, 2);
        connection.Execute("update parents set name = 'House' where name = 'Rent'", &affected);
        QCOMPARE(affected, 1);
        QCOMPARE(rowsOf(connection, "select parent, note from children"), u"House|é"_s);
        connection.Execute("delete * from parents where name = 'House'", &affected);
        QCOMPARE(affected, 1);
        QCOMPARE(rowsOf(connection, "select count(*) from children"), "0");
        const QString half = "insert into parents (name) values ('a" + QString(QChar(0xD83D)) + "b')";
        QVERIFY(
            errorOf([&] { connection.Execute(half); }).startsWith(u"-2147217913 The character '\uFFFD' (U+FFFD)"_s));
        QVERIFY(errorOf([&] { connection.Execute("update parents set name = 'x', amount = 1/0"); }).startsWith("11 "));
        QCOMPARE(rowsOf(*connection.Execute("parents", nullptr, ado::adCmdTable)), "Food|2");
    }

    void connectionsShareAFile() {
        ado::Connection first;
        ado::Connection second;
        first.Open(fixture::connectionString(m_path));
        second.Open(fixture::connectionString(m_path));
        ado::Connection stranger;
        QCOMPARE(errorOf([&] { stranger.Open(fixture::connectionString(m_path, "guess")); }),
                 "-2147217843 Not a valid password.");
        QCOMPARE(rowsOf(second, "select count(*) from parents"), "0");
        first.Execute("insert into parents (name) values ('Rent')");
        QCOMPARE(rowsOf(second, "select name from parents"), "Rent");
        first.Close();
        second.Execute("insert into parents (name) values ('Food')");
        QCOMPARE(rowsOf(second, "select count(*) from parents"), "2");
    }

    void readOnly() {
        const QByteArray before = fixture::bytesOf(m_path);
        ado::Connection connection;
        connection.Open(fixture::connectionString(m_path) + "Mode=Read|Share Deny None");
        QCOMPARE(rowsOf(connection, "select count(*) from parents"), "0");
        QCOMPARE(errorOf([&] { connection.Execute("insert into parents (name) values ('Rent')"); }),
                 "-2147467259 Operation must use an updateable query.");
        connection.Close();
        QVERIFY(fixture::bytesOf(m_path) == before);
    }

    void closingClosesTheReaders() {
        ado::Connection connection;
        connection.Open(fixture::connectionString(m_path));
        connection.Execute("insert into parents (name) values ('Rent')");
        const auto reader = connection.Execute("select * from parents");
        ado::Recordset client;
        client.setCursorLocation(ado::adUseClient);
        client.Open("select * from parents", connection);
        connection.Close();
        QCOMPARE(reader->State(), ado::adStateClosed);
        QCOMPARE(client.State(), ado::adStateClosed);
        QVERIFY(!ado::isDatabaseOpen(m_path));
    }

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
        QTEST(pairsOf(text), "pairs");
    }

    void keysIgnoreCase() {
        const ado::ConnectionString string("DATA source=x;empty=");
        QCOMPARE(string.value("Data Source"), "x");
        QVERIFY(string.contains("Empty"));
        QVERIFY(!string.contains("missing"));
        QCOMPARE(string.value("missing"), QString());
        QCOMPARE(ado::connectionValue("C:\\O'Brien's files\\a.mdb"), "C:\\O'Brien's files\\a.mdb");
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

    // docs/errors.md is the judge: it has every number with its text. Subjects stand as <x> there, or <t>, <f>, <p>.
    void errorsAsDocumented() {
        QFile file(ERRORS_DOCUMENT);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QString document = QString::fromUtf8(file.readAll());
        document.replace(QRegularExpression("`<[tfp]>`"), "`<x>`").replace("(page n): why", "(page 12): `<x>`");
        const auto check = [&](const QString& error) {
            const QString line = "| " + error.section(' ', 0, 0) + " | " + error.section(' ', 1);
            QVERIFY2(document.contains(line + " |") || document.contains(line + " ("), qPrintable(line));
        };
        for (int code = 0; code <= static_cast<int>(jet::Errc::OutOfRange); ++code) {
            if (code != static_cast<int>(jet::Errc::NotRepresentable))
                check(shown(jet::Error(static_cast<jet::Errc>(code), "`<x>`", "`<x>`", 12)));
        }
        for (int code = 0; code < static_cast<int>(jetsql::Errc::DivisionByZero); ++code)
            check(shown(jetsql::Error(static_cast<jetsql::Errc>(code), "`<x>`")));
        check(shown(jetsql::Errc::NotUpdatable));
        for (const long number :
             {ado::kWrongArgument, ado::kNoCurrentRecord, ado::kNotAllowedHere, ado::kNoSuchItem, ado::kObjectClosed,
              ado::kObjectOpen, ado::kNoProvider, ado::kInvalidConnection, ado::kDatabaseExists, ado::kOnlyForward,
              ado::kBadConnectionString, ado::kBadConnectionValue, ado::kBadAccount, vbrt::kInvalidNull})
            check(thrownBy([&] { ado::raise(number); }));
    }

    // The subject holds a "%t", which must come out as it is.
    void subjectsOfErrors_data() {
        addColumns<QString, QString>("shown", "text");
        addRow("table and column", shown(jet::Errc::ZeroLength),
               "-2147467259 Field 'tbl.a%t' cannot be a zero-length string.");
        addRow("page", shown(jet::Errc::Corrupt), "-2147467259 The database file is damaged (page 12): a%t.");
        addRow("table", shown(jet::Errc::ChildrenExist),
               "-2147467259 The record cannot be deleted or changed because table 'tbl' includes related records.");
        addRow("part of a statement", shown(jetsql::Errc::UnsupportedSql),
               "-2147217900 Syntax error in query expression 'a%t'.");
        addRow("run-time errors",
               shown(jetsql::Errc::DivisionByZero) + shown(jetsql::Errc::Overflow) + shown(jetsql::Errc::InvalidNull),
               "11 Division by zero6 Overflow94 Invalid use of Null");
    }
    void subjectsOfErrors() {
        QFETCH(QString, shown);
        QTEST(shown, "text");
    }

    void charactersInErrors_data() {
        addColumns<QString, QString>("character", "name");
        addRow("two bytes", u"Ж"_s, "U+0416");
        addRow("three bytes", u"✓"_s, "U+2713");
        addRow("four bytes", u"🙂"_s, "U+1F642");
    }
    void charactersInErrors() {
        QFETCH(QString, character);
        QFETCH(QString, name);
        QCOMPARE(shown(jet::Error(jet::Errc::NotRepresentable, character.toStdString())),
                 "-2147217913 The character '" + character + "' (" + name +
                     ") cannot be stored: the database has the characters of code page 1252 only.");
    }

    void otherExceptions() {
        QCOMPARE(shown(vbrt::Error(13, "Type mismatch")), "13 Type mismatch");
        QCOMPARE(shown(std::bad_alloc()), "7 Out of memory");
        QCOMPARE(shown(std::out_of_range("at")), "51 Internal error: at");
        QCOMPARE(shown(42), "51 Internal error");
    }
};

QTEST_APPLESS_MAIN(tst_connection)
#include "tst_connection.moc"
