// SPDX-License-Identifier: MIT
#include "datareport/layout.h"

#include "datareport/table_rows.h"

#include <QRegularExpression>
#include <QTest>
#include <algorithm>
#include <cmath>
#include <random>

using datareport::Align;
using datareport::Band;
using datareport::BandDesign;
using datareport::Design;
using datareport::Item;
using datareport::label;
using datareport::Page;
using datareport::Pages;
using datareport::Paper;
using datareport::rule;
using datareport::Style;
using datareport::sum;
using datareport::textBox;
using datareport::Typeface;

Q_DECLARE_METATYPE(Table)
Q_DECLARE_METATYPE(datareport::Paper)

class tst_layout : public QObject {
    Q_OBJECT

 private slots:
    void init() { vbrt::setToday(vbrt::DateSerial(2026, 3, 9)); }
    void wrap_data();
    void wrap();
    void rows_data();
    void rows();
    void groups_data();
    void groups();
    void values_data();
    void values();
    void bandsGrow();
    void papers_data();
    void papers();
    void tallRows();
    void decimals();
};

namespace {

const Style kRight = {.align = Align::Right};
const QVariant kNull;

// 200 x 110 points inside the margins: a ledger has room for five rows between header and footer, or four and the
// total.
const Paper kSmall = {.size = {272, 182}};

Design ledger() {
    return {
        .name = "rptLedger",
        .title = "Ledger",
        .width = 200,
        .bands = {
            {Band::PageHeader, 20, {label("lbl", "%i %d", {0, 0, 130}), label("p", "%p/%P", {130, 0, 70})}},
            {Band::Detail,
             14,
             {textBox("txt", "payee", "", {0, 0, 100}), textBox("amt", "AMOUNT", "#,##0.00", {100, 0, 100}, kRight)}},
            {Band::PageFooter, 14, {rule("rule", {0, 2, 200})}},
            {Band::ReportFooter,
             20,
             {label("lbl", "Total", {0, 4, 100}), sum("sum", "amount", "#,##0.00", {100, 4, 100}, kRight)}},
        }};
}

Design grouped() {
    Design design = ledger();
    design.childMember = "rows";
    design.bands.push_back({Band::GroupHeader, 14, {textBox("txt", "envelope", "", {0, 0, 200})}});
    design.bands.push_back({Band::GroupFooter, 14, {sum("sum", "amount", "#,##0.00", {100, 0, 100}, kRight)}});
    design.bands.push_back({Band::ReportHeader, 14, {label("lbl", "Everything", {0, 0, 200})}});
    return design;
}

Table items(int count, const QString& name = "Row") {
    Table table{{"payee", "amount"}, {}, {}};
    for (int i = 1; i <= count; ++i)
        table.rows.push_back({QStringLiteral("%1 %2").arg(name).arg(i), 1.0 * i});
    return table;
}

Pages laidOut(const Design& design, const Table& table, const Paper& paper) {
    TableRows rows(table);
    return datareport::layOut(design, datareport::readContent(design, rows), paper);
}

// As dump(), without the left edges.
QString texts(const Pages& pages) {
    static const QRegularExpression edges("(^|\\| )-?\\d+ ", QRegularExpression::MultilineOption);
    return datareport::dump(pages).replace(edges, "\\1");
}

// Of grouped(), without page headers and footers: ", " behind each line, "/ " between the pages.
QString bodies(const Pages& pages) {
    static const QRegularExpression repeated("(=== page 1|Ledger.*|----)\\n");
    static const QRegularExpression page("=== page \\d+\\n");
    return texts(pages).remove(repeated).replace(page, "/ ").replace('\n', ", ");
}

}  // namespace

void tst_layout::wrap_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<double>("width");
    QTest::addColumn<int>("lines");
    QTest::addColumn<QString>("shown");  // "|" between lines

    // In points of Arial 10: "i" 2.2, a blank 2.8, "a" 5.6, "M" 8.3, an ellipsis 10.
    const auto row = [](const char* name, const QString& text, double width, int lines, const QString& shown) {
        QTest::newRow(name) << text << width << lines << shown;
    };
    row("fits", "aaaa", 23, 1, "aaaa");
    row("one line ends in an ellipsis", "aaaaaa", 23, 1, "aa…");
    row("no blank before the ellipsis", "aa aaa", 25, 1, "aa…");
    row("ellipsis alone", "MMM", 12, 1, "…");
    row("not even that", "MMM", 9, 1, "");
    row("broken at blanks", "aaa aa aaaa", 34, 3, "aaa aa|aaaa");
    row("blank just behind the edge", "aaaa aa", 22.5, 2, "aaaa|aa");
    row("long word broken inside", "aaaaaaaaa a", 23, 3, "aaaa|aaaa|a a");
    row("word behind leading blanks", "  aaaaaaa", 23, 2, "  aaa|aaaa");
    row("last line ends in an ellipsis", "aaa aaa aaa", 23, 2, "aaa|aa…");
    row("line breaks", "a\r\nb\nc\rd", 60, 9, "a|b|c|d");
    row("empty line", "a\r\n\r\nb", 60, 9, "a||b");
    row("break at the end is nothing", "a\r\n", 60, 2, "a");
    row("more lines than allowed", "a\nb\nc", 60, 2, "a|b…");
    row("breaks on one line are blanks", "a\r\nb\nc", 60, 1, "a b c");
    row("control characters are blanks", "a\tb\vc", 60, 3, "a b c");
    row("ampersand", "a && b &c", 60, 1, "a && b &c");
    row("accents", "Müßé – “x” €", 99, 1, "Müßé – “x” €");
    row("surrogates stay whole", "\U0001F600\U0001F600\U0001F600", 14, 1, "…");
    row("empty", "", 10, 2, "");
}

void tst_layout::wrap() {
    QFETCH(QString, text);
    QFETCH(double, width);
    QFETCH(int, lines);
    QStringList shown;
    for (const auto& line : Typeface(10, false).wrap(text, width, lines)) {
        QVERIFY2(line.width <= width, qPrintable(line.text));
        QVERIFY(line.text.isValidUtf16());
        shown += line.text;
    }
    QTEST(shown.join('|'), "shown");
}

void tst_layout::rows_data() {
    QTest::addColumn<Table>("table");
    QTest::addColumn<QString>("pages");

    QTest::newRow("no rows") << items(0) << R"(=== page 1
0 Ledger 3/9/2026 | 130 1/1
0 Total | 182 0.00
0 ----
)";
    QTest::newRow("full page, the last row goes with the total") << items(5) << R"(=== page 1
0 Ledger 3/9/2026 | 130 1/2
0 Row 1 | 182 1.00
0 Row 2 | 182 2.00
0 Row 3 | 182 3.00
0 Row 4 | 182 4.00
0 ----
=== page 2
0 Ledger 3/9/2026 | 130 2/2
0 Row 5 | 182 5.00
0 Total | 177 15.00
0 ----
)";
    QTest::newRow("Null is blank and counts as 0")
        << Table{{"payee", "amount"}, {{kNull, -2.5}, {"Müller & Söhne", kNull}}, {}} << R"(=== page 1
0 Ledger 3/9/2026 | 130 1/1
179 -2.50
0 Müller & Söhne
0 Total | 179 -2.50
0 ----
)";
    QTest::newRow("nothing is lost beside large amounts")
        << Table{{"payee", "amount"}, {{"a", 1e15}, {"b", 0.03}, {"c", 0.04}, {"d", -1e15}}, {}} << R"(=== page 1
0 Ledger 3/9/2026 | 130 1/1
0 a | 105 ###################
0 b | 182 0.03
0 c | 182 0.04
0 d | 105 ###################
0 Total | 182 0.07
0 ----
)";
}

void tst_layout::rows() {
    QFETCH(Table, table);
    QTEST(datareport::dump(laidOut(ledger(), table, kSmall)), "pages");
}

void tst_layout::groups_data() {
    QTest::addColumn<Table>("table");
    QTest::addColumn<QString>("pages");

    // Without the page headers and footers, which rows() looks at.
    QTest::newRow("no groups") << Table{{"envelope"}, {}, {}} << "Everything, Total | 0.00, ";
    QTest::newRow("group without rows") << Table{{"envelope"}, {{"Rent"}}, {items(0)}}
                                        << "Everything, Rent, 0.00, Total | 0.00, ";
    QTest::newRow("one group") << Table{{"envelope"}, {{"Rent"}}, {items(1)}}
                               << "Everything, Rent, Row 1 | 1.00, 1.00, Total | 1.00, ";
    QTest::newRow("header goes with its first row, and again on every page")
        << Table{{"envelope"}, {{"Rent"}, {"Food"}}, {items(1, "R"), items(6, "F")}}
        << "Everything, Rent, R 1 | 1.00, 1.00, / Food, F 1 | 1.00, F 2 | 2.00, F 3 | 3.00, F 4 | 4.00, "
           "/ Food, F 5 | 5.00, F 6 | 6.00, 21.00, Total | 22.00, ";
    QTest::newRow("last row goes with the totals") << Table{{"envelope"}, {{"Rent"}}, {items(3)}}
                                                   << "Everything, Rent, Row 1 | 1.00, Row 2 | 2.00, "
                                                      "/ Rent, Row 3 | 3.00, 6.00, Total | 6.00, ";
}

void tst_layout::groups() {
    QFETCH(Table, table);
    QTEST(bodies(laidOut(grouped(), table, kSmall)), "pages");
}

void tst_layout::values_data() {
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QString>("format");
    QTest::addColumn<QString>("shown");

    const auto row = [](const char* name, const QVariant& value, const QString& format, const QString& shown) {
        QTest::newRow(name) << value << format << shown;
    };
    const auto date = QVariant::fromValue(*vbrt::makeDate(2026, 3, 9, 6 * 3600));
    row("date", date, "mm/dd/yyyy", "03/09/2026");
    row("date without format", date, "", "3/9/2026 6:00:00 AM");
    row("money", 1234.5, "\"$\"#,##0.00", "$1,234.50");
    row("negative money", -1234.5, "\"$\"#,##0.00", "-$1,234.50");
    row("parentheses", -5.0, "#,##0.00;(#,##0.00)", "(5.00)");
    row("hardly negative", -1e-9, "\"$\"#,##0.00", "$0.00");
    row("number without format", 0.1 + 0.2, "", "0.3");
    row("whole number", 7, "", "7");
    row("yes", true, "", "True");
    row("text", "*", "", "*");
    // What does not fit into 100 points.
    row("wide number", 1e20, "#,##0.00", "###################");
    row("wide date", date, "dddd, mmmm dd, yyyy hh:nn", "###################");
    row("wide text", "123456789012345678901234", "", "123456789012345678…");
}

void tst_layout::values() {
    QFETCH(QVariant, value);
    QFETCH(QString, format);
    Design design = ledger();
    design.bands = {{Band::Detail, 14, {textBox("txt", "field", format, {100, 0, 100}, kRight)}}};
    QTEST(texts(laidOut(design, {{"field"}, {{value}}, {}}, kSmall)).section('\n', 1, 1), "shown");
}

// What stands below a text moves down when it takes more lines; the band grows with it.
void tst_layout::bandsGrow() {
    Design design{.title = "Notes", .width = 200, .bands = {}};
    design.bands = {{Band::Detail,
                     30,
                     {textBox("note", "note", "", {0, 0, 60}, {.size = 10, .lines = 3}),
                      label("right", "beside", {60, 0, 60}, {.size = 10}), rule("rule", {0, 14, 200}),
                      label("below", "below", {0, 16, 60})}}};
    const Table notes{{"note"}, {{"one"}, {"one\ntwo\nthree"}, {"one\ntwo"}}, {}};
    QCOMPARE(datareport::dump(laidOut(design, notes, kSmall)), R"(=== page 1
0 one | 60 beside
0 ----
0 below
0 one | 60 beside
0 two
0 three
0 ----
0 below
=== page 2
0 one | 60 beside
0 two
0 ----
0 below
)");
}

void tst_layout::papers_data() {
    QTest::addColumn<Paper>("paper");
    QTest::addColumn<double>("scale");  // 0: below 1

    QTest::newRow("Letter") << Paper{{612, 792}} << 1.0;
    QTest::newRow("Letter landscape") << Paper{{792, 612}} << 1.0;
    QTest::newRow("A4") << Paper{{595, 842}} << 1.0;
    QTest::newRow("A4 landscape, wide margins") << Paper{{842, 595}, 60} << 1.0;
    QTest::newRow("A6, too narrow") << Paper{{298, 420}} << (298 - 72) / 500.0;
    QTest::newRow("till roll") << Paper{{164, 600}} << (164 - 72) / 500.0;
    QTest::newRow("label, too low") << Paper{{800, 120}} << 0.0;
    QTest::newRow("no room inside the margins") << Paper{{60, 60}} << 0.0;
}

// Random rows on all papers: nothing is lost, cut, outside the margins or over something else.
void tst_layout::papers() {
    QFETCH(Paper, paper);
    QFETCH(double, scale);
    Design design = grouped();
    design.width = 500;
    design.bands[1].controls = {
        textBox("n", "n", "", {0, 0, 40}),
        textBox("payee", "payee", "", {40, 0, 100}, {.lines = datareport::kAllLines}),
        textBox("amount", "amount", "#,##0.00", {140, 0, 80}, kRight),
        textBox("comment", "comment", "", {220, 0, 280}, {.size = 8, .lines = datareport::kAllLines})};

    std::mt19937 random(20260309);
    const auto below = [&](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
    const auto words = [&](int most) {
        QString text;
        for (int i = below(most); i > 0; --i)
            text += QString(below(25) + 1, QChar('a' + below(26))) + (below(7) == 0 ? "\r\n" : " ");
        return text;
    };
    const auto lettersOf = [](const QString& text) {
        return std::ranges::count_if(text, [](QChar c) { return c >= u'a' && c <= u'z'; });
    };
    qsizetype letters = 0;
    Table table{{"envelope"}, {}, {}};
    QStringList numbers;
    for (int group = 0; group < 12; ++group) {
        Table rows{{"n", "payee", "amount", "comment"}, {}, {}};
        for (int i = below(30); i > 0; --i) {
            numbers += QStringLiteral("#%1").arg(numbers.size());
            const QString payee = words(6);
            const QString comment = words(i == 3 ? 900 : 40);  // some are taller than a page
            letters += lettersOf(payee) + lettersOf(comment);
            rows.rows.push_back({numbers.back(), payee, std::pow(-9.0, below(14)), comment});
        }
        table.rows.push_back({QStringLiteral("Group %1").arg(group)});
        table.groups.push_back(rows);
    }

    const Pages pages = laidOut(design, table, paper);
    if (scale > 0)
        QCOMPARE(pages.scale, scale);
    else
        QVERIFY(pages.scale > 0 && pages.scale < 1);
    const double width = std::max(1.0, paper.size.width() - 2 * paper.margin) / pages.scale;
    const double height = std::max(1.0, paper.size.height() - 2 * paper.margin) / pages.scale;
    QStringList shown;
    qsizetype shownLetters = 0;
    for (const Page& page : pages.pages) {
        std::vector<QRectF> taken;
        for (const Item& item : page.items) {
            if (item.text.startsWith('#') && item.left < 1)
                shown += item.text;
            if (item.left > 39 && item.typeface >= 0)
                shownLetters += lettersOf(item.text);
            QVERIFY(item.left >= 0 && item.left + item.width < width + 0.01);
            if (item.typeface < 0)
                continue;
            const Typeface& face = pages.typefaces[static_cast<std::size_t>(item.typeface)];
            const QRectF place(item.left, item.baseline - face.ascent() + 0.1, item.width, face.lineHeight() - 0.2);
            QVERIFY(place.top() >= 0 && place.bottom() < height);
            for (const QRectF& other : taken)
                QVERIFY2(!other.intersects(place), qPrintable(item.text));
            taken.push_back(place);
        }
    }
    QCOMPARE(shown, numbers);
    // The header of the page is at the left or is the page's number.
    QVERIFY2(shownLetters == letters, qPrintable(QString("%1 of %2").arg(shownLetters).arg(letters)));
}

// A row taller than a page goes on over its end, with its date again; one that fits on a page is never parted.
void tst_layout::tallRows() {
    Design design = ledger();
    design.bands[1].controls = {textBox("date", "date", "", {0, 0, 40}), textBox("note", "note", "", {40, 0, 100})};
    design.bands[1].controls[0].repeats = true;
    design.bands[1].controls[1].style.lines = datareport::kAllLines;
    design.bands.pop_back();
    QStringList lines;
    for (int i = 1; i <= 8; ++i)
        lines += QString::number(i);
    const Table table{{"date", "note"}, {{"d1", "a"}, {"d2", "b\nc\nd\ne"}, {"d3", lines.join('\n')}}, {}};
    QString shown = bodies(laidOut(design, table, kSmall));
    QVERIFY2(shown.contains("d2 | b, c, d, e, "), qPrintable(shown));
    QVERIFY2(shown.count("d3") == 2, qPrintable(shown));
    QVERIFY2(shown.remove("/ ").remove("d3 | ").contains(lines.join(", ")), qPrintable(shown));
}

// The last digits stand below each other, whether a parenthesis follows or not.
void tst_layout::decimals() {
    Design design;
    design.width = 200;
    design.bands = {{Band::Detail,
                     14,
                     {textBox("amount", "amount", "#,##0.00;(#,##0.00)", {0, 0, 90}, {.align = Align::Decimal}),
                      textBox("payee", "payee", "", {100, 0, 100})}}};
    const Pages pages = laidOut(design, {{"amount", "payee"}, {{12.5, "a"}, {-1234.5, "b"}}, {}}, kSmall);
    const auto& items = pages.pages.front().items;
    const double parenthesis = Typeface(9, false).width(u")");
    QCOMPARE(items[0].text + items[2].text, "12.50(1,234.50)");
    QVERIFY(parenthesis > 1);
    QCOMPARE(items[2].left + items[2].width - parenthesis, items[0].left + items[0].width);
    QVERIFY(items[2].left + items[2].width < items[3].left);
}

QTEST_MAIN(tst_layout)
#include "tst_layout.moc"
