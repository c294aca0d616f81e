// SPDX-License-Identifier: MIT
#include "reports/basReports.h"

#include <QTest>

class tst_criteria : public QObject {
    Q_OBJECT

 private slots:
    void dateRanges_data() {
        QTest::addColumn<QString>("caption");
        QTest::addColumn<QDate>("today");
        QTest::addColumn<QString>("range");
        const auto add = [](const char* caption, QDate today, const char* range) {
            QTest::addRow("%s on %s", caption, qPrintable(today.toString(Qt::ISODate))) << caption << today << range;
        };
        add("Year To Date", {2026, 1, 1}, "2026-01-01 2026-01-01");
        add("Year To Date", {2026, 11, 23}, "2026-01-01 2026-11-23");
        add("Previous Year", {2026, 11, 23}, "2025-01-01 2025-12-31");
        add("Previous Year", {2024, 2, 29}, "2023-01-01 2023-12-31");
        add("Last 12 Months", {2026, 11, 23}, "2025-11-01 2026-10-31");
        add("Last 12 Months", {2026, 1, 31}, "2025-01-01 2025-12-31");
        add("Last 12 Months", {2024, 3, 15}, "2023-03-01 2024-02-29");
        add("Current Month", {2026, 2, 10}, "2026-02-01 2026-02-28");
        add("Current Month", {2024, 2, 10}, "2024-02-01 2024-02-29");
        add("Current Month", {2026, 12, 31}, "2026-12-01 2026-12-31");
        add("Previous Month", {2026, 1, 31}, "2025-12-01 2025-12-31");
        add("Previous Month", {2024, 3, 31}, "2024-02-01 2024-02-29");
        add("All Dates", {2026, 11, 23}, "");
        add("Custom Dates", {2026, 11, 23}, "");
    }
    void dateRanges() {
        QFETCH(QString, caption);
        QFETCH(QDate, today);
        QVERIFY(DateRangeCaptions().contains(caption));
        const auto range = DateRange(caption, today);
        QTEST(range ? range->first.toString(Qt::ISODate) + " " + range->second.toString(Qt::ISODate) : QString(),
              "range");
    }

    void columns() {
        QStringList columns;
        for (const QString report : {"Items", "Envelope", "Summary", "Stuffer"}) {
            QStringList names;
            for (const QString& caption : SortCaptions(report))
                names << SortColumn(caption);
            const auto [first, second] = DefaultSorts(report);
            columns << report + names.join(' ') + ": " + SortColumn(first) + " " + SortColumn(second);
        }
        QCOMPARE(columns,
                 QStringList({"Items amount comment item_date envelope item_num payee reconciled: envelope item_date",
                              "Envelope amount comment item_date item_num payee reconciled: item_date item_num",
                              "Summary balance budget deposits envelope payments: envelope ",
                              "Stuffer budget current_balance envelope new_balance: envelope "}));
    }

    void queries_data() {
        QTest::addColumn<ReportCriteria>("criteria");
        QTest::addColumn<QString>("sql");
        const QDate from(2026, 1, 2);
        const QDate to(2026, 11, 30);
        const QString summary =
            "select tbl_envelopes.envelope, tbl_envelopes.budget, sum(iif([tbl_items]![amount]>0, "
            "[tbl_items]![amount], 0)) as deposits, sum(iif([tbl_items]![amount] < 0, [tbl_items]![amount], 0)) as "
            "payments, sum(tbl_items.amount) as balance from tbl_envelopes inner join tbl_items on "
            "tbl_envelopes.envelope = tbl_items.envelope";
        const QString stuffer =
            "select tbl_envelopes.envelope, tbl_envelopes.budget, sum(tbl_items.amount) as current_balance, "
            "[current_balance] + [budget] as new_balance from tbl_envelopes inner join tbl_items on "
            "tbl_envelopes.envelope = tbl_items.envelope";
        const QString group = " group by tbl_envelopes.envelope, tbl_envelopes.budget";

        QTest::newRow("nothing restricts and nothing sorts")
            << ReportCriteria{.strReport = "Items"} << "select * from tbl_items";
        QTest::newRow("a name with a quote")
            << ReportCriteria{.strReport = "Items", .strEnvelope = "O'Brien", .strSort1 = "Payee"}
            << "select * from tbl_items where  envelope = 'O''Brien' order by payee";
        QTest::newRow("name, dates, two sorts down")
            << ReportCriteria{"Items", "Rent", "Custom Dates", from, to, "Date", "Number", false, false}
            << "select * from tbl_items where  envelope = 'Rent' and item_date between #1/2/2026# and #11/30/2026# "
               "order by item_date desc, item_num desc";
        QTest::newRow("dates alone, grouped by envelope")
            << ReportCriteria{"Envelope", "All Envelopes", "Year To Date", from, to, "Date", "Number", true, false}
            << "shape {select * from tbl_items where item_date between #1/2/2026# and #11/30/2026# order by item_date, "
               "item_num desc} as cmdEnvelope compute cmdEnvelope by envelope";
        QTest::newRow("summary") << ReportCriteria{.strReport = "Summary", .strSort1 = "Balance"}
                                 << summary + group + " order by balance";
        QTest::newRow("summary of one envelope, sorted by it")
            << ReportCriteria{.strReport = "Summary",
                              .strEnvelope = "Rent",
                              .strSort1 = "Envelope",
                              .blnSort1Asc = false}
            << summary + " where  tbl_envelopes.envelope = 'Rent'" + group + " order by tbl_envelopes.envelope desc";
        QTest::newRow("stuffer, the word in the name replaced too")
            << ReportCriteria{.strReport = "Stuffer", .strEnvelope = "My Envelope", .strSort1 = "New Balance"}
            << stuffer + " where  tbl_envelopes.envelope = 'My tbl_envelopes.envelope'" + group +
                   " order by new_balance";
    }
    void queries() {
        QFETCH(ReportCriteria, criteria);
        QTEST(ReportSql(criteria), "sql");
    }
};

QTEST_GUILESS_MAIN(tst_criteria)
#include "tst_criteria.moc"
