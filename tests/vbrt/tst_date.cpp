// SPDX-License-Identifier: MIT
// The calendar, and reading and writing dates.
#include "vbrt/convert.h"
#include "vbrt/date.h"
#include "vbrt/error_of.h"

#include <QtTest>
#include <cmath>

class tst_date : public QObject {
    Q_OBJECT

 private slots:
    void init() { vbrt::setToday(vbrt::DateSerial(2026, 6, 15)); }
    void cleanup() { vbrt::setToday(std::nullopt); }
    void textToDate_data();
    void textToDate();
    void refusedText_data();
    void refusedText();
    void everyDayComesBack();
    void momentsToText_data();
    void momentsToText();
    void range();
    void serials();
    void clock();
};

void tst_date::textToDate_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("date");
    const auto row = [](const char* text, const char* date) {
        QTest::addRow("'%s'", text) << QString(text) << QString(date);
    };
    row("11/15/2026", "11/15/2026");
    row("11-15-2026", "11/15/2026");
    row(" 11 15 2026 ", "11/15/2026");
    row("2026-11-15", "11/15/2026");
    row("2026/11/15", "11/15/2026");
    row("2026 1 2", "1/2/2026");
    row("13/1/2026", "1/13/2026");
    row("1/13/2026", "1/13/2026");
    row("13/1/26", "1/26/2013");
    row("14 2 3", "2/3/2014");
    row("32/2/3", "2/3/1932");
    row("2/30", "2/1/1930");
    row("30/2", "2/1/1930");
    row("11/15", "11/15/2026");
    row("13/1", "1/13/2026");
    row("2/29", "2/1/2029");  // 2026 has no such day
    row("1/2/29", "1/2/2029");
    row("1/2/30", "1/2/1930");
    row("1/2/99", "1/2/1999");
    row("2/29/2024", "2/29/2024");
    row("1/1/100", "1/1/100");
    row("12/31/9999", "12/31/9999");
    row("Jan 2, 2026", "1/2/2026");
    row("2 January 2026", "1/2/2026");
    row("2-Jan-2026", "1/2/2026");
    row("JANUARY 2, 2026", "1/2/2026");
    row("29 FEB 01", "2/1/2029");
    row("Jan 5", "1/5/2026");
    row("12:00", "12:00:00 PM");
    row("3PM", "3:00:00 PM");
    row("12:30 am", "12:30:00 AM");
    row("1/2/2026 1:30 PM", "1/2/2026 1:30:00 PM");
    row("12:00 1/2/2026", "1/2/2026 12:00:00 PM");
    row("2.5", "2:05:00 AM");
    row("10.30.45", "10:30:45 AM");
    row("12/29/1899 6:00", "12/29/1899 6:00:00 AM");
    row("1", "12/31/1899");
    row("$5", "1/4/1900");
    row("1e2", "4/9/1900");
    row("1,234", "5/18/1903");
}

void tst_date::textToDate() {
    QFETCH(QString, text);
    QTEST(QString::fromStdString(vbrt::CStr(vbrt::CDate(text.toStdString()))), "date");
}

void tst_date::refusedText_data() {
    QTest::addColumn<QByteArray>("text");
    for (const char* text : {"",          " ",         "2026-13-01",       "2026/15/11",
                             "30/2/2026", "2/30/2026", "2/29/2027",        "2/29/1900",
                             "Jan",       "noon",      "1st Jan",          "2026-01-02T12:00",
                             "1//2",      "1/2/2026/", "/1/2/2026",        "1/2/10000",
                             "24:00",     "1:60",      "1:00:60",          "13:00 PM",
                             "1:",        ":30",       "1/2/2026/12:00",   "1:00 2:00",
                             "1/2/3/4",   "1:30 5",    "Jan Feb 5",        "Sunday, January 4, 2026",
                             "0/1/2026",  "1/0/2026",  "999999999999/1/1", "\xff/1/2026"})
        QTest::addRow("'%s'", text) << QByteArray(text);
    QTest::newRow("zero byte") << QByteArray("1/2/2026\0", 9);
}

void tst_date::refusedText() {
    QFETCH(QByteArray, text);
    QCOMPARE(errorOf([&] { vbrt::CDate(text.toStdString()); }), 13L);
    QVERIFY(!vbrt::IsDate(text.toStdString()));
}

// Qt's calendar is the judge.
void tst_date::everyDayComesBack() {
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

void tst_date::momentsToText_data() {
    QTest::addColumn<double>("serial");
    QTest::addColumn<QString>("text");
    QTest::newRow("day") << 46024.0 << "1/2/2026";
    QTest::newRow("day and time") << 43832.5 << "1/2/2020 12:00:00 PM";
    QTest::newRow("time") << 0.25 << "6:00:00 AM";
    QTest::newRow("nothing is midnight") << 0.0 << "12:00:00 AM";
    QTest::newRow("before day 0 time runs forward") << -1.25 << "12/29/1899 6:00:00 AM";
    QTest::newRow("rounded up to the next day") << 46023.999999 << "1/2/2026";
    QTest::newRow("rounded up before day 0") << -2.9999999 << "12/29/1899";
    QTest::newRow("one second") << 46024 + 1 / 86400.0 << "1/2/2026 12:00:01 AM";
}

void tst_date::momentsToText() {
    QFETCH(double, serial);
    QTEST(QString::fromStdString(vbrt::CStr(vbrt::Date{serial})), "text");
}

void tst_date::range() {
    QCOMPARE(vbrt::CStr(vbrt::Date{-657434.5}), "1/1/100 12:00:00 PM");
    QCOMPARE(vbrt::CStr(vbrt::Date{2958465.5}), "12/31/9999 12:00:00 PM");
    for (const double serial : {-657435.0, 2958466.0, 2958465.9999999, 1e300, -1e300, std::nan("")}) {
        QCOMPARE(errorOf([&] { vbrt::partsOf({serial}); }), 6L);
        QVERIFY(!vbrt::isInRange({serial}));
    }
    QCOMPARE(errorOf([] { vbrt::CDate("2958466"); }), 6L);
    QCOMPARE(errorOf([] { vbrt::CDate("1e400"); }), 6L);
}

void tst_date::serials() {
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
    QCOMPARE(vbrt::TimeSerial(12, 30, 0).serial, 12.5 / 24);
    QCOMPARE(vbrt::TimeSerial(12 - 6, -15, 0), vbrt::TimeSerial(5, 45, 0));
    QCOMPARE(vbrt::TimeSerial(36, 0, 0).serial, 1.5);
}

void tst_date::clock() {
    QCOMPARE(vbrt::CStr(vbrt::Today()), "6/15/2026");
    vbrt::setToday(std::nullopt);
    const QDate today = QDate::currentDate();
    const vbrt::DateParts now = vbrt::partsOf(vbrt::Now());
    const qint64 daysApart = today.daysTo(QDate(now.year, now.month, now.day));
    QVERIFY(daysApart == 0 || daysApart == 1);  // midnight may have passed
    QCOMPARE(vbrt::Today().serial, std::floor(vbrt::Today().serial));
}

QTEST_APPLESS_MAIN(tst_date)
#include "tst_date.moc"
