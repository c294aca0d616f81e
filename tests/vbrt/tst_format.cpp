// SPDX-License-Identifier: MIT
#include "vbrt/error_of.h"
#include "vbrt/format.h"

#include <QtTest>
#include <limits>

class tst_format : public QObject {
    Q_OBJECT

 private slots:
    void numbers_data();
    void numbers();
    void dates_data();
    void dates();
    void texts_data();
    void texts();
    void datesByNumberPictures();
};

void tst_format::numbers_data() {
    QTest::addColumn<double>("number");
    QTest::addColumn<QString>("picture");
    QTest::addColumn<QString>("shown");
    const auto row = [](double number, const char* picture, const char* shown) {
        QTest::addRow("%.17g by %s", number, picture) << number << QString(picture) << QString(shown);
    };
    const char* const money = "$#,##0.00;-$#,##0.00";
    row(1234.5, money, "$1,234.50");
    row(-1234.5, money, "-$1,234.50");
    row(0, money, "$0.00");
    row(1234567.891, money, "$1,234,567.89");
    row(999999.995, money, "$1,000,000.00");
    row(-0.001, money, "$0.00");
    row(-0.005, money, "-$0.01");
    row(-5.6843418860808015e-14, money, "$0.00");
    row(-0.0, money, "$0.00");

    row(1234.5, "#,##0.00;(#,##0.00)", "1,234.50");
    row(-1234.5, "#,##0.00;(#,##0.00)", "(1,234.50)");
    row(334.9, "###0.00", "334.90");
    row(-334.9, "###0.00", "-334.90");
    row(-0.001, "0.00", "0.00");
    row(0, "#,##0", "0");
    row(1234.5, "#,##0", "1,235");
    row(100, "#,##0", "100");
    row(0, "#", "");
    row(0, "#.##", ".");
    row(0.5, ".00", ".50");
    row(12.5, ".00", "12.50");
    row(5, "00000", "00005");
    row(5, "0,000", "0,005");
    row(5, "0###", "0005");
    row(1.5, "0.0##", "1.5");
    row(1.5, "0.##0", "1.500");
    row(3, "0.", "3.");

    // Halves go away from zero on the 15-digit text.
    row(0.125, "0.00", "0.13");
    row(2.675, "0.00", "2.68");
    row(1.005, "0.00", "1.01");
    row(-1.005, "0.00", "-1.01");
    row(0.5, "0", "1");
    row(2.5, "0", "3");
    row(0.4999, "0", "0");
    row(9.995, "0.00", "10.00");
    row(0.05, "0.0", "0.1");
    row(0.04, "0.0", "0.0");
    row(1.73245, "0.0000", "1.7325");

    row(5, "\"$\"#,##0.00", "$5.00");
    row(-1234.5, "\"$\"#,##0.00", "-$1,234.50");
    row(5, "0 \"0;#\\\" \\0\\;", "5 0;#\\ 0;");
    row(5, "0 \"open", "5 open");
    row(5, "0\"", "5");
    row(5, "0\\", "5");
    row(5, "0\"\"0", "05");
    row(5551234, "000-0000", "555-1234");
    row(15551234, "(000) 000-0000", "(001) 555-1234");
    row(5, "+0 -", "+5 -");

    row(0.25, "Percent", "25.00%");
    row(0.00005, "0.00%", "0.01%");
    row(1234567, "#,##0,", "1,235");
    row(1234567, "0.0,,", "1234567.0,,");
    row(1234567, "0,,.0", "1.2");

    row(5, "0;(0);nil", "5");
    row(-5, "0;(0);nil", "(5)");
    row(0.2, "0;(0);nil", "nil");
    row(0, "0;(0);\"none\";\"null\"", "none");
    row(0, "0;;zero", "zero");
    row(-5, "0;", "-5");

    row(12345.678, "0.00E+00", "1.23E+04");
    row(0.00012, "0.0E-0", "1.2E-4");
    row(99999, "0.0e+0", "1.0e+5");
    row(0, "0.00E+00", "0.00E+00");
    row(12345, "##0.0E+0", "123.5E+2");

    row(1234.5, "", "1234.5");
    row(1234.5, "General Number", "1234.5");
    row(1234.5, "Fixed", "1234.50");
    row(-1234.5, "fixed", "-1234.50");
    row(1234.5, "Standard", "1,234.50");
    row(-1234.5, "STANDARD", "-1,234.50");
    row(1234.5, "Currency", "$1,234.50");
    row(-1234.5, "Currency", "($1,234.50)");
    row(1234.5, "Scientific", "1.23E+03");
    row(-0.25, "Yes/No", "Yes");
    row(0, "True/False", "False");
    row(1, "On/Off", "On");

    row(1e20, "0.00", "100000000000000000000.00");
    row(1e-300, "0.00", "0.00");
    row(123456789012345678.0, "#,##0", "123,456,789,012,346,000");
    row(std::numeric_limits<double>::quiet_NaN(), "0.00", "1.#QNAN");
}

void tst_format::numbers() {
    QFETCH(double, number);
    QFETCH(QString, picture);
    QTEST(QString::fromStdString(vbrt::Format(number, picture.toStdString())), "shown");
}

void tst_format::dates_data() {
    QTest::addColumn<QString>("picture");
    QTest::addColumn<QString>("shown");
    const auto row = [](const char* picture, const char* shown) {
        QTest::addRow("%s", picture) << QString(picture) << QString(shown);
    };
    row("mm/dd/yyyy", "01/02/2026");
    row("MM/dd/yyyy", "01/02/2026");
    row("m/d/yy", "1/2/26");
    row("d-mmm-yyyy", "2-Jan-2026");
    row("dddd, mmmm d", "Friday, January 2");
    row("ddd y q w ww", "Fri 2 1 6 1");
    row("hh:mm:ss", "15:04:05");
    row("h:mm AM/PM", "3:04 PM");
    row("hh:nn am/pm", "03:04 pm");
    row("h A/P", "3 P");
    row("h mmm", "15 Jan");
    row("mm hh mm", "01 15 04");
    row("\"d\"d \\m m", "d2 m 1");
    row("ttttt", "3:04:05 PM");
    row("dddddd / ddddd", "Friday, January 2, 2026 / 1/2/2026");
    row("c", "1/2/2026 3:04:05 PM");
    row("", "1/2/2026 3:04:05 PM");
    row("General Date", "1/2/2026 3:04:05 PM");
    row("Short Date", "1/2/2026");
    row("Long Date", "Friday, January 2, 2026");
    row("Medium Date", "02-Jan-26");
    row("Long Time", "3:04:05 PM");
    row("Medium Time", "03:04 PM");
    row("Short Time", "15:04");
}

void tst_format::dates() {
    QFETCH(QString, picture);
    const double serial = 46024 + (15 * 3600 + 4 * 60 + 5) / 86400.0;
    QTEST(QString::fromStdString(vbrt::Format(vbrt::Date{serial}, picture.toStdString())), "shown");
}

void tst_format::texts_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("picture");
    QTest::addColumn<QString>("shown");
    QTest::newRow("number") << "$1,234.5"
                            << "0.00"
                            << "1234.50";
    QTest::newRow("no number") << "Rent"
                               << "0.00"
                               << "Rent";
    QTest::newRow("too large a number") << "1e400"
                                        << "0.00"
                                        << "1e400";
    QTest::newRow("nothing") << ""
                             << "0.00"
                             << "";
    QTest::newRow("without a picture") << "007"
                                       << ""
                                       << "007";
    QTest::newRow("date") << "Jan 2, 2026"
                          << "mm/dd/yyyy"
                          << "01/02/2026";
    QTest::newRow("date as a number") << "46024"
                                      << "mm/dd/yyyy"
                                      << "01/02/2026";
    QTest::newRow("number beyond all dates") << "99999999"
                                             << "mm/dd/yyyy"
                                             << "99999999";
    QTest::newRow("no date") << "2/30/2026"
                             << "mm/dd/yyyy"
                             << "2/30/2026";
}

void tst_format::texts() {
    QFETCH(QString, text);
    QFETCH(QString, picture);
    QTEST(QString::fromStdString(vbrt::Format(text.toStdString(), picture.toStdString())), "shown");
}

void tst_format::datesByNumberPictures() {
    QCOMPARE(vbrt::Format(vbrt::Date{46024.5}, "0.0"), "46024.5");
    QCOMPARE(vbrt::Format(46024, "mm/dd/yyyy"), "01/02/2026");
    QCOMPARE(vbrt::Format(46026, "ddd ww"), "Sun 2");
    QCOMPARE(errorOf([] { vbrt::Format(99999999, "mm/dd/yyyy"); }), 6L);
}

QTEST_APPLESS_MAIN(tst_format)
#include "tst_format.moc"
