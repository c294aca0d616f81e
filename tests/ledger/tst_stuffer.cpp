// SPDX-License-Identifier: MIT
#include <QHeaderView>
#include <QMenu>
#include <QTest>

#include "controls/date_picker.h"
#include "ledger/frmBudget.h"
#include "ledger/frmStuffer.h"
#include "program.h"

using controls::ListView;

class tst_stuffer : public QObject {
    Q_OBJECT

 private slots:
    void init() { vbrt::qt::setToday(vbrt::qt::DateSerial(2026, 11, 15)); }
    void statements();
    void opened();
    void stuffAndUndo();
    void nothingToStuff();
    void undoTakesWhatWasTyped();
    void edit_data();
    void edit();
    void editCancelled();
    void refused_data();
    void refused();
    void sorting();
    void emptyList();
    void keyboard();
    void mainWindowAfterwards_data();
    void mainWindowAfterwards();
    void neverWritten();
    void totalsThatFail_data();
    void totalsThatFail();
};

namespace {

void execute(const QString& sql) {
    objDatabase->objCnn()->Execute(sql);
}

void setBudget(const QString& envelope, const QString& budget) {
    execute("update tbl_envelopes set budget = " + budget + " where envelope = '" + SqlQuote(envelope) + "'");
}

ListView* listOf(QDialog* stuffer) {
    return stuffer->findChild<ListView*>("lvwStuffer");
}

// The rows as shown, red cells with a "!".
QStringList shown(QDialog* stuffer) {
    const ListView* list = listOf(stuffer);
    QStringList rows;
    for (int row = 0; row < list->rowCount(); ++row) {
        QStringList cells;
        for (int column = 0; column < 4; ++column)
            cells << list->text(row, column) + (list->foreColor(row, column) == controls::kRed ? "!" : "");
        rows << cells.join('|');
    }
    return rows;
}

QString totals(QDialog* stuffer) {
    QStringList texts;
    for (const char* name : {"lblTotBud", "lblTotCurBal", "lblTotNewBal"})
        texts << stuffer->findChild<QLabel*>(name)->text();
    return texts.join('|');
}

// F2 on a row, with `work` in the dialog that comes up.
void editRow(QDialog* stuffer, int row, const std::function<void(QDialog*)>& work) {
    listOf(stuffer)->setFocus();
    listOf(stuffer)->selectRow(row);
    inModal([&] { QTest::keyClick(listOf(stuffer), Qt::Key_F2); }, work);
}

void setRowBudget(QDialog* stuffer, int row, const QString& budget) {
    editRow(stuffer, row, [&](QDialog* dialog) {
        dialog->findChild<QLineEdit*>("txtBudget")->setText(budget);
        click(dialog, "cmdOk");
    });
}

QString budgetOf(const QString& envelope) {
    return Program::rows("select budget from tbl_envelopes where envelope = '" + SqlQuote(envelope) + "'").value(0);
}

// Rent 850 of 1000, Food 300 of 0, Car -100 of 0, Old of nothing.
void makeHome(Program& program) {
    program.openNew("Home.mdb");
    program.addEnvelope("Rent", "1000");
    program.addEnvelope("Food");
    program.addEnvelope("Car");
    program.addEnvelope("Old", "5");
    execute("update tbl_items set amount = -100 where envelope = 'Car'");
    execute("delete * from tbl_items where envelope = 'Old'");
    setBudget("Rent", "850");
    setBudget("Food", "300.5");
}

constexpr char kAllocations[] =
    "select amount, envelope, item_date, comment, item_num, reconciled, transfer_id from tbl_items "
    "where payee = 'Budget Allocation' order by item_date, id";

}  // namespace

void tst_stuffer::statements() {
    QCOMPARE(StufferListSql("envelope", "asc"), "select * from qry_stuffer order by envelope asc");
    QCOMPARE(StuffSql("11/15/2026"),
             "insert into tbl_items (amount, envelope, item_date, payee) select budget, envelope,  '11/15/2026', "
             "'Budget Allocation' from tbl_envelopes where budget > 0");
    QCOMPARE(UndoStuffSql("11/15/2026"),
             "delete * from tbl_items where item_date = CDate('11/15/2026') and payee = 'Budget Allocation'");
    QCOMPARE(BudgetUpdateSql("$1,250.00", "O'Brien's"),
             "update tbl_envelopes set budget = 1250 where envelope = 'O''Brien''s'");
}

void tst_stuffer::opened() {
    Program program;
    makeHome(program);
    program.inDialog("mnuToolsStuffer", [](QDialog* stuffer) {
        QCOMPARE(stuffer->windowTitle(), "Envelope Stuffer");
        QCOMPARE(stuffer->findChild<controls::DatePicker*>("dtpBudgetDate")->text(), "11/15/2026");
        // An envelope without items is not listed.
        QCOMPARE(shown(stuffer), QStringList({"Car|$0.00|-$100.00!|-$100.00!", "Food|$300.50|$0.00|$300.50",
                                              "Rent|$850.00|$1,000.00|$1,850.00"}));
        QCOMPARE(totals(stuffer), "$1,150.50|$900.00|$2,050.50");
        QCOMPARE(listOf(stuffer)->headerImage(0), 0);
        QCOMPARE(listOf(stuffer)->selectedRow(), 0);
        QCOMPARE(stuffer->findChild<QLabel*>("lblTotBud")->accessibleName(), "Total Budget $1,150.50");
        click(stuffer, "cmdClose");
        QVERIFY(!stuffer->isVisible());
    });
    QCOMPARE(program.dialogs.problems(), QStringList());
}

void tst_stuffer::stuffAndUndo() {
    Program program;
    makeHome(program);
    setBudget("Car", "-7");
    setBudget("Old", "20");  // unlisted for want of items, and stuffed all the same
    for (int i = 0; i < 6; ++i)
        program.dialogs.answer(controls::MsgAnswer::Ok);
    program.inDialog("mnuToolsStuffer", [&](QDialog* stuffer) {
        const auto press = [&](const char* button) {
            click(stuffer, button);
            const auto message = program.dialogs.takeMessage();
            return message.title + ": " + message.text +
                   (message.icon == controls::MsgIcon::Information ? "" : " (another icon)");
        };
        QCOMPARE(press("cmdStuff"), "Do Budget: 3 budget items created.");
        QCOMPARE(stuffer->focusWidget(), listOf(stuffer));
        QCOMPARE(program.rows(kAllocations),
                 QStringList({"850|Rent|11/15/2026|Null|Null|Null|0", "300.5|Food|11/15/2026|Null|Null|Null|0",
                              "20|Old|11/15/2026|Null|Null|Null|0"}));
        QCOMPARE(shown(stuffer), QStringList({"Car|-$7.00!|-$100.00!|-$107.00!", "Food|$300.50|$300.50|$601.00",
                                              "Old|$20.00|$20.00|$40.00", "Rent|$850.00|$1,850.00|$2,700.00"}));
        QCOMPARE(totals(stuffer), "$1,163.50|$2,070.50|$3,234.00");
        type(stuffer, "dtpBudgetDate", "12/1/2026");
        QCOMPARE(press("cmdStuff"), "Do Budget: 3 budget items created.");
        type(stuffer, "dtpBudgetDate", "11/15/26");
        QCOMPARE(press("cmdStuff"), "Do Budget: 3 budget items created.");
        QCOMPARE(program.rows(kAllocations).size(), 9);

        QCOMPARE(press("cmdUndoStuff"), "Undo Budget: 6 budget items removed.");
        QCOMPARE(program.rows(kAllocations),
                 QStringList({"850|Rent|12/1/2026|Null|Null|Null|0", "300.5|Food|12/1/2026|Null|Null|Null|0",
                              "20|Old|12/1/2026|Null|Null|Null|0"}));
        QCOMPARE(totals(stuffer), "$1,163.50|$2,070.50|$3,234.00");
        QCOMPARE(press("cmdUndoStuff"), "Undo Budget: 0 budget items removed.");
        type(stuffer, "dtpBudgetDate", "12/1/2026");
        QCOMPARE(press("cmdUndoStuff"), "Undo Budget: 3 budget items removed.");
        QCOMPARE(totals(stuffer), "$1,143.50|$900.00|$2,043.50");
    });
    QCOMPARE(program.rows("select envelope, amount from tbl_items order by id"),
             QStringList({"Rent|1000", "Food|0", "Car|-100"}));
    QCOMPARE(program.dialogs.problems(), QStringList());
}

void tst_stuffer::nothingToStuff() {
    Program program;
    program.openNew("Home.mdb");
    program.addEnvelope("Rent", "5");
    program.addEnvelope("Debt", "5");
    setBudget("Debt", "-5");
    program.dialogs.answer(controls::MsgAnswer::Ok);
    program.inDialog("mnuToolsStuffer", [&](QDialog* stuffer) {
        // The list is not reloaded, which would show the new name.
        execute("update tbl_envelopes set envelope = 'House' where envelope = 'Rent'");
        click(stuffer, "cmdStuff");
        QCOMPARE(program.dialogs.takeMessage().text, "0 budget items created.");
        QCOMPARE(listOf(stuffer)->text(1), "Rent");
    });
    QCOMPARE(program.rows("select count(*) from tbl_items"), QStringList({"2"}));
    QCOMPARE(program.dialogs.problems(), QStringList());
}

void tst_stuffer::undoTakesWhatWasTyped() {
    Program program;
    program.openNew("Home.mdb");
    program.addEnvelope("Rent", "5");
    for (const char* payee : {"Budget Allocation", "budget allocation", "Budget Allocations"})
        execute(QString("insert into tbl_items (amount, envelope, item_date, payee) values (-1, 'Rent', '11/15/2026', "
                        "'%1')")
                    .arg(payee));
    program.dialogs.answer(controls::MsgAnswer::Ok);
    program.inDialog("mnuToolsStuffer", [&](QDialog* stuffer) { click(stuffer, "cmdUndoStuff"); });
    QCOMPARE(program.dialogs.takeMessage().text, "2 budget items removed.");
    QCOMPARE(program.rows("select payee from tbl_items order by id"),
             QStringList({"Starting Balance", "Budget Allocations"}));
    QCOMPARE(program.dialogs.problems(), QStringList());
}

void tst_stuffer::edit_data() {
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("stored");
    QTest::addColumn<QString>("row");
    QTest::addColumn<QString>("total");

    const auto add = [](const char* phrase, const char* typed, const char* stored, const char* row, const char* total) {
        QTest::newRow(phrase) << QString(typed) << QString(stored) << QString("O'Brien's|") + row << QString(total);
    };
    add("an amount", "12.5", "12.5", "$12.50|-$20.00!|-$7.50!", "$13.50|-$13.00|$0.50");
    add("new balance no longer negative", "20", "20", "$20.00|-$20.00!|$0.00", "$21.00|-$13.00|$8.00");
    add("dollars and thousands", "$1,250.00", "1250", "$1,250.00|-$20.00!|$1,230.00", "$1,251.00|-$13.00|$1,238.00");
    // The cell is red after the next load only.
    add("negative", "-3", "-3", "-$3.00|-$20.00!|-$23.00!", "-$2.00|-$13.00|-$15.00");
    add("more than cents", "0.125", "0.125", "$0.13|-$20.00!|-$19.87!", "$1.13|-$13.00|-$11.87");
    add("the same", "30", "30", "$30.00|-$20.00!|$10.00", "$31.00|-$13.00|$18.00");
}

void tst_stuffer::edit() {
    QFETCH(QString, typed);
    QFETCH(QString, stored);
    QFETCH(QString, row);
    QFETCH(QString, total);
    Program program;
    program.openNew("Home.mdb");
    program.addEnvelope("O'Brien's");
    program.addEnvelope("Rent", "7");
    setBudget("O'Brien's", "30");
    setBudget("Rent", "1");
    execute("update tbl_items set amount = -20 where envelope = 'O''Brien''s'");
    program.inDialog("mnuToolsStuffer", [&](QDialog* stuffer) {
        setRowBudget(stuffer, 0, typed);
        QCOMPARE(stuffer->focusWidget(), listOf(stuffer));
        QCOMPARE(shown(stuffer), QStringList({row, "Rent|$1.00|$7.00|$8.00"}));
        QCOMPARE(totals(stuffer), total);
    });
    QCOMPARE(budgetOf("O'Brien's"), stored);
    QCOMPARE(budgetOf("Rent"), "1");
    QCOMPARE(program.dialogs.problems(), QStringList());
}

void tst_stuffer::editCancelled() {
    Program program;
    makeHome(program);
    program.inDialog("mnuToolsStuffer", [&](QDialog* stuffer) {
        const QStringList before = shown(stuffer);
        for (const char* way : {"cmdCancel", "Esc"})
            editRow(stuffer, 2, [&](QDialog* dialog) {
                auto* box = dialog->findChild<QLineEdit*>("txtBudget");
                QCOMPARE(dialog->windowTitle(), "Edit Budget");
                QCOMPARE(box->text(), "850.00");
                QCOMPARE(box->selectedText(), "850.00");
                type(dialog, "txtBudget", "1");
                if (qstrcmp(way, "Esc") == 0)
                    QTest::keyClick(box, Qt::Key_Escape);
                else
                    click(dialog, way);
                QVERIFY(!dialog->isVisible());
            });
        QCOMPARE(shown(stuffer), before);
        // Going back to the box selects the amount again.
        editRow(stuffer, 2, [&](QDialog* dialog) {
            auto* box = dialog->findChild<QLineEdit*>("txtBudget");
            QTest::keyClick(box, Qt::Key_End);
            QCOMPARE(box->selectedText(), "");
            QTest::keyClick(box, Qt::Key_Tab);
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Backtab);
            QCOMPARE(box->selectedText(), "850.00");
            dialog->reject();
        });
    });
    QCOMPARE(budgetOf("Rent"), "850");
    QCOMPARE(program.dialogs.problems(), QStringList());
}

void tst_stuffer::refused_data() {
    QTest::addColumn<QString>("typed");
    QTest::addColumn<int>("number");

    QTest::newRow("empty") << "" << 13;
    QTest::newRow("no number") << "twelve" << 13;
    QTest::newRow("a lone point") << "." << 13;
    QTest::newRow("too large") << "1e400" << 6;
}

void tst_stuffer::refused() {
    QFETCH(QString, typed);
    QFETCH(int, number);
    Program program;
    makeHome(program);
    program.dialogs.answer(controls::MsgAnswer::Ok);
    program.inDialog("mnuToolsStuffer", [&](QDialog* stuffer) {
        const QStringList before = shown(stuffer);
        editRow(stuffer, 2, [&](QDialog* dialog) {
            dialog->findChild<QLineEdit*>("txtBudget")->setText(typed);
            click(dialog, "cmdOk");
            QVERIFY(dialog->isVisible());
            QCOMPARE(dialog->findChild<QLineEdit*>("txtBudget")->text(), typed);
        });
        QCOMPARE(shown(stuffer), before);
    });
    const auto message = program.dialogs.takeMessage();
    QCOMPARE(message.title, "Error");
    QVERIFY2(message.text.startsWith(QString("Error #: %1\r").arg(number)), qPrintable(message.text));
    QCOMPARE(budgetOf("Rent"), "850");
    QCOMPARE(program.dialogs.problems(), QStringList());
}

void tst_stuffer::sorting() {
    Program program;
    makeHome(program);
    setBudget("Car", "2000");
    program.inDialog("mnuToolsStuffer", [&](QDialog* stuffer) {
        ListView* list = listOf(stuffer);
        const auto clickHeader = [&](int column) {
            list->selectRow(1);
            auto* header = list->header();
            const QPoint at(header->sectionViewportPosition(column) + 20, header->height() / 2);
            QTest::mouseClick(header->viewport(), Qt::LeftButton, {}, at);
            QStringList names;
            for (int row = 0; row < list->rowCount(); ++row)
                names << list->text(row);
            return names.join(' ') + QString(" %1 %2").arg(list->selectedRow()).arg(list->headerImage(column));
        };
        QCOMPARE(clickHeader(1), "Food Rent Car 0 0");
        QCOMPARE(clickHeader(1), "Car Rent Food 0 1");
        QCOMPARE(clickHeader(2), "Car Food Rent 0 0");
        QCOMPARE(clickHeader(3), "Food Rent Car 0 0");
        QCOMPARE(clickHeader(3), "Car Rent Food 0 1");
        QCOMPARE(list->headerImage(2), -1);
        // An amount column reads the file again, the names are put in order as they are.
        setBudget("Food", "5000");
        QCOMPARE(clickHeader(0), "Car Food Rent 0 0");
        QCOMPARE(clickHeader(0), "Rent Food Car 0 1");
        QCOMPARE(list->text(1, 1), "$300.50");
        QCOMPARE(totals(stuffer), "$3,150.50|$900.00|$4,050.50");
        QCOMPARE(clickHeader(1), "Rent Car Food 0 0");
        QCOMPARE(list->text(2, 1), "$5,000.00");
        QCOMPARE(totals(stuffer), "$7,850.00|$900.00|$8,750.00");
    });
    // The order starts anew at every opening.
    program.inDialog("mnuToolsStuffer", [&](QDialog* stuffer) { QCOMPARE(listOf(stuffer)->text(0), "Car"); });
    QCOMPARE(program.dialogs.problems(), QStringList());
}

void tst_stuffer::emptyList() {
    Program program;
    program.openNew("Home.mdb");
    program.addEnvelope("Rent", "5");
    execute("delete * from tbl_items");
    setBudget("Rent", "10");
    program.inDialog("mnuToolsStuffer", [&](QDialog* stuffer) {
        ListView* list = listOf(stuffer);
        QCOMPARE(list->rowCount(), 0);
        QCOMPARE(totals(stuffer), "$0.00|$0.00|$0.00");
        for (const char* button : {"cmdStuff", "cmdUndoStuff", "cmdEdit"})
            click(stuffer, button);
        for (const Qt::Key key : {Qt::Key_F2, Qt::Key_Return, Qt::Key_Enter})
            QTest::keyClick(list, key);
        emit list->columnClicked(1);
        QCOMPARE(list->headerImage(0), 0);
        QVERIFY(stuffer->isVisible());
    });
    QCOMPARE(program.rows("select count(*) from tbl_items"), QStringList({"0"}));
    QCOMPARE(program.dialogs.messageCount(), 0);
    QCOMPARE(program.dialogs.problems(), QStringList());
}

void tst_stuffer::keyboard() {
    Program program;
    makeHome(program);
    program.dialogs.answer(controls::MsgAnswer::Ok);
    program.inDialog("mnuToolsStuffer", [&](QDialog* stuffer) {
        QStringList order;
        for (int i = 0; i < 7; ++i) {
            order << QApplication::focusWidget()->objectName();
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        }
        QCOMPARE(order.join(' '), "dtpBudgetDate lvwStuffer cmdStuff cmdUndoStuff cmdEdit cmdClose cmdHelp");

        ListView* list = listOf(stuffer);
        const auto budget = [](const char* amount) {
            return [amount](QDialog* dialog) {
                auto* box = dialog->findChild<QLineEdit*>("txtBudget");
                QTest::keyClicks(box, amount);
                QTest::keyClick(box, Qt::Key_Return);
                QVERIFY(!dialog->isVisible());
            };
        };
        list->setFocus();
        inModal([&] { QTest::keyClick(list, Qt::Key_Return); }, budget("1"));
        QTest::keyClick(list, Qt::Key_Down);
        inModal([&] { QTest::keyClick(list, Qt::Key_Enter); }, budget("2"));
        const QPoint at = list->visualRect(list->currentIndex().sibling(2, 2)).center();
        QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, at);
        inModal([&] { QTest::mouseDClick(list->viewport(), Qt::LeftButton, {}, at); }, budget("3"));
        QCOMPARE(program.rows("select envelope, budget from tbl_envelopes order by envelope"),
                 QStringList({"Car|1", "Food|2", "Old|0", "Rent|3"}));

        // The pop-up menu, by the right button.
        QTest::mouseClick(list->viewport(), Qt::RightButton, {}, at);
        auto* menu = stuffer->findChild<QMenu*>("mnuBudget");
        QVERIFY(menu->isVisible());
        QCOMPARE(menu->actions().value(0)->text(), "&Edit Budget...");
        inModal([&] { QTest::keyClick(menu, Qt::Key_E); }, budget("4"));
        QCOMPARE(budgetOf("Rent"), "4");

        // A date still being typed counts; a mnemonic does not leave the box.
        type(stuffer, "dtpBudgetDate", "2/29/28");
        stuffer->findChild<QPushButton*>("cmdStuff")->click();
        QCOMPARE(program.rows("select max(item_date) from tbl_items"), QStringList({"2/29/2028"}));
        QCOMPARE(stuffer->findChild<controls::DatePicker*>("dtpBudgetDate")->text(), "02/29/2028");
        QTest::keyClick(list, Qt::Key_Escape);
        QVERIFY(!stuffer->isVisible());
    });
    QCOMPARE(program.dialogs.takeMessage().text, "3 budget items created.");
    QCOMPARE(program.dialogs.problems(), QStringList());
}

void tst_stuffer::mainWindowAfterwards_data() {
    QTest::addColumn<QString>("selected");
    QTest::addColumn<int>("items");
    QTest::addColumn<QString>("caption");

    QTest::newRow("the root") << "Envelopes" << 5 << "All Envelopes = $2,050.50";
    QTest::newRow("an envelope") << "Rent" << 2 << "Rent Envelope = $1,850.00";
    QTest::newRow("one named like the root's key") << "r" << 0 << "r Envelope = $0.00";
}

void tst_stuffer::mainWindowAfterwards() {
    QFETCH(QString, selected);
    QFETCH(int, items);
    QFETCH(QString, caption);
    Program program;
    makeHome(program);
    execute("update tbl_envelopes set envelope = 'r' where envelope = 'Old'");
    program.trigger("mnuFileClose");
    program.open("Home.mdb");
    program.select(selected);
    program.dialogs.answer(controls::MsgAnswer::Ok);
    program.inDialog("mnuToolsStuffer", [&](QDialog* stuffer) {
        execute("insert into tbl_envelopes (envelope) values ('New')");
        click(stuffer, "cmdStuff");
        QCOMPARE(program.envelopes(), QStringList({"Car", "Food", "New", "r", "Rent"}));
    });
    QCOMPARE(program.tree()->nodeText(program.tree()->selectedNode()), selected);
    QCOMPARE(program.tree()->selectedNode() == 1, program.main.strEnvelope.isEmpty());
    QVERIFY(program.tree()->isNodeExpanded(1));
    QCOMPARE(program.caption("lblEnvelopes"), "Budget Total = $2,050.50");
    QCOMPARE(program.caption("lblItems"), caption);
    QCOMPARE(program.caption("stbMainPanel2"), "5 Envelope(s)");
    QCOMPARE(program.command("mnuItemAdd")->isEnabled(), selected != "Envelopes");
    QCOMPARE(program.list()->rowCount(), items);
    QCOMPARE(program.dialogs.problems(), QStringList());
}

// A file that may not be written: each command says so, and the list goes on saying what the file says.
void tst_stuffer::neverWritten() {
    Program program;
    makeHome(program);
    objDatabase->objCnn()->Close();
    objDatabase->objCnn()->Open("Provider=Microsoft.Jet.OLEDB.4.0;Mode=Read;Data Source=" + strDatabasePath +
                                ";Jet OLEDB:Database Password=" + strPassword + ";");
    for (int i = 0; i < 3; ++i)
        program.dialogs.answer(controls::MsgAnswer::Ok);
    program.inDialog("mnuToolsStuffer", [&](QDialog* stuffer) {
        const QStringList before = shown(stuffer);
        click(stuffer, "cmdStuff");
        click(stuffer, "cmdUndoStuff");
        editRow(stuffer, 0, [&](QDialog* dialog) {
            type(dialog, "txtBudget", "77");
            click(dialog, "cmdOk");
            QVERIFY(dialog->isVisible());
            QCOMPARE(dialog->findChild<QLineEdit*>("txtBudget")->text(), "77");
        });
        QCOMPARE(shown(stuffer), before);
        QVERIFY(QApplication::overrideCursor() == nullptr);
    });
    for (int i = 0; i < 3; ++i)
        QCOMPARE(program.dialogs.takeMessage().text, "Error #: -2147467259\rOperation must use an updateable query.");
    QCOMPARE(program.rows(kAllocations), QStringList());
    QCOMPARE(program.rows("select count(*) from tbl_items"), QStringList({"3"}));
    QCOMPARE(program.dialogs.problems(), QStringList());
}

void tst_stuffer::totalsThatFail_data() {
    QTest::addColumn<QString>("budget");
    QTest::addColumn<QString>("row");
    QTest::addColumn<QString>("message");
    QTest::addColumn<int>("times");

    // No message for a large amount that can still be added.
    QTest::newRow("large") << "1e15"
                           << "$1,000,000,000,000,000.00" << QString() << 0;
    QTest::newRow("too large together") << "1.5e308" << QString() << "Error #: 6\rOverflow" << 1;
    QTest::newRow("no budget") << "null"
                               << "" << QString() << 0;
}

// Whatever the file says the window opens, and the budget can be mended there.
void tst_stuffer::totalsThatFail() {
    QFETCH(QString, budget);
    QFETCH(QString, row);
    QFETCH(QString, message);
    QFETCH(int, times);
    Program program;
    makeHome(program);
    for (const char* envelope : {"Food", "Rent"})
        setBudget(envelope, budget);
    for (int i = 0; i < times; ++i)
        program.dialogs.answer(controls::MsgAnswer::Ok);
    program.inDialog("mnuToolsStuffer", [&](QDialog* stuffer) {
        QCOMPARE(listOf(stuffer)->rowCount(), 3);
        if (!row.isNull())
            QCOMPARE(listOf(stuffer)->text(1, 1), row);
        setRowBudget(stuffer, 1, "1");
        setRowBudget(stuffer, 2, "2");
        QCOMPARE(totals(stuffer), "$3.00|$900.00|$903.00");
        QVERIFY(stuffer->width() < 1000);
    });
    while (program.dialogs.messageCount() > 0)
        QCOMPARE(program.dialogs.takeMessage().text, message);
    QCOMPARE(program.dialogs.problems(), QStringList());
}

QTEST_MAIN(tst_stuffer)
#include "tst_stuffer.moc"
