// SPDX-License-Identifier: MIT
#include "rows.h"
#include "vbrt/error_of.h"
#include "vbrt/format.h"

#include <QTest>
#include <limits>

class tst_format : public QObject {
    Q_OBJECT

 private slots:
    void numbers_data() {
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
    void numbers() {
        QFETCH(double, number);
        QFETCH(QString, picture);
        QTEST(QString::fromStdString(vbrt::Format(number, picture.toStdString())), "shown");
    }

    void dates_data() {
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
    void dates() {
        QFETCH(QString, picture);
        const double serial = 46024 + (15 * 3600 + 4 * 60 + 5) / 86400.0;
        QTEST(QString::fromStdString(vbrt::Format(vbrt::Date{serial}, picture.toStdString())), "shown");
    }

    void texts_data() {
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
    void texts() {
        QFETCH(QString, text);
        QFETCH(QString, picture);
        QTEST(QString::fromStdString(vbrt::Format(text.toStdString(), picture.toStdString())), "shown");
    }

    void datesByNumberPictures() {
        QCOMPARE(vbrt::Format(vbrt::Date{46024.5}, "0.0"), "46024.5");
        QCOMPARE(vbrt::Format(46024, "mm/dd/yyyy"), "01/02/2026");
        QCOMPARE(vbrt::Format(46026, "ddd d"), "Sun 4");
        QCOMPARE(errorOf([] { vbrt::Format(99999999, "mm/dd/yyyy"); }), 6L);
    }
};

QTEST_APPLESS_MAIN(tst_format)
#include "tst_format.moc"
