// SPDX-License-Identifier: MIT
#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QPlainTextEdit>
#include <QTest>

#include "controls/date_picker.h"
#include "program.h"

class tst_item : public QObject {
    Q_OBJECT

 private slots:
    void init() { vbrt::qt::setToday(QDate(2026, 11, 15)); }
    void opensAsPayment();
    void add_data();
    void add();
    void refused_data();
    void refused();
    void signAfterFailure();
    void keyboard();
    void boxes();
    void editTransfers();
    void partnerByPointer();
    void deleteAndReconcile();
    void rootSelected();
    void commentLines();
};

namespace {

const char* const kItem =
    "select amount, envelope, item_date, item_num, payee, reconciled, transfer_id from tbl_items ";

// A budget with these envelopes, none of them with an item, and the first one selected.
void prepare(Program& program, const QStringList& envelopes) {
    program.openNew("Home.mdb");
    for (const QString& name : envelopes)
        objDatabase->objCnn()->Execute("insert into tbl_envelopes (envelope) values ('" + SqlQuote(name) + "')");
    program.trigger("mnuFileClose");
    program.open("Home.mdb");
    program.select(envelopes.first());
}

QLineEdit* line(QDialog* dialog, const char* name) {
    return dialog->findChild<QLineEdit*>(name);
}

void choose(QDialog* dialog, const QString& envelope) {
    auto* combo = dialog->findChild<QComboBox*>("cboTransfer");
    const int index = combo->findText(envelope);
    QVERIFY2(index >= 0, qPrintable(envelope));
    combo->setFocus();
    QTest::keyClick(combo, Qt::Key_Home);
    for (int i = 0; i < index; ++i)
        QTest::keyClick(combo, Qt::Key_Down);
    QCOMPARE(combo->currentText(), envelope);
}

void addItem(Program& program, const QString& payee, const QString& amount, bool deposit,
             const QString& transfer = {}) {
    program.inDialog("mnuItemAdd", [&](QDialog* dialog) {
        type(dialog, "txtPayee", payee);
        type(dialog, "txtAmount", amount);
        if (deposit)
            click(dialog, "chkDeposit");
        if (!transfer.isEmpty())
            choose(dialog, transfer);
        click(dialog, "cmdOk");
        QVERIFY(!dialog->isVisible());
    });
}

}  // namespace

void tst_item::opensAsPayment() {
    Program program;
    prepare(program, {"Rent", "Food", "Tom & Jerry"});
    program.inDialog("mnuItemAdd", [](QDialog* dialog) {
        QCOMPARE(dialog->windowTitle(), "Add Item");
        QCOMPARE(line(dialog, "txtEnvelope")->text(), "Rent");
        QCOMPARE(line(dialog, "txtAmount")->text(), "0.00");
        QCOMPARE(dialog->findChild<controls::DatePicker*>("dtpItemDate")->text(), "11/15/2026");
        QVERIFY(dialog->findChild<QCheckBox*>("chkPayment")->isChecked());
        QVERIFY(!dialog->findChild<QCheckBox*>("chkDeposit")->isChecked());
        QVERIFY(!dialog->findChild<QCheckBox*>("chkReconciled")->isChecked());
        auto* combo = dialog->findChild<QComboBox*>("cboTransfer");
        QStringList entries;
        for (int i = 0; i < combo->count(); ++i)
            entries << combo->itemText(i);
        QCOMPARE(entries, QStringList({"", "Food", "Tom & Jerry"}));
        click(dialog, "cmdCancel");
    });
    QCOMPARE(program.rows("select count(*) from tbl_items"), QStringList({"0"}));
    QCOMPARE(program.dialogs.problems(), QStringList());
}

void tst_item::add_data() {
    QTest::addColumn<QString>("amount");
    QTest::addColumn<bool>("deposit");
    QTest::addColumn<QString>("date");
    QTest::addColumn<QString>("payee");
    QTest::addColumn<QString>("comment");
    QTest::addColumn<QString>("stored");
    QTest::addColumn<QString>("shown");

    QTest::newRow("a payment") << "12.50" << false << ""
                               << "Grocer"
                               << ""
                               << "-12.5|11/15/2026|Grocer|0"
                               << "-$12.50";
    QTest::newRow("a deposit") << "1234.5" << true << ""
                               << "Salary"
                               << ""
                               << "1234.5|11/15/2026|Salary|0"
                               << "$1,234.50";
    QTest::newRow("no amount") << "" << false << ""
                               << ""
                               << ""
                               << "0|11/15/2026||0"
                               << "$0.00";
    QTest::newRow("an early date") << "1" << true << "01011900"
                                   << "x"
                                   << ""
                                   << "1|1/1/1900|x|0"
                                   << "$1.00";
    QTest::newRow("a late date") << "1" << true << "12312999"
                                 << "x"
                                 << ""
                                 << "1|12/31/2999|x|0"
                                 << "$1.00";
    QTest::newRow("quotes and an ampersand") << "1" << true << ""
                                             << "O'Brien & Sons"
                                             << "it's \"it\""
                                             << "1|11/15/2026|O'Brien & Sons|9"
                                             << "$1.00";
    QTest::newRow("a payee of 50 characters") << "1" << true << "" << QString(50, 'p') << ""
                                              << "1|11/15/2026|" + QString(50, 'p') + "|0"
                                              << "$1.00";
    QTest::newRow("a comment of 60,000 characters") << "1" << true << ""
                                                    << "x" << QString(60000, 'c') << "1|11/15/2026|x|60000"
                                                    << "$1.00";
    QTest::newRow("blanks at the ends are trimmed") << "1" << true << ""
                                                    << "  x "
                                                    << "  c d "
                                                    << "1|11/15/2026|x|3"
                                                    << "$1.00";
}

void tst_item::add() {
    QFETCH(QString, amount);
    QFETCH(bool, deposit);
    QFETCH(QString, date);
    QFETCH(QString, payee);
    QFETCH(QString, comment);
    QFETCH(QString, stored);
    QFETCH(QString, shown);
    Program program;
    prepare(program, {"Rent", "Food"});
    program.inDialog("mnuItemAdd", [&](QDialog* dialog) {
        if (!date.isEmpty())
            type(dialog, "dtpItemDate", date);
        type(dialog, "txtPayee", payee);
        type(dialog, "txtAmount", amount);
        if (deposit)
            click(dialog, "chkDeposit");
        auto* box = dialog->findChild<QPlainTextEdit*>("txtComment");
        box->insertPlainText(comment);  // pasted: 60,000 characters
        click(dialog, "cmdOk");
    });
    QCOMPARE(program.rows("select amount, item_date, payee, len(comment) from tbl_items"), QStringList({stored}));
    QCOMPARE(program.column(4), QStringList({shown}));
    QCOMPARE(program.column(5), QStringList({comment.trimmed()}));
    QCOMPARE(program.list()->foreColor(0, 4), shown.startsWith('-') ? controls::kRed : controls::kBlack);
    QCOMPARE(program.list()->selectedRow(), 0);
    QCOMPARE(program.caption("lblItems"), "Rent Envelope = " + shown);
    QCOMPARE(program.caption("stbMainPanel3"), "1 Item(s)");
    QCOMPARE(program.dialogs.problems(), QStringList());
}

void tst_item::refused_data() {
    QTest::addColumn<QString>("amount");
    QTest::addColumn<QString>("payee");
    QTest::addColumn<long>("number");

    QTest::newRow("a payee of 51 characters") << "1" << QString(51, 'p') << -2147217833L;
    QTest::newRow("a character that code page 1252 lacks") << "1" << QString::fromUtf8("Łódź") << -2147217913L;
    QTest::newRow("a lone point") << "."
                                  << "x" << 13L;
    QTest::newRow("too large a number") << QString(400, '9') << "x" << 6L;
    QTest::newRow("a comma for a decimal point") << "12,50"
                                                 << "x" << 13L;
}

void tst_item::refused() {
    QFETCH(QString, amount);
    QFETCH(QString, payee);
    QFETCH(long, number);
    Program program;
    prepare(program, {"Rent", "Food"});
    program.dialogs.answer(controls::MsgAnswer::Ok);
    program.inDialog("mnuItemAdd", [&](QDialog* dialog) {
        click(dialog, "chkDeposit");
        type(dialog, "txtPayee", payee);
        QGuiApplication::clipboard()->setText(amount);  // pasted: a comma that is typed is reported at once
        line(dialog, "txtAmount")->selectAll();
        QTest::keyClick(line(dialog, "txtAmount"), Qt::Key_V, Qt::ControlModifier);
        dialog->findChild<QPlainTextEdit*>("txtComment")->setPlainText("typed");
        click(dialog, "cmdOk");
        QVERIFY(dialog->isVisible());
        QCOMPARE(line(dialog, "txtPayee")->text(), payee);
        QCOMPARE(line(dialog, "txtAmount")->text(), amount);
        QCOMPARE(dialog->findChild<QPlainTextEdit*>("txtComment")->toPlainText(), "typed");
    });
    const QString text = program.dialogs.takeMessage().text;
    QVERIFY2(text.startsWith(QString("Error #: %1\r").arg(number)), qPrintable(text));
    QCOMPARE(program.rows("select count(*) from tbl_items"), QStringList({"0"}));
    QCOMPARE(program.list()->rowCount(), 0);
    QCOMPARE(program.dialogs.problems(), QStringList());
}

// The sign is written into the box, so a second OK after a failure turns a payment into a deposit.
void tst_item::signAfterFailure() {
    Program program;
    prepare(program, {"Rent"});
    program.dialogs.answer(controls::MsgAnswer::Ok);
    program.inDialog("mnuItemAdd", [&](QDialog* dialog) {
        type(dialog, "txtPayee", QString(51, 'p'));
        type(dialog, "txtAmount", "7.50");
        click(dialog, "cmdOk");
        QCOMPARE(line(dialog, "txtAmount")->text(), "-7.5");
        type(dialog, "txtPayee", "fits");
        click(dialog, "cmdOk");
        QVERIFY(!dialog->isVisible());
    });
    QCOMPARE(program.rows("select amount, payee from tbl_items"), QStringList({"7.5|fits"}));
}

void tst_item::keyboard() {
    Program program;
    prepare(program, {"Rent", "Food"});
    program.inDialog("mnuItemAdd", [](QDialog* dialog) {
        QStringList order;
        for (int i = 0; i < 12; ++i) {
            order << QApplication::focusWidget()->objectName();
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        }
        QCOMPARE(order.join(' '),
                 "dtpItemDate txtItemNum txtPayee txtAmount chkDeposit chkPayment cboTransfer chkReconciled txtComment "
                 "cmdOk cmdCancel cmdHelp");
        // From field to field, each selected on the way in, to a deposit of 20 on the 3rd.
        QTest::keyClicks(QApplication::focusWidget(), "11032026");
        const auto next = [] {
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
            QCoreApplication::processEvents();
        };
        next();
        QTest::keyClicks(QApplication::focusWidget(), "101");
        next();
        QTest::keyClicks(QApplication::focusWidget(), "Employer");
        next();
        QCOMPARE(line(dialog, "txtAmount")->selectedText(), "0.00");
        QTest::keyClicks(QApplication::focusWidget(), "20");
        next();
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Space);
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
        QVERIFY(!dialog->isVisible());
    });
    QCOMPARE(program.rows(kItem), QStringList({"20|Rent|11/3/2026|101|Employer||0"}));

    program.list()->setFocus();
    inModal([&] { QTest::keyClick(program.list(), Qt::Key_Return); },
            [](QDialog* dialog) {
                QCOMPARE(dialog->windowTitle(), "Edit Item");
                QCOMPARE(line(dialog, "txtPayee")->text(), "Employer");
                QTest::keyClick(dialog, Qt::Key_Escape);
                QVERIFY(!dialog->isVisible());
            });
    program.dialogs.answer(controls::MsgAnswer::Yes);
    QTest::keyClick(program.list(), Qt::Key_Delete);
    QCOMPARE(program.rows(kItem), QStringList());
    QCOMPARE(program.dialogs.takeMessage().text, "Are you sure you want to delete this item?");
    QCOMPARE(program.dialogs.problems(), QStringList());
}

void tst_item::boxes() {
    Program program;
    prepare(program, {"Rent"});
    program.inDialog("mnuItemAdd", [](QDialog* dialog) {
        auto* deposit = dialog->findChild<QCheckBox*>("chkDeposit");
        auto* payment = dialog->findChild<QCheckBox*>("chkPayment");
        for (QCheckBox* box : {deposit, payment, payment, deposit, deposit}) {
            QTest::mouseClick(box, Qt::LeftButton, {}, QPoint(8, box->height() / 2));
            QVERIFY(deposit->isChecked() != payment->isChecked());
        }
        QVERIFY(deposit->isChecked());
    });
}

void tst_item::editTransfers() {
    Program program;
    prepare(program, {"Rent", "Food", "Fun"});
    const QString pair = "select id, amount, envelope, transfer_id, payee from tbl_items order by id";
    addItem(program, "move", "30", false, "Food");
    QCOMPARE(program.rows(pair), QStringList({"1|-30|Rent|2|move", "2|30|Food|1|move"}));
    QCOMPARE(program.list()->rowCount(), 1);
    QCOMPARE(program.caption("lblEnvelopes"), "Budget Total = $0.00");

    const auto edit = [&](const std::function<void(QDialog*)>& work) {
        program.inDialog("mnuItemEdit", [&](QDialog* dialog) {
            work(dialog);
            click(dialog, "cmdOk");
            QVERIFY(!dialog->isVisible());
        });
    };
    edit([](QDialog* dialog) {
        QCOMPARE(dialog->findChild<QComboBox*>("cboTransfer")->currentText(), "Food");
        QCOMPARE(line(dialog, "txtAmount")->text(), "30.00");
        type(dialog, "txtAmount", "45.5");
        click(dialog, "chkReconciled");
        choose(dialog, "Fun");
    });
    QCOMPARE(program.rows(pair), QStringList({"1|-45.5|Rent|2|move", "2|45.5|Fun|1|move"}));
    QCOMPARE(program.rows("select reconciled from tbl_items order by id"), QStringList({"*", "*"}));
    QCOMPARE(program.column(4), QStringList({"-$45.50"}));
    QCOMPARE(program.column(3), QStringList({"*"}));
    QCOMPARE(program.caption("lblItems"), "Rent Envelope = -$45.50");

    edit([](QDialog* dialog) { choose(dialog, ""); });
    QCOMPARE(program.rows(pair), QStringList({"1|-45.5|Rent|0|move"}));
    edit([](QDialog* dialog) { choose(dialog, "Food"); });
    QCOMPARE(program.rows(pair), QStringList({"1|-45.5|Rent|3|move", "3|45.5|Food|1|move"}));

    // From the other half.
    program.select("Food");
    edit([](QDialog* dialog) {
        QCOMPARE(dialog->findChild<QComboBox*>("cboTransfer")->currentText(), "Rent");
        QVERIFY(dialog->findChild<QCheckBox*>("chkDeposit")->isChecked());
        type(dialog, "txtPayee", "back");
        click(dialog, "chkPayment");
    });
    QCOMPARE(program.rows(pair), QStringList({"1|45.5|Rent|3|back", "3|-45.5|Food|1|back"}));
    QCOMPARE(program.dialogs.problems(), QStringList());
}

// The other half is the item that points here, whatever this item's own pointer says.
void tst_item::partnerByPointer() {
    Program program;
    prepare(program, {"Rent", "Food"});
    addItem(program, "move", "30", false, "Food");
    objDatabase->objCnn()->Execute("update tbl_items set transfer_id = 0 where id = 1");
    program.inDialog("mnuItemEdit", [](QDialog* dialog) {
        QCOMPARE(dialog->findChild<QComboBox*>("cboTransfer")->currentText(), "Food");
        type(dialog, "txtAmount", "31");
        click(dialog, "cmdOk");
    });
    QCOMPARE(program.rows("select id, amount, transfer_id from tbl_items order by id"),
             QStringList({"1|-31|2", "2|31|1"}));
}

void tst_item::deleteAndReconcile() {
    Program program;
    prepare(program, {"Rent", "Food"});
    addItem(program, "a", "1", true);
    addItem(program, "b", "2", false, "Food");
    addItem(program, "c", "3", true);
    program.list()->selectRow(1);
    program.trigger("mnuItemReconcile");
    QCOMPARE(program.column(3), QStringList({"", "*", ""}));
    QCOMPARE(program.rows("select payee, reconciled from tbl_items order by id"),
             QStringList({"a|", "b|*", "b|*", "c|"}));
    program.trigger("mnuItemReconcile");
    QCOMPARE(program.rows("select reconciled from tbl_items order by id"), QStringList({"", "", "", ""}));

    program.dialogs.answer(controls::MsgAnswer::No);
    program.trigger("mnuItemDelete");
    QCOMPARE(program.list()->rowCount(), 3);
    program.dialogs.answer(controls::MsgAnswer::Yes);
    program.trigger("mnuItemDelete");
    QCOMPARE(program.column(2), QStringList({"a", "c"}));
    QCOMPARE(program.list()->selectedRow(), 1);
    QCOMPARE(program.rows("select payee from tbl_items order by id"), QStringList({"a", "c"}));
    QCOMPARE(program.caption("stbMainPanel3"), "2 Item(s)");
    QCOMPARE(program.caption("lblItems"), "Rent Envelope = $4.00");
    for (int i = 0; i < 2; ++i) {
        program.dialogs.answer(controls::MsgAnswer::Yes);
        program.trigger("mnuItemDelete");
    }
    QVERIFY(!program.command("mnuItemDelete")->isEnabled());
    QCOMPARE(program.dialogs.problems(), QStringList());
}

void tst_item::rootSelected() {
    Program program;
    prepare(program, {"Rent"});
    addItem(program, "a", "1", true);
    program.select("Envelopes");
    program.list()->setFocus();
    QTest::keyClick(program.list(), Qt::Key_Delete);
    QTest::keyClick(program.list(), Qt::Key_Return);
    emit program.list()->rowDoubleClicked(0);
    for (const char* name : {"mnuItemAdd", "mnuItemEdit", "mnuItemDelete", "mnuItemReconcile"})
        QVERIFY2(!program.command(name)->isEnabled(), name);
    QCOMPARE(program.list()->rowCount(), 1);
    QCOMPARE(program.dialogs.problems(), QStringList());
}

// A comment that is not touched comes back to the file as it was there.
void tst_item::commentLines() {
    Program program;
    prepare(program, {"Rent"});
    program.inDialog("mnuItemAdd", [](QDialog* dialog) {
        auto* comment = dialog->findChild<QPlainTextEdit*>("txtComment");
        comment->setFocus();
        QTest::keyClicks(comment, "one");
        QTest::keyClick(comment, Qt::Key_Return);
        QTest::keyClicks(comment, "two");
        QVERIFY(dialog->isVisible());
        click(dialog, "cmdOk");
    });
    const QStringList stored = {"one\r\ntwo"};
    QCOMPARE(program.rows("select comment from tbl_items"), stored);
    program.inDialog("mnuItemEdit", [](QDialog* dialog) { click(dialog, "cmdOk"); });
    QCOMPARE(program.rows("select comment from tbl_items"), stored);
}

QTEST_MAIN(tst_item)
#include "tst_item.moc"
