// SPDX-License-Identifier: MIT
// The calendar, and reading and writing dates.
#include "rows.h"
#include "vbrt/convert.h"
#include "vbrt/date.h"
#include "vbrt/error_of.h"

#include <QDate>
#include <QTest>
#include <cmath>

class tst_date : public QObject {
    Q_OBJECT

 private slots:
    void init() { vbrt::setToday(vbrt::DateSerial(2026, 6, 15)); }
    void cleanup() { vbrt::setToday(std::nullopt); }

    void textToDate_data() {
        addColumns<QString, QString>("text", "date");
        using Case = std::pair<const char*, const char*>;
        const auto rows = [](auto... cases) {
            for (const auto& [text, date] : {cases...})
                QTest::addRow("'%s'", text) << QString(text) << QString(date);
        };
        rows(Case("11/15/2026", "11/15/2026"), Case("11-15-2026", "11/15/2026"), Case(" 11 15 2026 ", "11/15/2026"),
             Case("2026-11-15", "11/15/2026"), Case("2026/11/15", "11/15/2026"), Case("2026 1 2", "1/2/2026"),
             Case("13/1/2026", "1/13/2026"), Case("1/13/2026", "1/13/2026"), Case("13/1/26", "1/26/2013"),
             Case("14 2 3", "2/3/2014"), Case("32/2/3", "2/3/1932"), Case("2/30", "2/1/1930"), Case("30/2", "2/1/1930"),
             Case("11/15", "11/15/2026"), Case("13/1", "1/13/2026"), Case("2/29", "2/1/2029"),
             Case("1/2/29", "1/2/2029"), Case("1/2/30", "1/2/1930"), Case("1/2/99", "1/2/1999"),
             Case("2/29/2024", "2/29/2024"), Case("1/1/100", "1/1/100"), Case("12/31/9999", "12/31/9999"),
             Case("Jan 2, 2026", "1/2/2026"), Case("2 January 2026", "1/2/2026"), Case("2-Jan-2026", "1/2/2026"),
             Case("JANUARY 2, 2026", "1/2/2026"), Case("29 FEB 01", "2/1/2029"), Case("Jan 5", "1/5/2026"),
             Case("12:00", "12:00:00 PM"), Case("3PM", "3:00:00 PM"), Case("12:30 am", "12:30:00 AM"),
             Case("1/2/2026 1:30 PM", "1/2/2026 1:30:00 PM"), Case("12:00 1/2/2026", "1/2/2026 12:00:00 PM"),
             Case("2.5", "2:05:00 AM"), Case("10.30.45", "10:30:45 AM"),
             Case("12/29/1899 6:00", "12/29/1899 6:00:00 AM"), Case("1", "12/31/1899"), Case("$5", "1/4/1900"),
             Case("1e2", "4/9/1900"), Case("1,234", "5/18/1903"));
    }
    void textToDate() {
        QFETCH(QString, text);
        QTEST(QString::fromStdString(vbrt::CStr(vbrt::CDate(text.toStdString()))), "date");
    }

    void refusedText_data() {
        addColumns<QByteArray>("text");
        for (const char* text : {"",          " ",         "2026-13-01",       "2026/15/11",
                                 "30/2/2026", "2/30/2026", "2/29/2027",        "2/29/1900",
                                 "Jan",       "noon",      "1st Jan",          "2026-01-02T12:00",
                                 "1//2",      "1/2/2026/", "/1/2/2026",        "1/2/10000",
                                 "24:00",     "1:60",      "1:00:60",          "13:00 PM",
                                 "1:",        ":30",       "1/2/2026/12:00",   "1:00 2:00",
                                 "1/2/3/4",   "1:30 5",    "Jan Feb 5",        "Sunday, January 4, 2026",
                                 "0/1/2026",  "1/0/2026",  "999999999999/1/1", "\xff/1/2026"})
            QTest::addRow("'%s'", text) << QByteArray(text);
        addRow("zero byte", QByteArray("1/2/2026\0", 9));
    }
    void refusedText() {
        QFETCH(QByteArray, text);
        QCOMPARE(errorOf([&] { vbrt::CDate(text.toStdString()); }), 13L);
        QVERIFY(!vbrt::IsDate(text.toStdString()));
    }

    // Qt's calendar is the judge.
    void everyDayComesBack() {
        const QDate dayZero(1899, 12, 30);
        int days = 0;
        for (int serial = -657434; serial <= 2958465; serial += serial < -650000 || serial > 2950000 ? 1 : 53) {
            const QDate day = dayZero.addDays(serial);
            const vbrt::Date date{static_cast<double>(serial)};
            const vbrt::DateParts parts = vbrt::partsOf(date);
            QCOMPARE(QDate(parts.year, parts.month, parts.day), day);
            QCOMPARE(vbrt::makeDate(day.year(), day.month(), day.day()).value(), date);
            if (serial != 0)
                QCOMPARE(vbrt::CDate(vbrt::CStr(date)), date);
            ++days;
        }
        QVERIFY(days > 60'000);
    }

    void momentsToText_data() {
        addColumns<double, QString>("serial", "text");
        addRow("day", 46024.0, "1/2/2026");
        addRow("day and time", 43832.5, "1/2/2020 12:00:00 PM");
        addRow("time", 0.25, "6:00:00 AM");
        addRow("nothing is midnight", 0.0, "12:00:00 AM");
        addRow("before day 0 time runs forward", -1.25, "12/29/1899 6:00:00 AM");
        addRow("rounded up to the next day", 46023.999999, "1/2/2026");
        addRow("rounded up before day 0", -2.9999999, "12/29/1899");
        addRow("one second", 46024 + 1 / 86400.0, "1/2/2026 12:00:01 AM");
    }
    void momentsToText() {
        QFETCH(double, serial);
        QTEST(QString::fromStdString(vbrt::CStr(vbrt::Date{serial})), "text");
    }

    void range() {
        QCOMPARE(vbrt::CStr(vbrt::Date{-657434.5}), "1/1/100 12:00:00 PM");
        QCOMPARE(vbrt::CStr(vbrt::Date{2958465.5}), "12/31/9999 12:00:00 PM");
        for (const double serial : {-657435.0, 2958466.0, 2958465.9999999, 1e300, -1e300, std::nan("")}) {
            QCOMPARE(errorOf([&] { vbrt::partsOf({serial}); }), 6L);
            QVERIFY(!vbrt::isInRange({serial}));
        }
        QCOMPARE(errorOf([] { vbrt::CDate("2958466"); }), 6L);
        QCOMPARE(errorOf([] { vbrt::CDate("1e400"); }), 6L);
    }

    void serials() {
        const auto text = [](int year, int month, int day) { return vbrt::CStr(vbrt::DateSerial(year, month, day)); };
        QCOMPARE(text(2026, 13, 1), "1/1/2027");
        QCOMPARE(text(2026, 3, 0), "2/28/2026");
        QCOMPARE(text(2024, 3, 0), "2/29/2024");
        QCOMPARE(text(2026, 1, 35), "2/4/2026");
        QCOMPARE(text(2026, 0, 1), "12/1/2025");
        QCOMPARE(text(2026, -11, 1), "1/1/2025");
        QCOMPARE(text(29, 1, 1), "1/1/2029");
        QCOMPARE(text(30, 1, 1), "1/1/1930");
        QCOMPARE(text(10000, 0, 31), "12/31/9999");
        QCOMPARE(errorOf([] { vbrt::DateSerial(9999, 12, 32); }), 5L);
        QCOMPARE(errorOf([] { vbrt::DateSerial(100, 1, 0); }), 5L);
        QCOMPARE(errorOf([] { vbrt::DateSerial(32767, 32767, 32767); }), 5L);
        QCOMPARE(errorOf([] { vbrt::DateSerial(-32768, -32768, -32768); }), 5L);
        QCOMPARE(errorOf([] { vbrt::DateSerial(2026, 32768, 1); }), 6L);
    }

    void clock() {
        QCOMPARE(vbrt::CStr(vbrt::Today()), "6/15/2026");
        vbrt::setToday(std::nullopt);
        const QDate today = QDate::currentDate();
        const vbrt::DateParts now = vbrt::partsOf(vbrt::Now());
        const qint64 daysApart = today.daysTo(QDate(now.year, now.month, now.day));
        QVERIFY(daysApart == 0 || daysApart == 1);  // midnight may have passed
        QCOMPARE(vbrt::Today().serial, std::floor(vbrt::Today().serial));
    }
};

QTEST_APPLESS_MAIN(tst_date)
#include "tst_date.moc"
