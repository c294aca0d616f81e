// SPDX-License-Identifier: MIT
#include "controls/list_view.h"

#include "activate.h"
#include "controls/row_store.h"
#include "controls/sort_text.h"

#include <QAccessible>
#include <QApplication>
#include <QHeaderView>
#include <QHelpEvent>
#include <QPixmap>
#include <QScrollBar>
#include <QSignalSpy>
#include <QStyledItemDelegate>
#include <QTest>
#include <QToolTip>
#include <cmath>
#include <random>
#include <stdexcept>

using controls::ColumnAlignment;
using controls::ListView;

namespace {

// A list of three columns as a form would lay it out.
class Ledger : public ListView {
 public:
    Ledger() {
        addColumn("Payee", "payee", 20);
        addColumn("Amount", "amount", 12, ColumnAlignment::Right);
        addColumn("Comment", "comment", 20);
        QPixmap arrow(8, 8);
        arrow.fill(Qt::black);
        setHeaderImages(arrow, arrow);
    }
};

void fill(ListView& list, const QStringList& payees) {
    const ListView::Loading loading(list);
    list.clear();
    for (const QString& payee : payees)
        list.addRow({payee, "$1.00", ""}, list.rowCount() + 1);
}

// One row a line: the selected one marked, its tag, its cells, red ones between angle brackets.
QString dump(const ListView& list) {
    QStringList lines;
    for (int row = 0; row < list.rowCount(); ++row) {
        QStringList cells;
        for (int column = 0; column < list.columnCount(); ++column) {
            const QString text = list.text(row, column);
            cells += list.foreColor(row, column) == controls::kRed ? "<" + text + ">" : text;
        }
        lines += QString("%1%2 %3").arg(row == list.selectedRow() ? "*" : "").arg(list.tag(row)).arg(cells.join("|"));
    }
    return lines.join("\n");
}

QStringList column(const ListView& list, int column) {
    QStringList texts;
    for (int row = 0; row < list.rowCount(); ++row)
        texts += list.text(row, column);
    return texts;
}

QPoint cell(const ListView& list, int row, int column) {
    return list.visualRect(list.model()->index(row, column)).center();
}

}  // namespace

class tst_list_view : public QObject {
    Q_OBJECT

 private slots:
    void rowsAndCells();
    void texts_data();
    void texts();
    void removal_data();
    void removal();
    void loading();
    void storeAgainstPlainVectors();

    void order_data();
    void order();
    void sortInPlace();
    void insertWhileSorted();

    void headerArrows();
    void headerClick();
    void widths();

    void mouse();
    void keys();
    void columnKeys_data();
    void columnKeys();
    void typeAhead();
    void controlKeyKeepsSelection();
    void focusSelectsNothing();
    void redOnDark();
    void redOnTheSelection_data();
    void redOnTheSelection();
    void accessibleTexts();
};

void tst_list_view::rowsAndCells() {
    Ledger list;
    QCOMPARE(list.columnTag(1), "amount");
    QCOMPARE(list.columnHeader(2), "Comment");
    QCOMPARE(list.columnAlignment(1), ColumnAlignment::Right);

    QCOMPARE(list.addRow(), 0);
    list.setTag(0, -7);
    list.setText(0, 0, "Grocer");
    list.setText(0, 2, "weekly");
    list.setForeColor(0, 1, controls::kRed);
    const std::string_view cells[] = {"Landlord", "-$900.00"};
    QCOMPARE(list.addRow(cells, 2, 0b10), 1);
    QCOMPARE(dump(list), "-7 Grocer|<>|weekly\n2 Landlord|<-$900.00>|");

    list.setText(0, 1, "$5.00");
    list.setForeColor(0, 1, controls::kBlack);
    list.selectRow(1);
    QCOMPARE(dump(list), "-7 Grocer|$5.00|weekly\n*2 Landlord|<-$900.00>|");
    QCOMPARE(list.model()->index(1, 1).data(Qt::ForegroundRole).value<QColor>(), QColor(255, 0, 0));
    QVERIFY(!list.model()->index(0, 1).data(Qt::ForegroundRole).isValid());

    list.clear();
    QCOMPARE(list.rowCount(), 0);
    QCOMPARE(list.selectedRow(), -1);
    QCOMPARE(list.columnCount(), 3);
}

void tst_list_view::texts_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("shown");
    QTest::newRow("empty") << ""
                           << "";
    QTest::newRow("line breaks") << "one\r\ntwo\nthree\rfour"
                                 << "one two three four";
    QTest::newRow("beyond the basic plane")
        << QString::fromUtf8("\xF0\x9F\x8F\xA0 rent") << QString::fromUtf8("\xF0\x9F\x8F\xA0 rent");
    QTest::newRow("embedded NUL") << QString::fromUtf8("a\0b", 3) << "a b";
    QTest::newRow("ampersand and tags") << "<b>Tom & Jerry</b>"
                                        << "<b>Tom & Jerry</b>";
    QTest::newRow("127 bytes") << QString(127, 'x') << QString(127, 'x');
    QTest::newRow("128 bytes") << QString(128, 'x') << QString(128, 'x');
    QTest::newRow("longer than a chunk") << QString(300'000, 'x') << QString(300'000, 'x');
}

void tst_list_view::texts() {
    QFETCH(QString, text);
    Ledger list;
    list.addRow({"before", text, "after"});
    list.addRow({"next"});
    list.setText(1, 2, text);
    for (const auto& [row, column] : {std::pair(0, 1), std::pair(1, 2)}) {
        QCOMPARE(list.text(row, column), text);
        QTEST(list.model()->index(row, column).data().toString(), "shown");
    }
    QCOMPARE(list.text(0, 2), "after");
    QCOMPARE(list.text(1, 0), "next");
    list.show();
    list.grab();  // paints it
}

void tst_list_view::removal_data() {
    QTest::addColumn<int>("selected");
    QTest::addColumn<int>("removed");
    QTest::addColumn<QString>("selectedText");
    QTest::newRow("the selected one: the next") << 1 << 1 << "c";
    QTest::newRow("the selected last one: the new last") << 2 << 2 << "b";
    QTest::newRow("one above") << 1 << 0 << "b";
    QTest::newRow("one below") << 1 << 2 << "b";
    QTest::newRow("nothing selected") << -1 << 0 << "";
}

void tst_list_view::removal() {
    QFETCH(int, selected);
    QFETCH(int, removed);
    Ledger list;
    fill(list, {"a", "b", "c"});
    list.selectRow(selected);
    int reported = selected;
    connect(&list, &ListView::selectedRowChanged, this, [&](int row) { reported = row; });
    list.removeRow(removed);
    QTEST(list.selectedRow() < 0 ? QString() : list.text(list.selectedRow()), "selectedText");
    if (removed == selected)
        QCOMPARE(reported, list.selectedRow());
    while (list.rowCount() > 0)
        list.removeRow(0);
    QCOMPARE(list.selectedRow(), -1);
}

void tst_list_view::loading() {
    Ledger list;
    fill(list, {"a", "b"});
    list.selectRow(1);
    QSignalSpy resets(list.model(), &QAbstractItemModel::modelReset);
    QSignalSpy inserts(list.model(), &QAbstractItemModel::rowsInserted);
    fill(list, {"c", "d", "e"});
    QCOMPARE(resets.count(), 1);
    QCOMPARE(inserts.count(), 0);
    QCOMPARE(dump(list), "1 c|$1.00|\n2 d|$1.00|\n3 e|$1.00|");

    list.sortRows(0, Qt::DescendingOrder);
    fill(list, {"x", "z", "y"});
    QCOMPARE(column(list, 0), QStringList({"z", "y", "x"}));

    // A load that fails half way shows what it has.
    list.setSorted(false);
    try {
        const ListView::Loading half(list);
        list.clear();
        list.addRow({"only"});
        throw std::runtime_error("lost");
    } catch (const std::runtime_error&) {
    }
    QCOMPARE(dump(list), "0 only||");
    list.addRow({"later"});
    QCOMPARE(list.model()->rowCount(), 2);
}

// The same random changes to the arena and to plain strings; the arena is packed on the way.
void tst_list_view::storeAgainstPlainVectors() {
    struct PlainRow {
        std::vector<std::string> cells = std::vector<std::string>(4);
        std::int32_t tag = 0;
        bool red = false;
    };
    std::mt19937 random(20261122);
    const auto below = [&random](std::size_t limit) { return static_cast<std::size_t>(random()) % limit; };
    controls::RowStore store;
    std::vector<PlainRow> plain;
    std::size_t peak = 0;
    for (int step = 0; step < 20'000; ++step) {
        std::string text(below(400), static_cast<char>('a' + below(26)));
        const std::size_t row = plain.empty() ? 0 : below(plain.size());
        const std::size_t cell = below(4);
        const std::size_t what = below(10);
        if (plain.empty() || (what < 3 && plain.size() < 500)) {
            PlainRow added;
            added.cells[0] = text;
            added.tag = step;
            const std::string_view cells[] = {text};
            store.insert(row, cells, step, 0);
            plain.insert(plain.begin() + static_cast<std::ptrdiff_t>(row), added);
        } else if (what < 4) {
            store.remove(row);
            plain.erase(plain.begin() + static_cast<std::ptrdiff_t>(row));
        } else if (what < 9) {
            store.setText(row, cell, text);
            plain[row].cells[cell] = text;
        } else {
            store.setRed(row, cell, true);
            store.setRed(row, 3, step % 2 == 0);
            plain[row].red = step % 2 == 0;
        }
        peak = std::max(peak, store.bytesAllocated());
    }
    QCOMPARE(store.size(), plain.size());
    for (std::size_t row = 0; row < plain.size(); ++row) {
        for (std::size_t cell = 0; cell < 4; ++cell)
            QCOMPARE(store.text(row, cell), std::string_view(plain[row].cells[cell]));
        QCOMPARE(store.tag(row), plain[row].tag);
    }
    QVERIFY2(peak < 3'000'000, qPrintable(QString::number(peak)));  // 20,000 texts of 200 would be 4,000,000
}

void tst_list_view::order_data() {
    QTest::addColumn<QString>("before");
    QTest::addColumn<QString>("after");
    QTest::newRow("digits by character") << "11000"
                                         << "2000";
    QTest::newRow("digit, letter") << "9"
                                   << "a";
    QTest::newRow("punctuation, digit") << "$5"
                                        << "5";
    QTest::newRow("empty first") << ""
                                 << " ";
    QTest::newRow("blank, letter") << "a b"
                                   << "aa";
    QTest::newRow("prefix first") << "Rent"
                                  << "Rental";
    QTest::newRow("no case") << "apple"
                             << "Banana";
    QTest::newRow("no case, other way") << "Apple"
                                        << "banana";
    QTest::newRow("accent after plain") << "cote" << QString::fromUtf8("coté");
    QTest::newRow("accent counts less than letters") << QString::fromUtf8("éa") << "eb";
    QTest::newRow("accented letter before the next") << QString::fromUtf8("Évian") << "Farmer";
    QTest::newRow("accents from the left") << QString::fromUtf8("coté") << QString::fromUtf8("côte");
    QTest::newRow("composed or not: a shorter text first") << QString::fromUtf8("e\xCC\x81") << QString::fromUtf8("éa");
    QTest::newRow("sharp s") << "strase" << QString::fromUtf8("straße");
    QTest::newRow("sharp s, z") << QString::fromUtf8("straße") << "strasz";
    QTest::newRow("eth after d") << "dz" << QString::fromUtf8("ð");
    QTest::newRow("o with stroke") << QString::fromUtf8("ø") << "oa";
    QTest::newRow("other alphabets after z") << "zz" << QString::fromUtf8("Ω");
    QTest::newRow("pictures before digits") << QString::fromUtf8("\xF0\x9F\x8F\xA0") << "0";
}

void tst_list_view::order() {
    QFETCH(QString, before);
    QFETCH(QString, after);
    Ledger list;
    fill(list, {after, before, after});
    list.sortRows(0, Qt::AscendingOrder);
    QCOMPARE(column(list, 0), QStringList({before, after, after}));
    list.sortRows(0, Qt::DescendingOrder);
    QCOMPARE(column(list, 0), QStringList({after, after, before}));
}

void tst_list_view::sortInPlace() {
    Ledger list;
    list.addRow({"b", "2", "first"}, 1);
    list.addRow({"B", "1", "second"}, 2);
    list.addRow({"a", "2", "third"}, 3);
    list.setForeColor(1, 1, controls::kRed);
    list.selectRow(1);
    QSignalSpy changed(&list, &ListView::selectedRowChanged);

    list.sortRows(0, Qt::AscendingOrder);
    QCOMPARE(dump(list), "3 a|2|third\n1 b|2|first\n*2 B|<1>|second");
    QCOMPARE(changed.last().first().toInt(), 2);
    list.sortRows(0, Qt::DescendingOrder);  // equal texts keep their order
    QCOMPARE(dump(list), "1 b|2|first\n*2 B|<1>|second\n3 a|2|third");
    list.sortRows(1, Qt::AscendingOrder);
    QCOMPARE(dump(list), "*2 B|<1>|second\n1 b|2|first\n3 a|2|third");
    QVERIFY(list.isSorted());
    QCOMPARE(list.sortKey(), 1);
    QCOMPARE(list.sortOrder(), Qt::AscendingOrder);
}

void tst_list_view::insertWhileSorted() {
    Ledger list;
    fill(list, {"m", "c"});
    list.sortRows(0, Qt::AscendingOrder);
    QCOMPARE(list.addRow({"a"}, 10), 0);
    QCOMPARE(list.addRow({"M"}, 11), 3);  // behind its equal
    QCOMPARE(list.addRow({"d"}, 12), 2);
    QCOMPARE(column(list, 0), QStringList({"a", "c", "d", "m", "M"}));
    list.sortRows(0, Qt::DescendingOrder);
    QCOMPARE(list.addRow({"m"}, 13), 2);
    QCOMPARE(list.addRow(QStringList(), 14), 6);
    list.setSorted(false);
    QCOMPARE(list.addRow({"z"}, 15), 7);
    QCOMPARE(column(list, 0), QStringList({"m", "M", "m", "d", "c", "a", "", "z"}));
}

void tst_list_view::headerArrows() {
    Ledger list;
    const auto images = [&list] { return QList<int>{list.headerImage(0), list.headerImage(1), list.headerImage(2)}; };
    QCOMPARE(images(), QList<int>({-1, -1, -1}));
    list.setHeaderArrow(0, false);
    QCOMPARE(images(), QList<int>({0, -1, -1}));
    list.setHeaderArrow(2, true);
    QCOMPARE(images(), QList<int>({-1, -1, 1}));

    // The picture is painted, to the right of the text in a right-aligned column too.
    list.resize(600, 200);
    list.show();
    const QImage with = [&] {
        list.setHeaderArrow(1, false);
        return list.header()->grab().toImage();
    }();
    list.clearHeaderArrow();
    QCOMPARE(images(), QList<int>({-1, -1, -1}));
    const QImage without = list.header()->grab().toImage();
    QVERIFY(with != without);
    const int right = list.header()->sectionPosition(1) + list.columnWidth(1);
    int black = 0;
    for (int x = right - 20; x < right; ++x)
        for (int y = 0; y < with.height(); ++y)
            black += with.pixelColor(x, y) == QColor(Qt::black) ? 1 : 0;
    QVERIFY2(black >= 36, qPrintable(QString::number(black)));
}

void tst_list_view::headerClick() {
    Ledger list;
    list.resize(600, 200);
    list.show();
    QSignalSpy clicked(&list, &ListView::columnClicked);
    QHeaderView* const header = list.header();
    QTest::mouseClick(header->viewport(), Qt::LeftButton, {}, {header->sectionPosition(1) + 10, header->height() / 2});
    QCOMPARE(clicked.count(), 1);
    QCOMPARE(clicked.first().first().toInt(), 1);
}

// Columns of figures are never cut, nor out of view; texts share the rest, and what the user chose stays.
void tst_list_view::widths() {
    Ledger list;
    list.setElasticColumns({0, 2});
    const std::string_view cells[] = {"Department of Transportation", "-$1,234,567.89", "a comment of some length"};
    list.addRow(cells, 1, 2);
    list.show();
    for (const int points : {9, 18}) {
        QFont font = list.font();
        font.setPointSize(points);
        list.setFont(font);
        for (const int width : {1600, 900, 500, 350}) {
            list.resize(width, 200);
            QCoreApplication::processEvents();
            const QByteArray where = QByteArray::number(points) + " pt, " + QByteArray::number(width);
            const bool room = width > 350 || points == 9;
            QVERIFY2(!room || list.header()->length() == list.viewport()->width(), where);
            QVERIFY2(list.horizontalScrollBar()->isVisible() == !room, where);
            // Texts keep a few letters; where there is no room for these, the figures stay in view all the same.
            QVERIFY2(!room || list.columnWidth(0) > list.fontMetrics().horizontalAdvance("Depart"), where);
            QVERIFY2(list.columnViewportPosition(1) + list.columnWidth(1) <= list.viewport()->width(), where);
            QVERIFY2(list.columnWidth(1) >= list.fontMetrics().horizontalAdvance("-$1,234,567.89") + 12, where);
        }
    }
    list.setColumnWidth(2, 77);
    list.resize(1000, 200);
    QCOMPARE(list.columnWidth(2), 77);
    QCOMPARE(list.header()->length(), list.viewport()->width());

    list.setColumnWidth(0, 40);
    const QPoint at = cell(list, 0, 0);
    QHelpEvent help(QEvent::ToolTip, at, list.viewport()->mapToGlobal(at));
    QCoreApplication::sendEvent(list.viewport(), &help);
    QVERIFY(QToolTip::text().contains("Department of Transportation"));
}

void tst_list_view::mouse() {
    Ledger list;
    fill(list, {"a", "b", "c"});
    list.resize(600, 200);
    list.show();
    QSignalSpy doubleClicks(&list, &ListView::rowDoubleClicked);
    QSignalSpy menus(&list, &ListView::rightMouseUp);
    QList<int> selections;
    connect(&list, &ListView::selectedRowChanged, this, [&](int row) { selections += row; });
    QTest::mouseClick(list.viewport(), Qt::LeftButton, {}, cell(list, 1, 2));
    QCOMPARE(list.selectedRow(), 1);
    QTest::mouseDClick(list.viewport(), Qt::LeftButton, {}, cell(list, 1, 1));
    QCOMPARE(doubleClicks.count(), 1);
    QTest::mouseDClick(list.viewport(), Qt::LeftButton, {}, QPoint(300, 150));  // below the rows
    QCOMPARE(doubleClicks.count(), 1);
    QCOMPARE(list.selectedRow(), 1);
    QTest::mouseClick(list.viewport(), Qt::RightButton, {}, cell(list, 2, 0));
    QCOMPARE(menus.count(), 1);
    QCOMPARE(list.selectedRow(), 2);
    QContextMenuEvent menuKey(QContextMenuEvent::Keyboard, {}, {});
    QCoreApplication::sendEvent(list.viewport(), &menuKey);
    QCOMPARE(menus.count(), 2);
    QVERIFY(list.viewport()->rect().contains(list.viewport()->mapFromGlobal(menus.last().first().toPoint())));
    list.selectRow(-1);
    list.clear();
    QCOMPARE(selections, QList<int>({1, 2, -1}));
}

void tst_list_view::keys() {
    Ledger list;
    fill(list, {"a", "b", "c", "d"});
    list.selectRow(0);
    list.show();
    QList<int> seen;
    connect(&list, &ListView::keyDown, this, [&seen](QKeyEvent* event) {
        seen += event->key();
        if (event->key() == Qt::Key_End)
            event->accept();
    });
    QTest::keyClick(&list, Qt::Key_Down);
    QCOMPARE(list.selectedRow(), 1);
    QTest::keyClick(&list, Qt::Key_End);  // consumed
    QCOMPARE(list.selectedRow(), 1);
    QTest::keyClick(&list, Qt::Key_PageDown);
    QCOMPARE(list.selectedRow(), 3);
    QTest::keyClick(&list, Qt::Key_Home);
    QCOMPARE(list.selectedRow(), 0);
    QCOMPARE(seen, QList<int>({Qt::Key_Down, Qt::Key_End, Qt::Key_PageDown, Qt::Key_Home}));
}

// Keys as letters: R and L with Ctrl, W (wider) and N (narrower) with Ctrl+Shift, E is Ctrl+Enter.
void tst_list_view::columnKeys_data() {
    QTest::addColumn<QString>("keys");
    QTest::addColumn<int>("clicked");
    QTest::addColumn<int>("wider");
    QTest::newRow("none chosen") << "EWN" << -1 << -1;
    QTest::newRow("sort by the second") << "RRE" << 1 << -1;
    QTest::newRow("no further than the ends") << "RRRRRLLLLE" << 0 << -1;
    QTest::newRow("wider") << "RRWWN" << -1 << 1;
}

void tst_list_view::columnKeys() {
    QFETCH(QString, keys);
    Ledger list;
    fill(list, {"a", "b"});
    list.show();
    QSignalSpy clicks(&list, &ListView::columnClicked);
    const QList<int> before = {list.columnWidth(0), list.columnWidth(1), list.columnWidth(2)};
    for (const QChar key : keys)
        QTest::keyClick(&list,
                        key == u'E'                  ? Qt::Key_Return
                        : key == u'R' || key == u'W' ? Qt::Key_Right
                                                     : Qt::Key_Left,
                        key == u'W' || key == u'N' ? Qt::ControlModifier | Qt::ShiftModifier : Qt::ControlModifier);
    QTEST(clicks.isEmpty() ? -1 : clicks.first().first().toInt(), "clicked");
    int wider = -1;
    for (int column = 0; column < 3; ++column)
        if (list.columnWidth(column) > before[column])
            wider = column;
    QTEST(wider, "wider");
}

void tst_list_view::typeAhead() {
    Ledger list;
    list.addRow({"apple", "zz"});
    list.addRow({"Banana", "yy"});
    list.addRow({"bread", "zulu"});
    list.show();
    list.selectRow(0);
    QTest::keyClick(&list, 'b');
    QCOMPARE(list.selectedRow(), 1);
    QTest::keyClick(&list, 'r');
    QCOMPARE(list.selectedRow(), 2);
    list.setHeaderArrow(1, false);
    QTest::qWait(QApplication::keyboardInputInterval() + 50);
    QTest::keyClick(&list, 'y');
    QCOMPARE(list.selectedRow(), 1);
}

void tst_list_view::controlKeyKeepsSelection() {
    Ledger list;
    fill(list, {"a", "b"});
    list.selectRow(1);
    list.show();
    QTest::mouseClick(list.viewport(), Qt::LeftButton, Qt::ControlModifier, cell(list, 1, 0));
    QCOMPARE(list.selectedRow(), 1);
    QTest::keyClick(&list, Qt::Key_Space, Qt::ControlModifier);
    QCOMPARE(list.selectedRow(), 1);
}

void tst_list_view::focusSelectsNothing() {
    Ledger list;
    fill(list, {"a", "b"});
    list.show();
    activate(&list);
    list.setFocus(Qt::TabFocusReason);
    QTRY_VERIFY(list.hasFocus());
    QCOMPARE(list.selectedRow(), -1);
    QTest::keyClick(&list, Qt::Key_Down);
    QCOMPARE(list.selectedRow(), 0);
}

void tst_list_view::redOnDark() {
    Ledger list;
    const std::string_view cells[] = {"", "MMMMMMMM", ""};
    list.addRow(cells, 0, 0b10);
    list.resize(600, 100);
    list.show();
    const auto reddest = [&list] {
        const QImage image = list.viewport()->grab(list.visualRect(list.model()->index(0, 1))).toImage();
        QColor best(0, 255, 255);
        const auto redness = [](const QColor& c) { return 2 * c.red() - c.green() - c.blue(); };
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x)
                if (redness(image.pixelColor(x, y)) > redness(best))
                    best = image.pixelColor(x, y);
        return best;
    };
    QVERIFY(reddest().red() > 200 && reddest().green() < 60);
    QPalette dark = list.palette();
    dark.setColor(QPalette::Base, QColor(30, 30, 30));
    list.setPalette(dark);
    QVERIFY(reddest().red() > 200 && reddest().green() > 90);
    QCOMPARE(list.foreColor(0, 1), controls::kRed);
}

void tst_list_view::redOnTheSelection_data() {
    QTest::addColumn<QColor>("base");
    QTest::addColumn<QColor>("selection");
    for (const char* base : {"#ffffff", "#1b1e20"})
        for (const char* selection : {"#308cc6", "#3daee9", "#15395b", "#ffe08a"})
            QTest::addRow("%s on %s", selection, base) << QColor(base) << QColor(selection);
}

// Readable, with the focus and without: three to one at least between the figures and what is behind them.
void tst_list_view::redOnTheSelection() {
    QFETCH(QColor, base);
    QFETCH(QColor, selection);
    Ledger list;
    const std::string_view cells[] = {"", "MMMMMMMM", ""};
    list.addRow(cells, 0, 0b10);
    QPalette palette = list.palette();
    palette.setColor(QPalette::Base, base);
    palette.setColor(QPalette::Highlight, selection);
    list.setPalette(palette);
    list.selectRow(0);
    list.resize(600, 100);
    list.show();
    const auto luminance = [](QRgb pixel) {
        const auto linear = [](int part) { return std::pow(part / 255.0, 2.2); };
        return 0.2126 * linear(qRed(pixel)) + 0.7152 * linear(qGreen(pixel)) + 0.0722 * linear(qBlue(pixel)) + 0.05;
    };
    for (const bool focus : {false, true}) {
        activate(focus ? &list : nullptr);
        QCOMPARE(list.hasFocus(), focus);
        const QImage image = list.viewport()->grab(list.visualRect(list.model()->index(0, 1))).toImage();
        const double behind = luminance(image.pixel(2, image.height() / 2));
        double most = 1;
        for (int x = 4; x < image.width() - 4; ++x) {
            const double here = luminance(image.pixel(x, image.height() / 2));
            most = std::max({most, here / behind, behind / here});
        }
        QVERIFY2(most >= 3, qPrintable(QString::number(most)));
    }
}

void tst_list_view::accessibleTexts() {
    Ledger list;
    fill(list, {"a", "Grocer"});
    list.show();
    QAccessibleInterface* const table = QAccessible::queryAccessibleInterface(&list);
    QVERIFY(table != nullptr && table->tableInterface() != nullptr);
    QCOMPARE(table->tableInterface()->rowCount(), 2);
    QCOMPARE(table->tableInterface()->cellAt(1, 0)->text(QAccessible::Name), "Grocer");
}

QTEST_MAIN(tst_list_view)
#include "tst_list_view.moc"
