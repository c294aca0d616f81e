// SPDX-License-Identifier: MIT
#include <QComboBox>
#include <QFileInfo>
#include <QListWidget>
#include <QPrinter>
#include <QProcess>
#include <QRadioButton>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QToolButton>

#include "ado/recordset.h"
#include "controls/common_dialog.h"
#include "controls/date_picker.h"
#include "datareport/content.h"
#include "datareport/layout.h"
#include "program.h"
#include "reports/basReports.h"
#include "reports/basShowReport.h"
#include "reports/datCoinvale.h"

using datareport::Band;

namespace {

const QStringList kReports = {"Envelope", "Items", "Stuffer", "Summary"};

void item(const QString& envelope, double amount, const QString& date, const QString& payee,
          const QString& comment = {}, const QString& number = {}, const QString& reconciled = {}) {
    QStringList texts;
    for (const QString& text : {envelope, date, payee, comment, number, reconciled})
        texts << "'" + SqlQuote(text) + "'";
    objDatabase->objCnn()->Execute(
        "insert into tbl_items (amount, envelope, item_date, payee, comment, item_num, reconciled) values (" +
        vbrt::qt::CStr(amount) + ", " + texts.join(", ") + ")");
}

void envelope(const QString& name, const QString& budget) {
    objDatabase->objCnn()->Execute("insert into tbl_envelopes (envelope, budget) values ('" + SqlQuote(name) + "', " +
                                   budget + ")");
}

// Three envelopes, one of them without items.
void makeHome(Program& program) {
    program.openNew("Home.mdb");
    envelope("Food & Drink", "300.5");
    envelope("Café", "20");
    envelope("Empty", "7");
    item("Food & Drink", 1000, "2/1/2026", "Budget Allocation");
    item("Food & Drink", -1234.5, "1/15/2026", "Müller & Söhne", "two\r\nlines", "101", "*");
    item("Café", -0.01, "12/31/2025", "O'Brien");
    program.trigger("mnuFileClose");
    program.open("Home.mdb");
}

// The pages of a report on US Letter as text.
QString pagesOf(const QString& report, const QString& sql) {
    ado::Connection shape;
    shape.setProvider("MSDataShape");
    shape.Open(ShapeConnectionString());
    const auto design = ReportDesign(report);
    const auto rows = ReportRows(shape.Execute(sql));
    const bool landscape = design.orientation == datareport::Orientation::Landscape;
    return dump(layOut(design, readContent(design, *rows), {.size = landscape ? QSizeF(792, 612) : QSizeF(612, 792)}));
}

QString pagesOf(const ReportCriteria& criteria) {
    return pagesOf(criteria.strReport, ReportSql(criteria));
}

// Chooses an entry of a drop-down list with the keys.
void pick(QComboBox* box, const QString& text) {
    box->setFocus();
    QTest::keyClick(box, Qt::Key_Home);
    for (int i = 0; i < box->count() && box->currentText() != text; ++i)
        QTest::keyClick(box, Qt::Key_Down);
    QCOMPARE(box->currentText(), text);
}

// Clicks on Save as PDF.
void save(QDialog* preview) {
    for (auto* button : preview->findChildren<QToolButton*>())
        if (button->defaultAction() != nullptr && button->defaultAction()->objectName() == "save_pdf")
            QTest::mouseClick(button, Qt::LeftButton);
}

// A PDF as text, a line of it with single blanks.
QString pdfText(const QString& path) {
    QProcess reader;
    reader.start("pdftotext", {"-layout", path, "-"});
    reader.waitForFinished();
    QStringList lines;
    for (const QString& line : QString::fromUtf8(reader.readAllStandardOutput()).split('\n'))
        if (!line.trimmed().isEmpty())
            lines << line.simplified();
    return lines.join('\n');
}

}  // namespace

class tst_reports : public QObject {
    Q_OBJECT

 private slots:
    void init() { vbrt::qt::setToday(QDate(2026, 11, 15)); }
    void pages();
    void emptyBudget();
    void bindings();
    void manyRows();
    void dates();
    void sorts();
    void shownAndSaved_data();
    void shownAndSaved();
    void criteriaInTheHeader();
    void selectedInTheTree();
    void noPrinter();
    void refusedQuery();
};

void tst_reports::pages() {
    Program program;
    makeHome(program);
    ReportCriteria criteria;
    criteria.strSort1 = "Date";
    QCOMPARE(pagesOf(criteria), R"(=== page 1
0 11/15/2026 | 253 Page 1 | 505 Coinvale
203 Envelope Report
0 Envelope: | 68 All Envelopes
0 Date Range: | 68 All Dates
0 ----
0 Date | 70 Number | 116 Payee | 265 R | 344 Amount | 399 Comment
0 ----
0 Café
0 12/31/2025 | 116 O'Brien | 358 (0.01)
0 ----
0 Total | 353 -$0.01
0 Food & Drink
0 01/15/2026 | 70 101 | 116 Müller & Söhne | 267 * | 340 (1,234.50) | 399 two
399 lines
0 02/01/2026 | 116 Budget Allocation | 343 1,000.00
0 ----
0 Total | 343 -$234.50
)");
    criteria.strReport = "Items";
    QCOMPARE(pagesOf(criteria), R"(=== page 1
0 11/15/2026 | 343 Page 1 | 685 Coinvale
308 Items Report
0 Envelope: | 66 All Envelopes
0 Date Range: | 66 All Dates
0 ----
0 Date | 68 Number | 118 Payee | 273 R | 352 Amount | 406 Comment | 590 Envelope
0 ----
0 12/31/2025 | 118 O'Brien | 360 -$0.01 | 590 Café
0 01/15/2026 | 68 101 | 118 Müller & Söhne | 274 * | 343 -$1,234.50 | 406 two | 590 Food & Drink
406 lines
0 02/01/2026 | 118 Budget Allocation | 346 $1,000.00 | 590 Food & Drink
0 ----
0 Total | 350 -$234.51
)");
    criteria.strReport = "Summary";
    criteria.strSort1 = "Balance";
    QCOMPARE(pagesOf(criteria), R"(=== page 1
0 11/15/2026 | 253 Page 1 | 505 Coinvale
203 Summary Report
0 Envelope: | 68 All Envelopes
0 Date Range: | 68 All Dates
0 ----
0 Envelope | 193 Budget | 289 Deposits | 388 Payments | 505 Balance
0 ----
0 Food & Drink | 192 $300.50 | 287 $1,000.00 | 388 -$1,234.50 | 504 -$234.50
0 Café | 197 $20.00 | 305 $0.00 | 405 -$0.01 | 514 -$0.01
0 ----
0 Totals | 192 $320.50 | 287 $1,000.00 | 388 -$1,234.51 | 504 -$234.51
)");
    criteria.strReport = "Stuffer";
    criteria.strSort1 = "Envelope";
    QCOMPARE(pagesOf(criteria), R"(=== page 1
0 11/15/2026 | 253 Page 1 | 505 Coinvale
213 Stuffer Report
0 Envelope: | 68 All Envelopes
0 Date Range: | 68 All Dates
0 ----
0 Envelope | 275 Budget | 370 Current Bal | 505 New Bal
0 ----
0 Café | 278 $20.00 | 394 -$0.01 | 512 $19.99
0 Food & Drink | 273 $300.50 | 384 -$234.50 | 512 $66.00
0 ----
0 Totals | 273 $320.50 | 384 -$234.51 | 512 $85.99
)");
}

void tst_reports::emptyBudget() {
    Program program;
    program.openNew("Home.mdb");
    for (const QString& report : kReports) {
        ReportCriteria criteria;
        criteria.strReport = report;
        const QString page = pagesOf(criteria);
        QVERIFY2(page.contains(report + " Report"), qPrintable(page));
        // Without a group there is no group footer.
        const qsizetype sums = report == "Envelope" ? 0 : report == "Items" ? 1 : report == "Stuffer" ? 3 : 4;
        QCOMPARE(page.count("$0.00"), sums);
        QCOMPARE(page.count("==="), 1);
    }
}

// Every text box and sum shows a column that its command has.
void tst_reports::bindings() {
    Program program;
    makeHome(program);
    const QHash<QString, QString> commandOf = {{"Envelope", "cmdEnvelope_Grouping"},
                                               {"Items", "cmdItems"},
                                               {"Stuffer", "cmdStuffer"},
                                               {"Summary", "cmdSummary"}};
    ado::Connection shape;
    shape.setProvider("MSDataShape");
    shape.Open(ShapeConnectionString());
    int bound = 0;
    for (const QString& report : kReports)
        for (const auto& command : datCoinvale::cmdCommands) {
            if (commandOf[report] != command.strName)
                continue;
            const auto parents = shape.Execute(command.strSource);
            const auto design = ReportDesign(report);
            const auto children = design.childMember.isEmpty() ? parents : parents->chapter(design.childMember);
            for (const auto& band : design.bands)
                for (const auto& control : band.controls)
                    if (!control.field.isEmpty()) {
                        const auto& rows = band.band == Band::GroupHeader ? parents : children;
                        QVERIFY(rows->fieldIndex(control.field) >= 0);  // throws for an unknown one
                        ++bound;
                    }
        }
    QCOMPARE(bound, 8 + 8 + 7 + 9);
    datCoinvale source;
    QCOMPARE(source.cnn.State(), ado::adStateClosed);
}

// Sums on paper are those of the file, group by group, over several pages and in random cents.
void tst_reports::manyRows() {
    Program program;
    program.openNew("Home.mdb");
    for (const char* name : {"b", "A", "c"})
        envelope(name, "0");
    quint32 seed = 4711;
    for (int i = 0; i < 400; ++i) {
        seed = seed * 1664525U + 1013904223U;
        const int cents = static_cast<int>(seed >> 8U) % 200'000 - 120'000;
        item(QString("bAc").mid(i % 3, 1), cents / 100.0, "1/1/2026", QString("Payee %1").arg(i));
    }
    ReportCriteria criteria;
    const QString grouped = pagesOf(criteria);
    QStringList totals;
    QStringList groups;
    for (const QString& line : grouped.split('\n')) {
        if (line.contains("Total | "))
            totals << line.section("Total | ", 1).section(' ', 1);
        if (line == "0 A" || line == "0 b" || line == "0 c")
            if (groups.isEmpty() || groups.last() != line)
                groups << line;
    }
    QCOMPARE(groups, QStringList({"0 A", "0 b", "0 c"}));
    QStringList sums;
    for (const QString& sum : Program::rows("select sum(amount) from tbl_items group by envelope order by envelope"))
        sums << vbrt::qt::Format(vbrt::qt::CDbl(sum), "\"$\"#,##0.00");
    QCOMPARE(totals, sums);
    QVERIFY(grouped.count("===") > 5);
    for (int i = 0; i < 400; ++i)
        QCOMPARE(grouped.count(QRegularExpression(QString("Payee %1\\b").arg(i))), 1);
    for (int page = 1; page <= grouped.count("==="); ++page)
        QVERIFY(grouped.contains(QString("Page %1 | ").arg(page)));
}

void tst_reports::dates() {
    Program program;
    makeHome(program);
    program.inDialog("mnuToolsReports", [](QDialog* dialog) {
        auto* ranges = dialog->findChild<QComboBox*>("cboDateRanges");
        auto* from = dialog->findChild<controls::DatePicker*>("dtpFromDate");
        auto* to = dialog->findChild<controls::DatePicker*>("dtpToDate");
        const auto state = [&] {
            return ranges->currentText() + " " + from->text() + " " + to->text() +
                   (from->isEnabled() ? " on" : " off") + (to->isEnabled() ? " on" : " off");
        };
        const auto choose = [&](const char* range) {
            pick(ranges, range);
            return state();
        };
        QCOMPARE(state(), "All Dates 11/15/2026 11/15/2026 off off");
        QCOMPARE(choose("Last 12 Months"), "Last 12 Months 11/01/2025 10/31/2026 on on");
        QCOMPARE(choose("All Dates"), "All Dates 11/01/2025 10/31/2026 off off");
        QCOMPARE(choose("Year To Date"), "Year To Date 01/01/2026 11/15/2026 on on");
        from->setFocus();
        from->lineEdit()->setCursorPosition(0);
        QTest::keyClick(from, Qt::Key_Up);
        QCOMPARE(state(), "Custom Dates 02/01/2026 11/15/2026 on on");
        QCOMPARE(choose("Current Month"), "Current Month 11/01/2026 11/30/2026 on on");
        to->setFocus();
        to->lineEdit()->setCursorPosition(10);
        QTest::keyClick(to, Qt::Key_Up);
        QCOMPARE(state(), "Custom Dates 11/01/2026 11/30/2027 on on");
    });
    QCOMPARE(program.dialogs.problems(), QStringList());
}

void tst_reports::sorts() {
    Program program;
    makeHome(program);
    program.inDialog("mnuToolsReports", [](QDialog* dialog) {
        auto* reports = dialog->findChild<QListWidget*>("lstReports");
        auto* first = dialog->findChild<QComboBox*>("cboSorts1");
        auto* second = dialog->findChild<QComboBox*>("cboSorts2");
        const auto state = [&] { return first->currentText() + "/" + second->currentText(); };
        const auto choose = [&](QComboBox* box, Qt::Key key) {
            box->setFocus();
            QTest::keyClick(box, key);
            return state();
        };
        QStringList envelopes;
        auto* names = dialog->findChild<QComboBox*>("cboEnvelopes");
        for (int i = 0; i < names->count(); ++i)
            envelopes << names->itemText(i);
        QCOMPARE(envelopes, QStringList({"All Envelopes", "Café", "Empty", "Food & Drink"}));

        QCOMPARE(reports->currentItem()->text() + " " + state(), "Envelope Date/Number");
        QVERIFY(dialog->findChild<QRadioButton*>("optSort1Asc")->isChecked());
        QVERIFY(dialog->findChild<QRadioButton*>("optSort2Asc")->isChecked());
        // The empty primary sort takes the secondary one with it.
        QCOMPARE(choose(first, Qt::Key_Home), "/");
        // A secondary sort without a primary one moves up.
        QCOMPARE(choose(second, Qt::Key_P), "Payee/");
        pick(second, "Amount");
        QCOMPARE(choose(first, Qt::Key_End), "Reconciled/Amount");
        reports->setFocus();
        QStringList states;
        for (int i = 0; i < 3; ++i) {
            QTest::keyClick(reports, Qt::Key_Down);
            states << reports->currentItem()->text() + " " + state();
        }
        QCOMPARE(states, QStringList({"Items Envelope/Date", "Stuffer Envelope/", "Summary Envelope/"}));
        QTest::keyClick(dialog, Qt::Key_Escape);
        QVERIFY(!dialog->isVisible());
    });
    QCOMPARE(program.dialogs.problems(), QStringList());
}

void tst_reports::shownAndSaved_data() {
    QTest::addColumn<int>("row");
    QTest::addColumn<QStringList>("lines");
    QTest::newRow("Envelope") << 0
                              << QStringList({"Café", "12/31/2025 O'Brien (0.01)", "Total -$0.01", "Food & Drink",
                                              "01/15/2026 101 Müller & Söhne * (1,234.50) two", "Total -$234.50"});
    QTest::newRow("Items") << 1 << QStringList({"12/31/2025 O'Brien -$0.01 Café", "Total -$234.51"});
    QTest::newRow("Stuffer") << 2
                             << QStringList({"Café $20.00 -$0.01 $19.99", "Food & Drink $300.50 -$234.50 $66.00",
                                             "Totals $320.50 -$234.51 $85.99"});
    QTest::newRow("Summary") << 3
                             << QStringList({"Food & Drink $300.50 $1,000.00 -$1,234.50 -$234.50",
                                             "Totals $320.50 $1,000.00 -$1,234.51 -$234.51"});
}

// The way of a user: choose a report, preview it, save it.
void tst_reports::shownAndSaved() {
    QFETCH(int, row);
    QFETCH(QStringList, lines);
    if (QStandardPaths::findExecutable("pdftotext").isEmpty())
        QSKIP("pdftotext is not installed");
    Program program;
    makeHome(program);
    const QString path = program.path("Report.pdf");
    const QString title = kReports[row] + " Report";
    program.dialogs.choose(path);
    program.inDialog("mnuToolsReports", [&](QDialog* dialog) {
        auto* reports = dialog->findChild<QListWidget*>("lstReports");
        reports->setFocus();
        for (int i = 0; i < row; ++i)
            QTest::keyClick(reports, Qt::Key_Down);
        inModal([&] { QTest::keyClick(reports, Qt::Key_Return); },
                [&](QDialog* preview) {
                    QCOMPARE(preview->windowTitle(), title);
                    save(preview);
                    QTest::keyClick(preview, Qt::Key_Escape);
                    QVERIFY(!preview->isVisible());
                });
        QVERIFY(dialog->isVisible());
    });
    QCOMPARE(program.dialogs.problems(), QStringList());
    const QString text = pdfText(path);
    const QStringList expected =
        QStringList({"11/15/2026 Page 1 Coinvale", title, "Envelope: All Envelopes", "Date Range: All Dates"}) + lines;
    for (const QString& line : expected)
        QVERIFY2(("\n" + text + "\n").contains("\n" + line + "\n"), qPrintable(line + " is not in\n" + text));
    QCOMPARE(QString::fromUtf8([&] {
                 QProcess reader;
                 reader.start("pdfinfo", {path});
                 reader.waitForFinished();
                 return reader.readAllStandardOutput();
             }())
                 .contains(QRegularExpression("Page size: +(792|842|841)")),
             row == 1);
    // One bookmark an envelope.
    QProcess reader;
    reader.start("pdftohtml", {"-xml", "-i", "-stdout", path});
    reader.waitForFinished();
    const QString xml = QString::fromUtf8(reader.readAllStandardOutput());
    QCOMPARE(xml.contains(u8"<item page=\"1\">Café</item>\n<item page=\"1\">Food &amp; Drink</item>"), row == 0);
    QCOMPARE(xml.count("<item"), row == 0 ? 2 : 0);
}

void tst_reports::criteriaInTheHeader() {
    if (QStandardPaths::findExecutable("pdftotext").isEmpty())
        QSKIP("pdftotext is not installed");
    Program program;
    makeHome(program);
    const QString path = program.path("Report.pdf");
    program.dialogs.choose(path);
    program.inDialog("mnuToolsReports", [&](QDialog* dialog) {
        dialog->findChild<QListWidget*>("lstReports")->setCurrentRow(1);
        pick(dialog->findChild<QComboBox*>("cboEnvelopes"), "Food & Drink");
        pick(dialog->findChild<QComboBox*>("cboDateRanges"), "Year To Date");
        inModal([&] { QTest::keyClick(dialog, Qt::Key_Return); }, [&](QDialog* preview) { save(preview); });
    });
    const QString text = pdfText(path);
    QVERIFY2(text.contains("Envelope: Food & Drink\nDate Range: 1/1/2026 - 11/15/2026\n"), qPrintable(text));
    QVERIFY(!text.contains("O'Brien"));
    QVERIFY(text.contains("Total -$234.50"));
    QCOMPARE(program.dialogs.problems(), QStringList());
}

// File > Print Preview: all items for the root, else the group of the envelope, in the order of the list.
void tst_reports::selectedInTheTree() {
    if (QStandardPaths::findExecutable("pdftotext").isEmpty())
        QSKIP("pdftotext is not installed");
    Program program;
    makeHome(program);
    const QString path = program.path("Report.pdf");
    const auto preview = [&] {
        program.dialogs.choose(path);
        program.inDialog("mnuFilePreview", [&](QDialog* preview) { save(preview); });
        return pdfText(path);
    };
    const QString all = preview();
    QVERIFY(all.contains("Items Report\nEnvelope: All Envelopes\n"));
    QVERIFY(all.indexOf("O'Brien") < all.indexOf("Müller"));
    QVERIFY(all.indexOf("Müller") < all.indexOf("Budget Allocation"));

    program.select("Food & Drink");
    emit program.list()->columnClicked(4);
    emit program.list()->columnClicked(4);  // by amount, the largest first
    const QString one = preview();
    QVERIFY2(one.contains("Envelope Report\nEnvelope: Food & Drink\nDate Range: All Dates\n"), qPrintable(one));
    QVERIFY(!one.contains("Café"));
    QVERIFY(one.indexOf("Budget Allocation") < one.indexOf("Müller"));
    // The second connection is gone: the file can be closed and opened again.
    program.trigger("mnuFileClose");
    QVERIFY(QFileInfo(program.path("Home.mdb")).size() > 0);
    program.open("Home.mdb");
    QCOMPARE(program.envelopes().size(), 3);
    QCOMPARE(program.dialogs.problems(), QStringList());
}

void tst_reports::noPrinter() {
    Program program;
    makeHome(program);
    if (controls::printer().isValid() && !controls::printer().printerName().isEmpty())
        QSKIP("this machine has a printer");
    program.dialogs.answer(controls::MsgAnswer::Ok);
    program.trigger("mnuFilePrint");
    const auto message = program.dialogs.takeMessage();
    QCOMPARE(message.title, "Error");
    QVERIFY2(message.text.startsWith("Error #: 482\r"), qPrintable(message.text));
    QCOMPARE(program.dialogs.problems(), QStringList());
}

// What a query cannot do is said, and nothing is shown.
void tst_reports::refusedQuery() {
    Program program;
    makeHome(program);
    program.dialogs.answer(controls::MsgAnswer::Ok);
    program.inDialog("mnuToolsReports", [](QDialog* dialog) {
        dialog->findChild<QListWidget*>("lstReports")->setCurrentRow(3);
        objDatabase->objCnn()->Close();
        click(dialog, "cmdPreview");
        QVERIFY(dialog->isVisible());
    });
    QVERIFY(program.dialogs.takeMessage().text.startsWith("Error #: 3704\r"));
    QCOMPARE(program.dialogs.problems(), QStringList());
}

QTEST_MAIN(tst_reports)
#include "tst_reports.moc"
