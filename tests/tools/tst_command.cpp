// SPDX-License-Identifier: MIT
// The programs `jet` and `mktemplate` as a user meets them: arguments, output, exit status.
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include "rows.h"

#ifdef Q_OS_LINUX
#include <pty.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>
#endif

namespace {

struct Answer {
    int status = -1;
    QString out;
    QString errors;
};

Answer run(const QString& program, const QStringList& arguments, const QByteArray& input = {}) {
    QProcess process;
    process.start(program, arguments);
    process.write(input);
    process.closeWriteChannel();
    if (!process.waitForFinished(60000) || process.exitStatus() != QProcess::NormalExit)
        return {};
    return {process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()),
            QString::fromUtf8(process.readAllStandardError())};
}

Answer jet(const QStringList& arguments, const QByteArray& input = {}) {
    return run(JET_COMMAND, arguments, input);
}

QByteArray contentOf(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

const QString kPassword = "--password=kqlmz47";

}  // namespace

class TestCommand : public QObject {
    Q_OBJECT

 private slots:
    void init() {
        m_budget = path("budget.mdb");
        QFile::remove(m_budget);
        QCOMPARE(jet({"new-budget", m_budget}).status, 0);
    }

    void makesTheTemplateTheSameTwice() {
        for (const char* name : {"first.mdb", "second.mdb"})
            QCOMPARE(run(MKTEMPLATE_COMMAND, {path(name)}).status, 0);
        const QByteArray made = contentOf(path("first.mdb"));
        QCOMPARE(made.size(), 141312);
        QVERIFY(made == contentOf(path("second.mdb")));
        QVERIFY(made == contentOf(m_budget));
        QCOMPARE(made.mid(0x42, 20).toHex(), QByteArray("ed8a805a2770abfac65e28e613b68a6054947b36"));
        QCOMPARE(jet({"check", kPassword, path("first.mdb")}).status, 0);
    }

    void makesABudgetOnce() {
        addItems();
        const QByteArray before = contentOf(m_budget);
        const Answer again = jet({"new-budget", m_budget});
        QCOMPARE(again.status, 2);
        QCOMPARE(again.errors, QString("error -2147217897: Database already exists.\n"));
        QVERIFY(contentOf(m_budget) == before);
    }

    void showsTablesAndSchema() {
        QCOMPARE(jet({"tables", m_budget, "--password", "kqlmz47"}).out, QString("tbl_envelopes\ntbl_items\n"));
        const QString schema = jet({"schema", kPassword, m_budget}).out;
        for (const char* line :
             {"table tbl_items\n  id  AutoNumber  Description=Item identifier.\n",
              "  budget  Double  Description=Budget amount.  Format=Fixed  DefaultValue=0  Required=false\n",
              "  payee  Text(50)  Description=Payee.  Required=false  AllowZeroLength=true\n",
              "  primary key PrimaryKey on envelope\n", "  index id on id, unique\n",
              "  index transfer_id on transfer_id\n",
              "relationship tbl_envelopestbl_items: tbl_items (envelope) refers to tbl_envelopes (envelope), updates "
              "cascade, deletions cascade\n",
              "query qry_stuffer\n  SELECT "})
            QVERIFY2(schema.contains(line), line);
    }

    void dumpsRows() {
        addItems();
        const Answer answer = jet({"dump", kPassword, m_budget, "TBL_ITEMS"});
        QCOMPARE(
            answer.out,
            QString("{\"id\":1,\"amount\":-12.5,\"comment\":\"one\\ttwo\\nthree\",\"envelope\":\"Rent\",\"item_date\":"
                    "\"2026-01-02\",\"item_num\":null,\"payee\":\"Bob \\\"Ä\\\\Z\\\"\",\"reconciled\":null,"
                    "\"transfer_id\":0}\n"
                    "{\"id\":2,\"amount\":0.1,\"comment\":null,\"envelope\":\"rent\",\"item_date\":null,\"item_num\":"
                    "null,\"payee\":null,\"reconciled\":null,\"transfer_id\":0}\n"));
        QVERIFY(
            jet({"dump", kPassword, m_budget, "MSysObjects"})
                .out.contains("\"DateCreate\":\"2000-01-01T12:00:00\",\"DateUpdate\":\"2000-01-01T12:00:00\",\"Owner\":"
                              "\"0301\",\"Flags\":0"));
    }

    void dumpsPages() {
        addItems();
        const Answer answer = jet({"dump", "--pages", kPassword, m_budget});
        QCOMPARE(answer.status, 0);
        for (int page = 0; page < 69; ++page)
            QCOMPARE(answer.out.count(QString("page %1: ").arg(page)), 1);
        for (const char* line : {"page 0: header\n", "page 20: definition of tbl_envelopes\n", "page 24: map rows\n",
                                 "page 27: index of tbl_items (PrimaryKey)\n  level 0, 2 entries", "page 68: free\n",
                                 ": \"Rent\" 500\n", "page 30: long values of MSysObjects.LvProp\n"})
            QVERIFY2(answer.out.contains(line), line);
        QVERIFY(!answer.out.contains("damaged"));
        QVERIFY(!answer.out.contains("not known"));
    }

    void runsStatements_data() {
        addColumns<QByteArray, QStringList, QString>("input", "options", "out");
        const QStringList none;
        const QStringList json("--json");
        addRow("several lines, a byte-order mark, blank statements",
               QByteArray("\xEF\xBB\xBFselect id\nfrom tbl_items\n\n ;; select budget from tbl_envelopes"), none,
               "id\n1\n2\nbudget\n500\n");
        addRow("comments, and what only looks like one",
               QByteArray("-- a; 'b\nselect 5 /* ; \n ' */ --1 as n -- c;\n;select '--' & \"/*\" as a"), none,
               "n\n6\na\n--/*\n");
        addRow("semicolons in quotes",
               QByteArray("update tbl_items set payee = 'a;\nb' where id = 1;select payee as [x;y], \"it's;\" as `p;q` "
                          "from tbl_items where item_date = #1/2/2026#"),
               none, "1 rows affected\nx;y\tp;q\na;\\nb\tit's;\n");
        addRow("tabs, Null, dates, the empty text, control characters",
               QByteArray("select comment, payee, item_date, '' as e, '\x1B[m' as c from tbl_items order by id"), none,
               QString::fromUtf8("comment\tpayee\titem_date\te\tc\none\\ttwo\\nthree\tBob \"Ä\\\\Z\"\t2026-01-02\t\t"
                                 "\\x1B[m\n\\N\t\\N\t\\N\t\t\\x1B[m\n"));
        addRow("JSON", QByteArray("select id, amount from tbl_items; delete from tbl_items"), json,
               "[\n{\"statement\":1,\"rows\":[\n{\"id\":1,\"amount\":-12.5},\n{\"id\":2,\"amount\":0.1}\n]\n},\n"
               "{\"statement\":2,\"affected\":2}\n]\n");
        addRow("CSV", QByteArray("select payee, comment, '' as e from tbl_items; select 1 as n"), QStringList("--csv"),
               QString::fromUtf8(
                   "payee,comment,e\r\n\"Bob \"\"Ä\\Z\"\"\",\"one\ttwo\nthree\",\"\"\r\n,,\"\"\r\n\r\nn\r\n1\r\n"));
        addRow("cascades are not counted",
               QByteArray("update tbl_envelopes set envelope = 'Home';select envelope from tbl_items"), none,
               "1 rows affected\nenvelope\nHome\nHome\n");
    }
    void runsStatements() {
        QFETCH(QByteArray, input);
        QFETCH(QStringList, options);
        addItems();
        const Answer answer = jet(QStringList{"sql", kPassword, m_budget} + options, input);
        QCOMPARE(answer.errors, QString());
        QTEST(answer.out, "out");
        QCOMPARE(answer.status, 0);
    }

    void showsWhereAStatementIsWrong_data() {
        addColumns<QByteArray, QStringList, QString, QString>("input", "options", "errors", "out");
        addRow("goes on, and counts",
               QByteArray("select envelope\nfrom tbl_envelopes\n  where bduget = = 1;\nselect envelope from "
                          "tbl_envelopes"),
               QStringList(),
               "in statement 1, line 3, column 18:\n    where bduget = = 1\n                   ^\n1 of 2 statements "
               "failed\n",
               "envelope\nRent\n");
        addRow("stops", QByteArray("delete from nowhere; delete from tbl_items"), QStringList("--stop-on-error"),
               "in statement 1, line 1\nstopped at statement 1\n", "");
        addRow("characters, not bytes", QByteArray("select 'Ä' &, 1"), QStringList(), "line 1, column 13:\n", "");
        addRow("in JSON", QByteArray("selekt"), QStringList("--json"), "line 1, column 1:\n  selekt\n  ^\n",
               "[\n{\"statement\":1,\"error\":{\"number\":-2147217900,\"text\":\"Invalid SQL statement; expected "
               "'DELETE', 'INSERT', 'SELECT', or 'UPDATE'.\",\"line\":1,\"column\":1}}\n]\n");
    }
    void showsWhereAStatementIsWrong() {
        QFETCH(QByteArray, input);
        QFETCH(QStringList, options);
        QFETCH(QString, errors);
        addItems();
        const Answer answer = jet(QStringList{"sql", kPassword, m_budget} + options, input);
        QVERIFY2(answer.errors.contains(errors), qPrintable(answer.errors));
        QTEST(answer.out, "out");
        QCOMPARE(answer.status, 2);
        QCOMPARE(jet({"dump", kPassword, m_budget, "tbl_items"}).out.count('\n'), 2);
    }

    void takesThePasswordFromElsewhere() {
        QFile file(path("password"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("kqlmz47\r\nmore");
        file.close();
        QCOMPARE(jet({"tables", "--password-file", file.fileName(), m_budget}).status, 0);
        QCOMPARE(jet({"tables", "--password-fd", "0", m_budget}, "kqlmz47\n").status, 0);
        QCOMPARE(jet({"tables", "--password-fd", "0", m_budget}, "other\n").status, 2);
        QCOMPARE(jet({"tables", "--password-fd=0", kPassword, m_budget}).status, 2);
    }

    void helps() {
        for (const QStringList& ask : {QStringList{"--help"}, {"sql", "--help"}, {"help"}}) {
            const Answer answer = jet(ask);
            QVERIFY(answer.out.startsWith("usage: jet COMMAND") && answer.out.contains("new-budget"));
            QCOMPARE(answer.errors, QString());
            QCOMPARE(answer.status, 0);
        }
        QVERIFY(jet({"--version"}).out.startsWith("jet (Coinvale) "));
    }

    void dumpsAQuery() {
        addItems();
        QCOMPARE(jet({"dump", "--csv", kPassword, m_budget, "qry_stuffer"}).out,
                 QString("envelope,budget,current_balance,new_balance\r\nRent,500,-12.4,487.6\r\n"));
        QCOMPARE(jet({"dump", "--json", kPassword, m_budget, "tbl_envelopes"}).out,
                 QString("[\n{\"envelope\":\"Rent\",\"budget\":500}\n]\n"));
    }

    // Each answer comes when its statement is done, while the input is still open.
    void answersStatementByStatement() {
        addItems();
        QProcess process;
        process.start(JET_COMMAND, {"sql", kPassword, m_budget});
        for (int i = 0; i < 3; ++i) {
            process.write("update tbl_items set reconciled = '*' where id = 1;\n");
            while (!process.canReadLine() && process.waitForReadyRead(30000)) {
            }
            QCOMPARE(process.readLine(), QByteArray("1 rows affected\n"));
        }
        process.kill();
        QVERIFY(process.waitForFinished());
        QCOMPARE(jet({"sql", kPassword, m_budget, "select reconciled from tbl_items where id = 1"}).out,
                 QString("reconciled\n*\n"));
    }

    void checks() {
        addItems();
        QCOMPARE(jet({"check", kPassword, m_budget}).out.section('\n', -2), QString("0 problems\n"));
        sql({"insert into tbl_items (envelope, amount, transfer_id) values ('Rent', 5, 9)",
             "insert into tbl_items (envelope, amount, transfer_id) values ('Rent', 5, 1)",
             "insert into tbl_items (envelope, amount, transfer_id) values ('Rent', 5, 6)",
             "insert into tbl_items (envelope, amount, transfer_id) values ('Rent', -6, 5)",
             "insert into tbl_items (envelope, amount, transfer_id) values ('Rent', 5, 8)",
             "insert into tbl_items (envelope, amount, transfer_id) values ('Rent', -5, 7)"});
        const Answer remarks = jet({"check", kPassword, m_budget});
        QCOMPARE(remarks.status, 0);
        QVERIFY(
            remarks.out.endsWith("remark: item 3 is half of a transfer: there is no item 9\n"
                                 "remark: item 4 is half of a transfer: item 1 does not name it\n"
                                 "remark: item 5 and item 6 are a transfer, but their amounts are not opposite\n"
                                 "0 problems\n"));

        QFile file(m_budget);
        QVERIFY(file.open(QIODevice::ReadWrite));
        file.seek(27 * 2048 + 2);  // the free space of an index page
        file.write("\x01");
        file.close();
        const Answer damaged = jet({"check", kPassword, m_budget});
        QCOMPARE(damaged.status, 1);
        QVERIFY(damaged.out.contains("page 27"));
        QVERIFY(!damaged.out.endsWith("\n0 problems\n"));
    }

    void compacts() {
        addItems();
        const QString out = path("compact.mdb");
        QCOMPARE(jet({"compact", kPassword, m_budget, out}).status, 0);
        QVERIFY(QFile(out).size() < QFile(m_budget).size());
        QCOMPARE(jet({"check", kPassword, out}).out, QString("0 problems\n"));
        QCOMPARE(jet({"dump", kPassword, out, "tbl_items"}).out, jet({"dump", kPassword, m_budget, "tbl_items"}).out);
        QCOMPARE(jet({"compact", kPassword, m_budget, out}).errors,
                 QString("error -2147217897: Database already exists.\n"));
    }

#ifdef Q_OS_LINUX
    // The password is asked for in silence, and whatever is typed, the terminal speaks again afterwards.
    void asksForThePassword_data() {
        addColumns<QByteArray, int, QString>("keys", "status", "says");
        addRow("the password", QByteArray("kqx\x7flmz47\r"), 0, "\r\ntbl_envelopes\r\ntbl_items\r\n");
        addRow("another", QByteArray("other\r"), 2 << 8, "\r\nerror -2147217843: Not a valid password.\r\n");
        addRow("Ctrl+D", QByteArray("\x04"), 2 << 8, "\r\nerror -2147217843: Not a valid password.\r\n");
        addRow("Ctrl+C", QByteArray("\x03"), SIGINT, "");
    }
    void asksForThePassword() {
        QFETCH(QByteArray, keys);
        const QByteArray budget = m_budget.toLocal8Bit();
        int terminal = -1;
        const pid_t child = ::forkpty(&terminal, nullptr, nullptr, nullptr);
        if (child == 0)
            ::_exit(::execl(JET_COMMAND, "jet", "tables", budget.constData(), nullptr));
        const auto answer = [terminal](const char* until) {
            QByteArray text;
            for (char c = 0; !text.endsWith(until) && ::read(terminal, &c, 1) == 1;)
                text += c;
            return QString::fromUtf8(text);
        };
        QCOMPARE(answer(": "), "Password of " + m_budget + ": ");
        QCOMPARE(::write(terminal, keys.constData(), static_cast<std::size_t>(keys.size())), keys.size());
        QTEST(answer("\a"), "says");
        int status = -1;
        ::waitpid(child, &status, 0);
        QTEST(status, "status");
        termios mode{};
        QCOMPARE(::tcgetattr(terminal, &mode), 0);
        QVERIFY((mode.c_lflag & ECHO) != 0);
        ::close(terminal);
    }
#endif

    void reportsErrors_data() {
        addColumns<QStringList, QString>("arguments", "begins");
        addRow("nothing", QStringList(), "usage: jet COMMAND");
        addRow("no such command", QStringList{"list", "BUDGET"}, "jet: ");
        addRow("no such option", QStringList{"tables", "--all", "BUDGET"}, "jet: ");
        addRow("too few names", QStringList{"dump", "BUDGET"}, "jet: ");
        addRow("too many names", QStringList{"tables", "BUDGET", "BUDGET"}, "jet: ");
        addRow("wrong password", QStringList{"tables", "BUDGET"}, "error -2147217843: Not a valid password.");
        addRow("no file", QStringList{"tables", "none.mdb"}, "error -2147467259: Could not find file 'none.mdb'");
        addRow("no table", QStringList{"dump", kPassword, "BUDGET", "none"}, "error -2147217865: ");
        addRow("no database", QStringList{"check", JET_COMMAND}, "error -2147467259: Unrecognized database format");
        addRow("bad statement", QStringList{"sql", kPassword, "BUDGET", "selekt"}, "error -2147217900: ");
    }
    void reportsErrors() {
        QFETCH(QStringList, arguments);
        QFETCH(QString, begins);
        const Answer answer = jet(arguments.replaceInStrings("BUDGET", m_budget));
        QCOMPARE(answer.errors.left(begins.size()), begins);
        QCOMPARE(answer.out, QString());
        QCOMPARE(answer.status, 2);
    }

 private:
    QTemporaryDir m_folder;
    QString m_budget;

    QString path(const char* name) const {
        return m_folder.filePath(name);
    }
    // Runs statements that must succeed.
    void sql(const QStringList& statements) const {
        const Answer answer = jet(QStringList{"sql", kPassword, m_budget} + statements);
        QCOMPARE(answer.errors, QString());
        QCOMPARE(answer.status, 0);
    }
    void addItems() const {
        sql({"insert into tbl_envelopes (envelope, budget) values ('Rent', 500)",
             "insert into tbl_items (envelope, amount, item_date, payee, comment, transfer_id) "
             "values ('Rent', -12.5, '1/2/2026', 'Bob \"Ä\\Z\"', 'one\ttwo\nthree', 0)",
             "insert into tbl_items (envelope, amount, transfer_id) values ('rent', 0.1, 0)"});
    }
};

QTEST_GUILESS_MAIN(TestCommand)
#include "tst_command.moc"
