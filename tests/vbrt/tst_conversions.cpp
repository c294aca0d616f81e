// SPDX-License-Identifier: MIT
// Numbers, dates, their texts and formats, exact sums, and the QString side of it.
#include "rows.h"
#include "vbrt/convert.h"
#include "vbrt/date.h"
#include "vbrt/error.h"
#include "vbrt/exact_sum.h"
#include "vbrt/format.h"
#include "vbrt/qstring.h"

#include <QChar>
#include <QDate>
#include <QLatin1String>
#include <QList>
#include <QTest>
#include <QVariant>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>

namespace {

using Items = QList<double>;

// The number of the error that something raises, 0 for none.
template <typename Action>
long errorOf(Action action) {
    try {
        action();
    } catch (const vbrt::Error& error) {
        return error.number();
    }
    return 0;
}

}  // namespace

class tst_conversions : public QObject {
    Q_OBJECT

 private slots:
    void init() { vbrt::setToday(vbrt::DateSerial(2026, 6, 15)); }
    void cleanup() { vbrt::setToday(std::nullopt); }

    void textToNumber_data() {
        addColumns<QByteArray, double>("text", "number");
        using Case = std::pair<const char*, double>;
        const auto rows = [](auto... cases) {
            for (const auto& [text, number] : {cases...})
                QTest::addRow("'%s'", text) << QByteArray(text) << number;
        };
        rows(Case(" 0 ", 0), Case("\t12", 12), Case("12 \t", 12), Case("01", 1), Case("1,000", 1000),
             Case("12,345", 12345), Case("1,234,567.89", 1234567.89), Case("1,234e2", 123400), Case("$11", 11),
             Case("$1,234.50", 1234.5), Case("(5)", -5), Case("(5.00)", -5), Case("($12.50)", -12.5),
             Case("-$12.50", -12.5), Case("$-12.50", -12.5), Case("5-", -5), Case("5 -", -5), Case("+5", 5),
             Case("+ 0", 0), Case(" + 0", 0), Case("- 7", -7), Case("-0", 0), Case("1.", 1), Case(".5", 0.5),
             Case("-0.51", -0.51), Case("1e3", 1000), Case("1E+01", 10), Case("1e-1", 0.1), Case("1.5e20", 1.5e20),
             Case("1e-94938484", 0), Case("-1e-400", 0), Case("0e99999999999999999999", 0),
             Case("0.00000000000000000000001e320", 1e297),
             Case("1.7976931348623157e308", std::numeric_limits<double>::max()), Case("5e-324", 5e-324),
             Case("123456789012345678901234567890", 123456789012345678901234567890.0), Case("&H10", 16),
             Case("&hff", 255), Case("&O17", 15));
    }
    void textToNumber() {
        QFETCH(QByteArray, text);
        QFETCH(double, number);
        QCOMPARE(vbrt::CDbl(text.toStdString()), number);
        QVERIFY(number != 0 || !std::signbit(vbrt::CDbl(text.toStdString())));
        QVERIFY(vbrt::IsNumeric(text.toStdString()));
    }

    void refusedNumbers_data() {
        addColumns<QByteArray, int>("text", "error");
        for (const char* text :
             {"",      " ",  "-",    ".",    "$",  "()",       "(",        "abc",      "12abc", "--5", "-5-", "+-5",
              "1.2.3", "5%", "1 2",  "(-5)", "(5", "5)",       "((5))",    "$$5",      "1e",    "1e+", "e5",  ",5",
              "1.5,0", "&H", "&HG1", "&O8",  "- ", "1/2/2026", "\xc2\xbd", "\xff\xfe", "5\n6",  "inf", "nan", "0x10"})
            QTest::addRow("'%s'", text) << QByteArray(text) << 13;
        // Commas that do not separate thousands: half of them are meant for a decimal point.
        for (const char* text :
             {"12,50", "1,2,3", "1,23.4", "1,2345", "1234,567", "1,234,56", "1,234,", "1,,234", "$12,5-"})
            QTest::addRow("'%s'", text) << QByteArray(text) << 13;
        addRow("line feed", QByteArray("5\n6"), 13);
        addRow("zero byte behind", QByteArray("5\0", 2), 13);
        addRow("zero byte alone", QByteArray("\0", 1), 13);
        addRow("too large", QByteArray("1e400"), 6);
        addRow("too large, negative", QByteArray("(1e99999999999999999999)"), 6);
        addRow("too large, plain", QByteArray(310, '9'), 6);
        addRow("too large, hexadecimal", QByteArray("&HFFFFFFFFFFFFFFFFF"), 6);
    }
    void refusedNumbers() {
        QFETCH(QByteArray, text);
        QTEST(static_cast<int>(errorOf([&] { vbrt::CDbl(text.toStdString()); })), "error");
        QVERIFY(!vbrt::IsNumeric(text.toStdString()));
    }

    void val_data() {
        addColumns<QByteArray, double>("text", "number");
        using Case = std::pair<const char*, double>;
        const auto rows = [](auto... cases) {
            for (const auto& [text, number] : {cases...})
                QTest::addRow("'%s'", text) << QByteArray(text) << number;
        };
        rows(Case("", 0), Case("$5", 0), Case("1,234", 1), Case(" 2 45 7", 2457));
        addRow("line feed and tab", QByteArray("1\n2\t3"), 123.0);
        rows(Case("24 and 57", 24), Case("-1.5.2", -1.5), Case("&HFFFF", -1), Case("&H10", 16), Case("-", 0),
             Case("1e", 1), Case("1e999", std::numeric_limits<double>::max()));
    }
    void val() {
        QFETCH(QByteArray, text);
        QTEST(vbrt::Val(text.toStdString()), "number");
    }

    void numberToText_data() {
        addColumns<double, QString>("number", "text");
        using Case = std::pair<double, const char*>;
        const auto rows = [](auto... cases) {
            for (const auto& [number, text] : {cases...})
                QTest::addRow("%s", text) << number << QString(text);
        };
        rows(Case(0, "0"), Case(0.1 + 0.2, "0.3"), Case(1.0 / 3, "0.333333333333333"),
             Case(2.0 / 3, "0.666666666666667"), Case(-0.5, "-0.5"), Case(-459.65, "-459.65"), Case(100, "100"),
             Case(1234.5, "1234.5"), Case(999999999999999, "999999999999999"),
             Case(-100000000000000, "-100000000000000"), Case(1e15, "1E+15"), Case(999999999999999.9, "1E+15"),
             Case(123456789012346000.0, "1.23456789012346E+17"), Case(1e300, "1E+300"), Case(1e-5, "0.00001"),
             Case(0.000000023423421, "0.000000023423421"), Case(2.342342133e-7, "2.342342133E-07"),
             Case(1e-15, "0.000000000000001"), Case(1e-16, "1E-16"), Case(5e-324, "4.94065645841247E-324"),
             Case(std::numeric_limits<double>::max(), "1.79769313486232E+308"),
             Case(std::numeric_limits<double>::infinity(), "1.#INF"));
        addRow("negative zero", -0.0, "0");
    }
    void numberToText() {
        QFETCH(double, number);
        QTEST(QString::fromStdString(vbrt::CStr(number)), "text");
    }

    void otherTypesToText() {
        QCOMPARE(vbrt::CStr(0.1F), "0.1");
        QCOMPARE(vbrt::CStr(1.0F / 3), "0.3333333");
        QCOMPARE(vbrt::CStr(std::int32_t{-12}), "-12");
        QCOMPARE(vbrt::CStr(std::numeric_limits<std::int64_t>::min()), "-9223372036854775808");
        QCOMPARE(vbrt::CStr(true), "True");
    }

    // The C library's rounding of the exact value to 15 digits is the judge, over every kind of double.
    void textMatchesTheExactRounding() {
        std::mt19937_64 random(20260115);
        for (int i = 0; i < 50'000; ++i) {
            std::uint64_t bits = random();
            if (i % 2 == 0)  // half of them with exponents as they occur
                bits = (bits & ~(0x7FFULL << 52)) | ((0x3E0 + random() % 0x60) << 52);
            double number = 0;
            std::memcpy(&number, &bits, sizeof number);
            if (!std::isfinite(number))
                continue;
            std::array<char, 40> exact{};
            std::snprintf(exact.data(), exact.size(), "%.14e", number);
            const double rounded = std::strtod(exact.data(), nullptr);
            const std::string text = vbrt::CStr(number);
            if (std::isinf(rounded))
                QCOMPARE(errorOf([&] { vbrt::CDbl(text); }), 6L);
            else
                QCOMPARE(vbrt::CDbl(text), rounded);
        }
    }

    void centsSurvive() {
        std::mt19937_64 random(4711);
        for (int i = 0; i < 50'000; ++i) {
            // Up to fifteen digits in all, most of them small.
            const auto cents = static_cast<std::int64_t>(random() % 999'999'999'999'999 >> (random() % 40));
            const std::int64_t sign = i % 2 == 0 ? 1 : -1;
            const double amount = static_cast<double>(sign * cents) / 100;
            QCOMPARE(vbrt::CDbl(vbrt::CStr(amount)), amount);

            // What the picture must show, made of whole numbers.
            std::string dollars = std::to_string(cents / 100);
            for (auto comma = static_cast<int>(dollars.size()) - 3; comma > 0; comma -= 3)
                dollars.insert(static_cast<std::size_t>(comma), 1, ',');
            std::string expected(sign < 0 && cents != 0 ? "-$" : "$");
            expected += dollars;
            expected += '.';
            expected += static_cast<char>('0' + cents / 10 % 10);
            expected += static_cast<char>('0' + cents % 10);
            const std::string shown = vbrt::Format(amount, "$#,##0.00;-$#,##0.00");
            QCOMPARE(shown, expected);
            QCOMPARE(vbrt::CDbl(shown), amount);
        }
    }

    void toWholeNumbers() {
        QCOMPARE(vbrt::CLng(2.5), 2);
        QCOMPARE(vbrt::CLng(3.5), 4);
        QCOMPARE(vbrt::CLng(-2.5), -2);
        QCOMPARE(vbrt::CLng("$1,234.50"), 1234);
        QCOMPARE(vbrt::CLng(2147483647.4), 2147483647);
        QCOMPARE(errorOf([] { vbrt::CLng(2147483647.5); }), 6L);
        QCOMPARE(vbrt::CLng(-2147483648.5), std::numeric_limits<std::int32_t>::min());
        QCOMPARE(errorOf([] { vbrt::CLng(std::nan("")); }), 6L);
        QCOMPARE(int{vbrt::CInt(-32768)}, -32768);
        QCOMPARE(errorOf([] { vbrt::CInt(32768); }), 6L);
    }

    void round_data() {
        addColumns<double, int, double>("number", "digits", "rounded");
        using Case = std::tuple<double, int, double>;
        const auto rows = [](auto... cases) {
            for (const auto& [number, digits, rounded] : {cases...})
                QTest::addRow("%.17g to %d", number, digits) << number << digits << rounded;
        };
        rows(Case(2.5, 0, 2), Case(3.5, 0, 4), Case(-2.5, 0, -2), Case(0.125, 2, 0.12), Case(2.45, 1, 2.4),
             Case(0.12345, 4, 0.1234), Case(0.12355, 4, 0.1236), Case(0.00005, 4, 0), Case(1.605, 2, 1.6),
             Case(3.825, 2, 3.82), Case(3.875, 2, 3.88), Case(1e300, 2, 1e300), Case(1e-30, 400, 1e-30),
             Case(9007199254740993.0, 0, 9007199254740993.0));
    }
    void round() {
        QFETCH(double, number);
        QFETCH(int, digits);
        QTEST(vbrt::Round(number, digits), "rounded");
        QVERIFY(!std::signbit(vbrt::Round(-0.001, 2)));
        QCOMPARE(errorOf([] { vbrt::Round(1, -1); }), 5L);
    }

    void errorTexts() {
        QCOMPARE(vbrt::standardText(13), "Type mismatch");
        QCOMPARE(vbrt::standardText(35602), "Key is not unique in collection");
        QCOMPARE(vbrt::standardText(12345), "Application-defined or object-defined error");
        try {
            vbrt::raise(vbrt::kInvalidNull);
        } catch (const vbrt::Error& error) {
            QCOMPARE(error.number(), 94L);
            QCOMPARE(vbrt::qt::description(error), "Invalid use of Null");
        }
    }

    void qStrings() {
        using namespace vbrt::qt;
        const QString money = "$#,##0.00;-$#,##0.00";
        QCOMPARE(CDbl(QString(" $1,234.50 ")), 1234.5);
        QCOMPARE(CDbl(QLatin1String("5")), 5.0);
        QCOMPARE(errorOf([] { CDbl(QString(QChar(0xD800))); }), 13L);
        QCOMPARE(errorOf([] { CDbl(QString()); }), 13L);
        QCOMPARE(CStr(1234.5), "1234.5");
        QCOMPARE(CStr(7), "7");
        QCOMPARE(CStr(false), "False");
        QCOMPARE(Format(-1234.5, money), "-$1,234.50");
        QCOMPARE(Format(3, "#,##0"), "3");
        QCOMPARE(Format(2, "0 \u20ac"), QString::fromUtf8("2 \u20ac"));
        QCOMPARE(Format(QDate(2026, 1, 2), "mm/dd/yyyy"), "01/02/2026");
        QCOMPARE(Format(QString("1/2/2026"), "mm/dd/yyyy"), "01/02/2026");
        QCOMPARE(CStr(CDate("2026-11-15 13:30")), "11/15/2026");
        QCOMPARE(CStr(QDate(100, 1, 1)), "1/1/100");
        QCOMPARE(errorOf([] { CStr(QDate()); }), 94L);
        QCOMPARE(errorOf([] { CStr(QDate(99, 12, 31)); }), 6L);
        setToday(QDate(2026, 1, 2));
        QCOMPARE(Today(), QDate(2026, 1, 2));
        setToday(QDate());
        QCOMPARE(DateSerial(2026, 13, 0), QDate(2026, 12, 31));
        try {
            raiseError(91, u"Größe");
        } catch (const vbrt::Error& error) {
            QCOMPARE(error.number(), 91L);
            QCOMPARE(description(error), QString::fromUtf8("Größe"));
        }
    }

    void qFields() {
        using namespace vbrt::qt;
        QCOMPARE(Format(QVariant(), "0.00"), "");
        QCOMPARE(Format(QVariant(1.005), "0.00"), "1.01");
        QCOMPARE(Format(QVariant(12), ""), "12");
        QCOMPARE(Format(QVariant("Rent"), ""), "Rent");
        QCOMPARE(Format(QVariant(QDate(2026, 1, 2)), "mm/dd/yyyy"), "01/02/2026");
        QCOMPARE(Format(QVariant::fromValue(vbrt::Date{46024}), "mm/dd/yyyy"), "01/02/2026");
    }

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

    void refusedDates_data() {
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
    void refusedDates() {
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

    void formattedNumbers_data() {
        addColumns<double, QString, QString>("number", "picture", "shown");
        const char* const money = "$#,##0.00;-$#,##0.00";
        using Case = std::tuple<double, const char*, const char*>;
        const auto rows = [](auto... cases) {
            for (const auto& [number, picture, shown] : {cases...})
                QTest::addRow("%.17g by %s", number, picture) << number << QString(picture) << QString(shown);
        };
        rows(Case(1234.5, money, "$1,234.50"), Case(-1234.5, money, "-$1,234.50"), Case(0, money, "$0.00"),
             Case(1234567.891, money, "$1,234,567.89"), Case(999999.995, money, "$1,000,000.00"),
             Case(-0.001, money, "$0.00"), Case(-0.005, money, "-$0.01"), Case(-5.6843418860808015e-14, money, "$0.00"),
             Case(-0.0, money, "$0.00"));
        rows(Case(1234.5, "#,##0.00;(#,##0.00)", "1,234.50"), Case(-1234.5, "#,##0.00;(#,##0.00)", "(1,234.50)"),
             Case(334.9, "###0.00", "334.90"), Case(-334.9, "###0.00", "-334.90"), Case(-0.001, "0.00", "0.00"),
             Case(0, "#,##0", "0"), Case(1234.5, "#,##0", "1,235"), Case(100, "#,##0", "100"), Case(0, "#", ""),
             Case(0, "#.##", "."), Case(0.5, ".00", ".50"), Case(12.5, ".00", "12.50"), Case(5, "00000", "00005"),
             Case(5, "0,000", "0,005"), Case(5, "0###", "0005"), Case(1.5, "0.0##", "1.5"), Case(1.5, "0.##0", "1.500"),
             Case(3, "0.", "3."));
        // Halves go away from zero on the 15-digit text.
        rows(Case(0.125, "0.00", "0.13"), Case(2.675, "0.00", "2.68"), Case(1.005, "0.00", "1.01"),
             Case(-1.005, "0.00", "-1.01"), Case(0.5, "0", "1"), Case(2.5, "0", "3"), Case(0.4999, "0", "0"),
             Case(9.995, "0.00", "10.00"), Case(0.05, "0.0", "0.1"), Case(0.04, "0.0", "0.0"),
             Case(1.73245, "0.0000", "1.7325"));
        rows(Case(5, "\"$\"#,##0.00", "$5.00"), Case(-1234.5, "\"$\"#,##0.00", "-$1,234.50"),
             Case(5, "0 \"0;#\\\" \\0\\;", "5 0;#\\ 0;"), Case(5, "0 \"open", "5 open"), Case(5, "0\"", "5"),
             Case(5, "0\\", "5"), Case(5, "0\"\"0", "05"), Case(5551234, "000-0000", "555-1234"),
             Case(15551234, "(000) 000-0000", "(001) 555-1234"), Case(5, "+0 -", "+5 -"));
        rows(Case(0.25, "Percent", "25.00%"), Case(0.00005, "0.00%", "0.01%"), Case(1234567, "#,##0,", "1,235"),
             Case(1234567, "0.0,,", "1234567.0,,"), Case(1234567, "0,,.0", "1.2"));
        rows(Case(5, "0;(0);nil", "5"), Case(-5, "0;(0);nil", "(5)"), Case(0.2, "0;(0);nil", "nil"),
             Case(0, "0;(0);\"none\";\"null\"", "none"), Case(0, "0;;zero", "zero"), Case(-5, "0;", "-5"));
        rows(Case(12345.678, "0.00E+00", "1.23E+04"), Case(0.00012, "0.0E-0", "1.2E-4"),
             Case(99999, "0.0e+0", "1.0e+5"), Case(0, "0.00E+00", "0.00E+00"), Case(12345, "##0.0E+0", "123.5E+2"));
        rows(Case(1234.5, "", "1234.5"), Case(1234.5, "General Number", "1234.5"), Case(1234.5, "Fixed", "1234.50"),
             Case(-1234.5, "fixed", "-1234.50"), Case(1234.5, "Standard", "1,234.50"),
             Case(-1234.5, "STANDARD", "-1,234.50"), Case(1234.5, "Currency", "$1,234.50"),
             Case(-1234.5, "Currency", "($1,234.50)"), Case(1234.5, "Scientific", "1.23E+03"),
             Case(-0.25, "Yes/No", "Yes"), Case(0, "True/False", "False"), Case(1, "On/Off", "On"));
        rows(Case(1e20, "0.00", "100000000000000000000.00"), Case(1e-300, "0.00", "0.00"),
             Case(123456789012345678.0, "#,##0", "123,456,789,012,346,000"),
             Case(std::numeric_limits<double>::quiet_NaN(), "0.00", "1.#QNAN"));
    }
    void formattedNumbers() {
        QFETCH(double, number);
        QFETCH(QString, picture);
        QTEST(QString::fromStdString(vbrt::Format(number, picture.toStdString())), "shown");
    }

    void formattedDates_data() {
        addColumns<QString, QString>("picture", "shown");
        using Case = std::pair<const char*, const char*>;
        const auto rows = [](auto... cases) {
            for (const auto& [picture, shown] : {cases...})
                QTest::addRow("%s", picture) << QString(picture) << QString(shown);
        };
        rows(Case("mm/dd/yyyy", "01/02/2026"), Case("MM/dd/yyyy", "01/02/2026"), Case("m/d/yy", "1/2/26"),
             Case("d-mmm-yyyy", "2-Jan-2026"), Case("dddd, mmmm d", "Friday, January 2"), Case("ddd yy", "Fri 26"),
             Case("hh:mm:ss", "15:04:05"), Case("h:mm AM/PM", "3:04 PM"), Case("hh:nn am/pm", "03:04 pm"),
             Case("h A/P", "3 P"), Case("h mmm", "15 Jan"), Case("mm hh mm", "01 15 04"),
             Case("\"d\"d \\m m", "d2 m 1"), Case("", "1/2/2026 3:04:05 PM"),
             Case("General Date", "1/2/2026 3:04:05 PM"), Case("Short Date", "1/2/2026"),
             Case("Long Date", "Friday, January 2, 2026"), Case("Medium Date", "02-Jan-26"),
             Case("Long Time", "3:04:05 PM"), Case("Medium Time", "03:04 PM"), Case("Short Time", "15:04"));
    }
    void formattedDates() {
        QFETCH(QString, picture);
        const double serial = 46024 + (15 * 3600 + 4 * 60 + 5) / 86400.0;
        QTEST(QString::fromStdString(vbrt::Format(vbrt::Date{serial}, picture.toStdString())), "shown");
    }

    void formattedTexts_data() {
        addColumns<QString, QString, QString>("text", "picture", "shown");
        addRow("number", "$1,234.5", "0.00", "1234.50");
        addRow("no number", "Rent", "0.00", "Rent");
        addRow("too large a number", "1e400", "0.00", "1e400");
        addRow("nothing", "", "0.00", "");
        addRow("without a picture", "007", "", "007");
        addRow("date", "Jan 2, 2026", "mm/dd/yyyy", "01/02/2026");
        addRow("date as a number", "46024", "mm/dd/yyyy", "01/02/2026");
        addRow("number beyond all dates", "99999999", "mm/dd/yyyy", "99999999");
        addRow("no date", "2/30/2026", "mm/dd/yyyy", "2/30/2026");
    }
    void formattedTexts() {
        QFETCH(QString, text);
        QFETCH(QString, picture);
        QTEST(QString::fromStdString(vbrt::Format(text.toStdString(), picture.toStdString())), "shown");
    }

    void formattedDatesByNumberPictures() {
        QCOMPARE(vbrt::Format(vbrt::Date{46024.5}, "0.0"), "46024.5");
        QCOMPARE(vbrt::Format(46024, "mm/dd/yyyy"), "01/02/2026");
        QCOMPARE(vbrt::Format(46026, "ddd d"), "Sun 4");
        QCOMPARE(errorOf([] { vbrt::Format(99999999, "mm/dd/yyyy"); }), 6L);
    }

    void sum_data() {
        addColumns<Items, int, double>("items", "count", "result");
        constexpr double kMax = std::numeric_limits<double>::max();
        constexpr double kInfinity = std::numeric_limits<double>::infinity();
        addRow("nothing", Items{}, 1, 0.0);
        addRow("noise of decimal fractions", Items{0.3, -0.1, -0.2}, 1, 0.0);
        addRow("cents beside ten trillion", Items{1e13, 16555.17, -1e13}, 1, 16555.17);
        addRow("cents beside more than cents can count", Items{1e17, 0.01, -1e17}, 1, 0.01);
        addRow("far apart", Items{1e300, 1e-300, 0.25, -1e300}, 1, 0.25);
        addRow("90 trillion in cents", Items{90e12, 0.07, 0.08, -90e12, -0.15}, 1, 0.0);
        addRow("no cents", Items{0.125, 1.0 / 3, -0.125}, 1, 1.0 / 3);
        addRow("half a step goes to the even double", Items{9007199254740992.0, 1}, 1, 9007199254740992.0);
        addRow("a little more than half", Items{9007199254740992.0, 1, 5e-324}, 1, 9007199254740994.0);
        addRow("the smallest doubles", Items{5e-324, 5e-324, -1.5e-323}, 1, -5e-324);
        addRow("through what is too large", Items{kMax, kMax, -kMax}, 1, kMax);
        addRow("too large", Items{kMax, kMax}, 1, kInfinity);
        addRow("an average of cents", Items{0.1, 0.2, 0.4}, 3, 70.0 / 300);
        addRow("an average of what is too large to add", Items{kMax, kMax}, 2, kMax);
        addRow("an average below zero", Items{-0.125, -0.25}, 3, -0.125);
        addRow("infinite", Items{1, -kInfinity, 5}, 1, -kInfinity);
    }
    void sum() {
        QFETCH(Items, items);
        QFETCH(int, count);
        QFETCH(double, result);
        std::ranges::sort(items);
        do {
            vbrt::ExactSum sum;
            for (const double item : items)
                sum.add(item);
            QVERIFY(sum.result(count) == result);  // to the bit, where QCOMPARE is lenient
            QVERIFY(result != 0 || !std::signbit(sum.result(count)));
        } while (std::ranges::next_permutation(items).found);
    }

    // Amounts of all sizes up to ten trillion, against whole cents; all of them out again in another order, and a cent.
    void cents() {
        vbrt::ExactSum sum;
        std::vector<double> amounts;
        std::mt19937_64 random(5);
        std::int64_t cents = 0;
        for (int i = 0; i < 100'000; ++i) {
            const auto amount = static_cast<std::int64_t>(random() % 1'000'000'000'000'000U >> random() % 50);
            const std::int64_t item = cents > 0 ? -amount : amount;
            amounts.push_back(static_cast<double>(item) / 100);
            sum.add(amounts.back());
            cents += item;
            QVERIFY(i % 1000 != 0 || sum.result() == static_cast<double>(cents) / 100);
        }
        std::ranges::shuffle(amounts, random);
        for (const double amount : amounts)
            sum.add(-amount);
        sum.add(0.01);
        QVERIFY(sum.result() == 0.01);
    }

    void notANumber() {
        vbrt::ExactSum sum;
        sum.add(std::numeric_limits<double>::infinity());
        sum.add(-std::numeric_limits<double>::infinity());
        sum.add(1);
        QVERIFY(std::isnan(sum.result()));
    }
};

QTEST_APPLESS_MAIN(tst_conversions)
#include "tst_conversions.moc"
