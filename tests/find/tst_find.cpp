// SPDX-License-Identifier: MIT
#include <QComboBox>
#include <QTest>

#include "find/basFind.h"
#include "program.h"

class tst_find : public QObject {
    Q_OBJECT

 private slots:
    void matches_data();
    void matches();
    void rows_data();
    void rows();
    void dialog();
};

void tst_find::matches_data() {
    QTest::addColumn<QString>("cell");
    QTest::addColumn<QString>("find");
    QTest::addColumn<bool>("any");
    QTest::addColumn<bool>("whole");
    QTest::addColumn<bool>("start");

    QTest::newRow("the same") << "Payee"
                              << "Payee" << true << true << true;
    QTest::newRow("another case") << "Payee"
                                  << "payee" << true << false << false;
    QTest::newRow("the beginning") << "Payee"
                                   << "Pay" << true << false << true;
    QTest::newRow("the middle") << "Payee"
                                << "AYE" << true << false << false;
    QTest::newRow("part of an amount") << "-$12.50"
                                       << "12.5" << true << false << false;
    QTest::newRow("longer than the cell") << "Pay"
                                          << "Payee" << false << false << false;
    QTest::newRow("an empty cell") << ""
                                   << "x" << false << false << false;
    QTest::newRow("accents in another case")
        << QString::fromUtf8("Épicerie") << QString::fromUtf8("éPI") << true << false << false;
    QTest::newRow("ascii in a cell with accents") << QString::fromUtf8("À côté") << "CÔT" << true << false << false;
}

void tst_find::matches() {
    QFETCH(QString, cell);
    QFETCH(QString, find);
    QFETCH(bool, any);
    QFETCH(bool, whole);
    QFETCH(bool, start);
    // The function on texts and the search over a list, which takes shortcuts, must agree.
    controls::ListView list;
    list.addColumn("Payee", "payee", 10);
    list.addRow(QStringList("before"));
    list.addRow(QStringList(cell));
    const auto found = [&](FindMatch match) {
        const bool inList = FindRow(list, 0, find, match, 0, true) == 1;
        return inList == FindMatches(cell, find, match) && inList;
    };
    QCOMPARE(found(FindMatch::AnyPart), any);
    QCOMPARE(found(FindMatch::WholeField), whole);
    QCOMPARE(found(FindMatch::StartOfField), start);
}

void tst_find::rows_data() {
    QTest::addColumn<int>("start");
    QTest::addColumn<bool>("down");
    QTest::addColumn<int>("row");

    QTest::newRow("down from the top") << 0 << true << 2;
    QTest::newRow("never the selected row") << 2 << true << 4;
    QTest::newRow("it does not go round") << 4 << true << -1;
    QTest::newRow("up") << 4 << false << 2;
    QTest::newRow("up from the first match") << 0 << false << -1;
}

void tst_find::rows() {
    QFETCH(int, start);
    QFETCH(bool, down);
    QFETCH(int, row);
    controls::ListView list;
    list.addColumn("Date", "item_date", 10);
    list.addColumn("Payee", "payee", 10);
    for (const char* payee : {"x", "y", "x", "y", "x"})
        list.addRow(QStringList({"x", payee}));
    QCOMPARE(FindRow(list, 1, "x", FindMatch::WholeField, start, down), row);
}

void tst_find::dialog() {
    Program program;
    program.openNew("Home.mdb");
    program.addEnvelope("Rent", "5");
    for (const char* item : {"-12.5, 'Grocer', 'milk'", "20, 'Employer', null", "-12.5, 'grocer', 'bread'"})
        objDatabase->objCnn()->Execute("insert into tbl_items (amount, payee, comment, envelope, item_date) values (" +
                                       QString(item) + ", 'Rent', '1/2/2036')");
    program.select("Envelopes");
    program.select("Rent");
    QCOMPARE(program.column(2), QStringList({"Starting Balance", "Grocer", "Employer", "grocer"}));

    program.dialogs.answer(controls::MsgAnswer::Ok);
    program.inDialog("mnuItemFind", [&](QDialog* dialog) {
        auto* fields = dialog->findChild<QComboBox*>("cboFields");
        QStringList captions;
        for (int i = 0; i < fields->count(); ++i)
            captions << fields->itemText(i);
        QCOMPARE(captions.join(' '), "Amount Comment Date Envelope Number Payee Reconciled");
        QCOMPARE(fields->currentText(), "Amount");
        QCOMPARE(dialog->findChild<QComboBox*>("cboMatch")->currentText(), "Whole Field");
        QCOMPARE(dialog->findChild<QComboBox*>("cboDirection")->currentText(), "Down");
        auto* next = dialog->findChild<QPushButton*>("cmdFindNext");
        QVERIFY(!next->isEnabled());
        type(dialog, "txtFind", "-$12.50");
        QVERIFY(next->isEnabled());
        QTest::keyClick(dialog->findChild<QLineEdit*>("txtFind"), Qt::Key_Return);
        QCOMPARE(program.list()->selectedRow(), 1);
        click(dialog, "cmdFindNext");
        QCOMPARE(program.list()->selectedRow(), 3);
        click(dialog, "cmdFindNext");
        QCOMPARE(program.list()->selectedRow(), 3);

        dialog->findChild<QComboBox*>("cboDirection")->setCurrentText("Up");
        dialog->findChild<QComboBox*>("cboMatch")->setCurrentText("Any Part of Field");
        fields->setCurrentText("Payee");
        type(dialog, "txtFind", "GROC");
        click(dialog, "cmdFindNext");
        QCOMPARE(program.list()->selectedRow(), 1);
        type(dialog, "txtFind", "");
        QVERIFY(!next->isEnabled());
        QTest::keyClick(dialog, Qt::Key_Escape);
    });
    const auto message = program.dialogs.takeMessage();
    QCOMPARE(message.text, "Match not found.");
    QCOMPARE(message.title, "Coinvale");
    QCOMPARE(program.dialogs.problems(), QStringList());
}

QTEST_MAIN(tst_find)
#include "tst_find.moc"
