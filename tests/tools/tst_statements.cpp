// SPDX-License-Identifier: MIT
// The readers of bank statements, format by format, and the command that makes items of them.
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include "rows.h"
#include "statements/reader.h"
#include "statements/writer.h"

using namespace statements;

namespace {

constexpr const char* kOfx1 =
    "OFXHEADER:100\r\nENCODING:USASCII\r\nCHARSET:1252\r\n\r\n<OFX><STMTRS><BANKACCTFROM><ACCTID>77</BANKACCTFROM>\r\n"
    "<STMTTRN><DTPOSTED>20260102120000[-5:EST]<TRNAMT>-3.50<FITID>a1<NAME>Caf\xE9 &amp; Co<MEMO></STMTTRN>\r\n"
    "<STMTTRN><DTPOSTED>20260103<TRNAMT>+1000,5<FITID>a2<CHECKNUM>12<PAYEE><NAME>Boss<CITY>X</PAYEE></STMTTRN>\r\n"
    "</STMTRS></OFX>";
constexpr const char* kOfx2 =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<?OFX OFXHEADER=\"200\"?>\n<OFX><CCSTMTRS><CCACCTFROM><ACCTID>9"
    "</ACCTID></CCACCTFROM>\n<STMTTRN><DTPOSTED>20260102</DTPOSTED><TRNAMT>-3.5000</TRNAMT><FITID>x</FITID>"
    "<MEMO>A &lt;B&gt;</MEMO><BANKACCTTO><ACCTID>1</ACCTID></BANKACCTTO></STMTTRN></CCSTMTRS></OFX>";
constexpr const char* kCamt =
    "<?xml version=\"1.0\"?><Document xmlns=\"urn:iso:std:iso:20022:tech:xsd:camt.053.001.08\"><BkToCstmrStmt><Stmt>"
    "<Acct><Id><IBAN>DE1</IBAN></Id></Acct>\n"
    "<Ntry><Amt Ccy=\"EUR\">12.30</Amt><CdtDbtInd>DBIT</CdtDbtInd><Sts><Cd>BOOK</Cd></Sts><BookgDt><Dt>2026-01-02</Dt>"
    "</BookgDt><AcctSvcrRef>R1</AcctSvcrRef><NtryDtls><TxDtls><RltdPties><Dbtr><Pty><Nm>Me</Nm></Pty></Dbtr><Cdtr><Pty>"
    "<Nm>Shop</Nm></Pty></Cdtr></RltdPties><RmtInf><Ustrd>Order 5</Ustrd>"
    "<Strd><CdtrRefInf><Ref>RF1</Ref></CdtrRefInf></Strd></RmtInf></TxDtls></NtryDtls></Ntry>\n"
    "<Ntry><Amt Ccy=\"EUR\">7</Amt><CdtDbtInd>CRDT</CdtDbtInd><Sts>PDNG</Sts></Ntry></Stmt></BkToCstmrStmt></Document>";
constexpr const char* kQif =
    "!Account\nNHome\nTBank\n^\n!Type:Bank\nD1/ 2'26\nT-1,234.50\nPShop\nN5\nCX\nMone\n^\nD12/31/98\nU10\nPMove\n"
    "L[Rent]/x\n^\nD1/13/26\nT5.5\nPTwo\nS[Rent]\nEpart\n$2.5\nSFood\n$3.00\n^\n!Type:Cat\nNFood\n^\n";

QString shown(const Statement& statement) {
    QStringList lines;
    for (const Entry& e : statement.entries) {
        QStringList parts;
        for (const std::string& part : {e.account, isoText(e.date), centsText(e.cents), e.number, e.id, e.payee,
                                        e.comment, e.transfer, std::string(e.reconciled ? "*" : "")})
            parts << QString::fromStdString(part);
        lines << parts.join('|');
    }
    for (const std::string& remark : statement.remarks)
        lines << QString::fromStdString(remark);
    return lines.join('\n');
}

Options csv(std::vector<std::string> columns, DateOrder order = DateOrder::Find, char decimal = 0) {
    Options options;
    options.columns = std::move(columns);
    options.order = order;
    options.decimal = decimal;
    return options;
}

}  // namespace

Q_DECLARE_METATYPE(statements::Options)

class TestStatements : public QObject {
    Q_OBJECT

 private slots:
    void reads_data() {
        addColumns<QByteArray, Options, QString>("bytes", "options", "shown");
        const Options plain;
        const std::vector<std::string> dpa = {"date", "payee", "amount"};
        addRow("OFX 1", QByteArray(kOfx1), plain,
               QString::fromUtf8("77|2026-01-02|-3.50||a1|Café & Co|||\n77|2026-01-03|1000.50|12|a2|Boss|||"));
        addRow("OFX 2", QByteArray(kOfx2), plain, "9|2026-01-02|-3.50||x|A <B>|||");
        addRow("OFX 1 under the header of OFX 2",
               QByteArray("<?xml version=\"1.0\"?>\n<?OFX OFXHEADER=\"200\"?>\n<OFX><STATUS><CODE>0\n</STATUS>"
                          "<INVTRAN><FITID>1</INVTRAN><STMTTRN><DTPOSTED>20260102<TRNAMT>-5<NAME>A</STMTTRN></OFX>"),
               plain, "|2026-01-02|-5.00|||A|||\ntransactions in securities left out: 1");
        addRow("camt.053", QByteArray(kCamt), plain,
               "DE1|2026-01-02|-12.30||R1|Shop|Order 5 RF1||\n1 entries that are not booked are left out");
        addRow("camt.053, for another", QByteArray(kCamt).replace("Cdtr>", "UltmtCdtr>"), plain,
               "DE1|2026-01-02|-12.30||R1|Shop|Order 5 RF1||\n1 entries that are not booked are left out");
        addRow("QIF", QByteArray(kQif), plain,
               "Home|2026-01-02|-1234.50|5||Shop|one||*\nHome|1998-12-31|10.00|||Move||Rent|\n"
               "Home|2026-01-13|2.50|||Two|part|Rent|\nHome|2026-01-13|3.00|||Two|||\n"
               "1 records of other kinds are left out");
        addRow("CSV, and signs that hold for the file",
               QByteArray("2.1.2026,\"A, \"\"B\"\"\nC\",\"1.234,5\"\n31.1.2026,D,(7)\n\n"), csv(dpa),
               "|2026-01-02|1234.50|||A, \"B\"\nC|||\n|2026-01-31|-7.00|||D|||");
        addRow("CSV with its names, in UTF-16",
               QByteArray("\xFF\xFE"
                          "d\0a\0t\0e\0,\0a\0m\0o\0u\0n\0t\0\n\0"
                          "2\0000\0002\0006\0-\0001\0-\0002\0,\0005\0-\0",
                          48),
               plain, "|2026-01-02|-5.00||||||");
        addRow("an order that was said", QByteArray("1/2/2026,A,5"), csv(dpa, DateOrder::DayMonthYear),
               "|2026-02-01|5.00|||A|||");
    }
    void reads() {
        QFETCH(QByteArray, bytes);
        QFETCH(Options, options);
        const std::string text = bytes.toStdString();
        const Format format = options.columns.empty() ? formatOf(text) : Format::Csv;
        QTEST(::shown(read(text, format, options)), "shown");
    }

    void refuses_data() {
        addColumns<QByteArray, Options, int, QString>("bytes", "options", "line", "text");
        const Options plain;
        const std::vector<std::string> da = {"date", "amount"};
        const auto without = [](QByteArray text, const char* part) { return text.replace(part, ""); };
        addRow("OFX cut off", QByteArray(kOfx1).chopped(6), plain, 8, "cut off");
        addRow("OFX with an open transaction", without(kOfx1, "<MEMO></STMTTRN>"), plain, 7, "inside another");
        addRow("OFX without an amount", without(kOfx1, "<TRNAMT>-3.50"), plain, 6, "without a date or an amount");
        addRow("OFX with thousandths", QByteArray(kOfx1).replace("-3.50", "-3.505"), plain, 6, "no amount");
        addRow("OFX on a day that is none", QByteArray(kOfx1).replace("20260103", "20260230"), plain, 7, "no date");
        addRow("XML cut off", QByteArray(kOfx2).chopped(20), plain, 4, "");
        addRow("a document type", QByteArray(kCamt).replace("<Document", "<!DOCTYPE x [<!ENTITY a \"b\">]><Document"),
               plain, 1, "document type");
        addRow("camt without a sign", without(kCamt, "<CdtDbtInd>DBIT</CdtDbtInd>"), plain, 2, "neither credit");
        addRow("QIF cut off", QByteArray(kQif).chopped(2), plain, 28, "cut off");
        addRow("QIF whose parts differ", QByteArray(kQif).replace("$3.00", "$3.01"), plain, 19, "5.51");
        addRow("CSV in either order", QByteArray("1/2/2026,5\n3/4/2026,6"), csv(da), 0, "--date-order");
        addRow("CSV in two orders", QByteArray("1/13/2026,5\n13/1/2026,6"), csv(da), 2, "order of the rest");
        addRow("CSV with two decimal signs", QByteArray("2026-01-02,\"1,50\"\n2026-01-02,1.50"), csv(da), 2, "1.50");
        addRow("CSV with a misplaced separator", QByteArray("2026-01-02,\"12,34.00\""), csv(da), 1, "no amount");
        addRow("CSV with thousandths", QByteArray("2026-01-02,1.500"), csv(da, DateOrder::Find, '.'), 1, "1.500");
        addRow("CSV with an open quote", QByteArray("2026-01-02,1\n2026-01-02,\"5"), csv(da), 2, "never closed");
        addRow("CSV with a cell too many", QByteArray("2026-01-02,1\n2026-01-02,5,"), csv(da), 2, "3 values");
        addRow("no UTF-8", QByteArray("2026-01-02,1\n2026-01-02,\xE9"), csv(da), 2, "--encoding");
        addRow("an unknown column", QByteArray("2026-01-02,1"), csv({"date", "sum"}), 0, "'sum'");
    }
    void refuses() {
        QFETCH(QByteArray, bytes);
        QFETCH(Options, options);
        QFETCH(QString, text);
        const std::string all = bytes.toStdString();
        try {
            static_cast<void>(read(all, options.columns.empty() ? formatOf(all) : Format::Csv, options));
        } catch (const Error& error) {
            QVERIFY2(QString(error.what()).contains(text), error.what());
            QTEST(static_cast<int>(error.line()), "line");
            return;
        }
        QFAIL("it was read");
    }

    // What is read again is known, all of it; equal lines stay two; other ids are other items.
    void importsOnce_data() {
        addColumns<QString, QByteArray, QByteArray, QString, QString>("name", "first", "second", "added", "again");
        addRow(
            "by the id of the bank", QString("a.ofx"), QByteArray(kOfx1),
            QByteArray(kOfx1).replace("Caf\xE9", "Bar").replace("<FITID>a2", "<FITID>a3").replace("<CHECKNUM>12", ""),
            "2 added, 0 known", "1 added, 1 known");
        const QByteArray row = "2026-01-02,5,Coffee\n";
        addRow("two equal lines", QString("a.csv"), "date,amount,payee\n" + row + row,
               "date,amount,payee\n" + row + row + row, "2 added, 0 known", "1 added, 2 known");
        addRow("transfers", QString("a.qif"), QByteArray(kQif), QByteArray(kQif), "4 added, 0 known",
               "0 added, 4 known");
    }
    void importsOnce() {
        QFETCH(QString, name);
        QFETCH(QByteArray, first);
        QFETCH(QByteArray, second);
        makeBudget("once.mdb");
        QVERIFY(import("once.mdb", name, first, {"--envelope", "home"}).contains("to add"));
        QTEST(import("once.mdb", name, first, {"--envelope", "home", "--write"}).section('\n', -2).trimmed(), "added");
        const QString export1 = jet({"export", path("once.mdb")});
        QVERIFY(import("once.mdb", name, first, {"--envelope", "home", "--write"}).contains("0 added"));
        QCOMPARE(jet({"export", path("once.mdb")}), export1);
        QTEST(import("once.mdb", name, second, {"--envelope", "home", "--write"}).section('\n', -2).trimmed(), "again");
        QVERIFY(jet({"check", "--password", "kqlmz47", path("once.mdb")}).endsWith("\n0 problems\n"));
        QVERIFY(!jet({"check", "--password", "kqlmz47", path("once.mdb")}).contains("half of a transfer"));
    }

    void refusesAllForOneLine() {
        makeBudget("all.mdb");
        const QByteArray bad = QString::fromUtf8("date,amount,payee\n2026-01-02,5,A\n2026-01-02,6,✓\n").toUtf8();
        const QString answer = import("all.mdb", "bad.csv", bad, {"--envelope", "home", "--write"});
        QVERIFY2(answer.contains("bad.csv:3: ") && answer.contains("--replace"), qPrintable(answer));
        QCOMPARE(jet({"dump", "--password", "kqlmz47", path("all.mdb"), "tbl_items"}), QString());
        QVERIFY(import("all.mdb", "bad.csv", bad, {"--envelope", "home", "--write", "--replace"}).contains("2 added"));
    }

    // A budget with everything that hurts, written and read into an empty one.
    void writesWhatItReads() {
        makeBudget("from.mdb");
        (void)import("from.mdb", "a.qif", kQif, {"--envelope", "home", "--write"});
        (void)sql("from.mdb",
                  "insert into tbl_items (envelope, amount, payee, comment, item_num, reconciled, transfer_id) "
                  "values ('Rent', -0.1, 'a,\"b\"', 'one\r\ntwo', '=1', '*', 0)");
        const QString csv = jet({"export", path("from.mdb")});
        jet({"new-budget", path("to.mdb")});
        const QString answer =
            import("to.mdb", "from.csv", csv.toUtf8(), {"--create-envelopes", "--write"}).section('\n', -2);
        QCOMPARE(answer.trimmed(), QString("7 added, 0 known"));
        for (const char* table : {"tbl_envelopes", "tbl_items"})
            QCOMPARE(sql("to.mdb", sums(table)), sql("from.mdb", sums(table)));
        QCOMPARE(jet({"export", path("to.mdb")}), csv);
        QVERIFY(jet({"export", "--format", "ledger", path("to.mdb")})
                    .contains("\n1998-12-31 Move\n    Assets:Home  $10.00\n    Assets:Rent  $-10.00\n"));
    }

    // An envelope with a bracket keeps its transfers; ledger takes no line of more than 4096 bytes.
    void writesForOthers() {
        Entry entry;
        entry.account = "Home";
        entry.transfer = "Rent [new]";
        entry.comment = "two " + std::string(5000, 'x');
        const Statement budget{{{"Home", 0}, {"Rent [new]", 0}}, {entry}, {}};
        const Statement again = read(writeQif(budget), Format::Qif, csv({}, DateOrder::MonthDayYear));
        QCOMPARE(again.entries.at(0).transfer, entry.transfer);
        const QString journal = QString::fromStdString(writeLedger(budget));
        QCOMPARE(journal.count('x'), 5000 + QString("Expenses").count('x'));
        for (const QString& line : journal.split('\n'))
            QVERIFY(line.size() < 4096);
    }

    void backsUp() {
        makeBudget("kept.mdb");
        for (int i = 0; i < 2; ++i) {
            const QString copy = jet({"backup", path("kept.mdb"), m_folder.path()}).trimmed();
            QVERIFY(QFile::exists(copy));
            QCOMPARE(jet({"export", copy}), jet({"export", path("kept.mdb")}));
        }
    }

 private:
    QTemporaryDir m_folder;

    [[nodiscard]] QString path(const QString& name) const { return m_folder.filePath(name); }
    // Both outputs.
    static QString jet(const QStringList& arguments) {
        QProcess process;
        process.setProcessChannelMode(QProcess::MergedChannels);
        process.start(JET_COMMAND, arguments);
        process.closeWriteChannel();
        return process.waitForFinished(60000) ? QString::fromUtf8(process.readAll()) : QString();
    }
    [[nodiscard]] QString sql(const QString& budget, const QString& statement) const {
        return jet({"sql", "--password", "kqlmz47", path(budget), statement});
    }
    static QString sums(const QString& table) {
        return table == "tbl_items" ? "select amount, comment, envelope, item_date, item_num, payee, reconciled, "
                                      "transfer_id from tbl_items order by id"
                                    : "select * from tbl_envelopes order by envelope";
    }
    void makeBudget(const QString& name) const {
        QFile::remove(path(name));
        jet({"new-budget", path(name)});
        QCOMPARE(sql(name,
                     "insert into tbl_envelopes (envelope, budget) values ('Home', 5.5);"
                     "insert into tbl_envelopes (envelope, budget) values ('Rent', 0)"),
                 QString("1 rows affected\n1 rows affected\n"));
    }
    [[nodiscard]] QString import(const QString& budget, const QString& name, const QByteArray& bytes,
                                 const QStringList& options) const {
        QFile file(path(name));
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
            return {};
        file.close();
        return jet(QStringList{"import"} + options + QStringList{path(budget), path(name)});
    }
};

QTEST_GUILESS_MAIN(TestStatements)
#include "tst_statements.moc"
