// SPDX-License-Identifier: MIT
// Text to number and back, rounding, and the QString side of it.
#include "rows.h"
#include "vbrt/convert.h"
#include "vbrt/error_of.h"
#include "vbrt/format.h"
#include "vbrt/qstring.h"

#include <QChar>
#include <QDate>
#include <QLatin1String>
#include <QTest>
#include <QVariant>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>

class tst_convert : public QObject {
    Q_OBJECT

 private slots:
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

    void refusedText_data() {
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
    void refusedText() {
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
};

QTEST_APPLESS_MAIN(tst_convert)
#include "tst_convert.moc"
