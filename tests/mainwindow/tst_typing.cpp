// SPDX-License-Identifier: MIT
// What is typed, key by key, into the boxes of every window, and what the file says then.
#include <QCheckBox>
#include <QComboBox>
#include <QMenu>
#include <QPlainTextEdit>
#include <QProcess>
#include <QStandardPaths>
#include <QToolButton>
#include <QWheelEvent>

#include "activate.h"
#include "controls/date_picker.h"
#include "program.h"
#include "rows.h"

class tst_typing : public QObject {
    Q_OBJECT

 private slots:
    void init() { vbrt::qt::setToday(QDate(2026, 11, 15)); }
    void dates_data();
    void dates();
    void dateLeft();
    void everyButton_data();
    void everyButton();
    void selectOnFocus();
    void wheel();
    void openRename_data();
    void openRename();
    void untouched();
    void vanished();
    void oldNames();
    void loneSign();
};

namespace {

void press(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) {
    QTest::keyClick(QApplication::focusWidget(), key, modifiers);
}

void keys(const QString& text) {
    for (const QChar c : text)
        QTest::keyClick(QApplication::focusWidget(), c.toLatin1());
}

void execute(const QString& sql) {
    objDatabase->objCnn()->Execute(sql);
}

void reopen(Program& program) {
    program.trigger("mnuFileClose");
    program.open("Home.mdb");
}

void item(const QString& envelope, double amount, const QString& more = {}, const QString& values = {}) {
    execute("insert into tbl_items (amount, envelope, transfer_id" + more + ") values (" + vbrt::qt::CStr(amount) +
            ", '" + envelope + "', 0" + values + ")");
}

void makeHome(Program& program) {
    program.openNew("Home.mdb");
    for (const char* name : {"Food", "Rent"})
        execute(QString("insert into tbl_envelopes (envelope, budget) values ('%1', 10)").arg(name));
    item("Rent", -5, ", item_date, payee", ", '11/15/2026', 'Landlord'");
    reopen(program);
    program.select("Rent");
}

// The date that a saved report names as the start of its range.
QString reportedFrom(const QString& path) {
    QProcess reader;
    reader.start("pdftotext", {"-layout", path, "-"});
    reader.waitForFinished();
    const QString text = QString::fromUtf8(reader.readAllStandardOutput());
    return text.section("Date Range:", 1).section('\n', 0, 0).section('-', 0, 0).trimmed();
}

struct DateBox {
    const char* name;
    const char* command;
    const char* box;
    // Types into the box, confirms as a user would, and says which date was then used; empty: none.
    QString (*confirm)(Program& program, QDialog* dialog);
};

const DateBox kDateBoxes[] = {
    {"Add Item", "mnuItemAdd", "dtpItemDate",
     [](Program& program, QDialog*) {
         press(Qt::Key_Return);
         return program.rows("select item_date from tbl_items where id > 1").value(0);
     }},
    {"Edit Item", "mnuItemEdit", "dtpItemDate",
     [](Program& program, QDialog* dialog) {
         click(dialog, "cmdOk");
         return dialog->isVisible() ? QString() : program.rows("select item_date from tbl_items").value(0);
     }},
    {"Stuffer", "mnuToolsStuffer", "dtpBudgetDate",
     [](Program& program, QDialog* dialog) {
         program.dialogs.answer(controls::MsgAnswer::Ok);
         click(dialog, "cmdStuff");
         dialog->reject();
         return program.rows("select item_date from tbl_items where payee = 'Budget Allocation'").value(0);
     }},
    {"Reports", "mnuToolsReports", "dtpFromDate",
     [](Program& program, QDialog*) {
         QTimer::singleShot(0, qApp, [&program] {
             auto* preview = qobject_cast<QDialog*>(QApplication::activeModalWidget());
             if (preview == nullptr || preview->findChildren<QToolButton*>().isEmpty())
                 return;
             program.dialogs.choose(program.path("Report.pdf"));
             for (auto* button : preview->findChildren<QToolButton*>())
                 if (button->defaultAction() != nullptr && button->defaultAction()->objectName() == "save_pdf")
                     button->click();
             preview->reject();
         });
         press(Qt::Key_Return);
         return reportedFrom(program.path("Report.pdf"));
     }},
};

}  // namespace

void tst_typing::dates_data() {
    addColumns<QString, QString>("typed", "read");
    const std::pair<const char*, const char*> table[] = {
        {"12/31/2025", "12/31/2025"},
        {"12-31-2025", "12/31/2025"},
        {"12.31.2025", "12/31/2025"},
        {"12 31 2025", "12/31/2025"},
        {"12312025", "12/31/2025"},
        {"123125", "12/31/2025"},
        {"1/2/26", "1/2/2026"},
        {"1-2-26", "1/2/2026"},
        {"1.2.26", "1/2/2026"},
        {"010227", "1/2/2027"},
        {"010527", "1/5/2027"},
        {"01/02/2026", "1/2/2026"},
        {"1-1-2024", "1/1/2024"},
        {"2025-12-31", "12/31/2025"},
        {"2024-01-31", "1/31/2024"},
        {"2025/12/31", "12/31/2025"},
        {"2025.12.31", "12/31/2025"},
        {"31/12/2025", "12/31/2025"},
        {"2/29/2024", "2/29/2024"},
        {"02292024", "2/29/2024"},
        {"022924", "2/29/2024"},
        {"2/29/28", "2/29/2028"},
        {"2/29/2000", "2/29/2000"},
        {"Jan 5, 2026", "1/5/2026"},
        {"January 5 2026", "1/5/2026"},
        {"5 jan 2026", "1/5/2026"},
        {"5-Jan-26", "1/5/2026"},
        {"Feb 29, 2024", "2/29/2024"},
        {"Sep 9", "9/9/2026"},
        {"1/2", "1/2/2026"},
        {"12-25", "12/25/2026"},
        {"  12/31/2025 ", "12/31/2025"},
        {"1/2/29", "1/2/2029"},
        {"1/2/30", "1/2/1930"},
        {"12/31/99", "12/31/1999"},
        {"1/1/100", ""},
        {"1/1/0100", "1/1/100"},
        {"1/1/1500", "1/1/1500"},
        {"12/31/9999", "12/31/9999"},
        {"", ""},
        {"2/30/2026", ""},
        {"02302026", ""},
        {"04312026", ""},
        {"2/29/2023", ""},
        {"02292023", ""},
        {"2/29/1900", ""},
        {"2/30", ""},
        {"13/1/26", ""},
        {"13/32/2025", ""},
        {"0/1/2026", ""},
        {"1/0/2026", ""},
        {"1/2/10000", ""},
        {"29 Feb 01", ""},
        {"Feb 30, 2026", ""},
        {"12/31/2025 10:00", ""},
        {"10:30", ""},
        {"45000", ""},
        {"2026", ""},
        {"1/2/3/4", ""},
        {"12//31", ""},
        {"12/31/202", ""},
        {"12/31/2025x", ""},
        {"-1", ""},
        {"tomorrow", ""},
    };
    for (const auto& [typed, read] : table)
        addRow(typed, QString(typed), QString(read));
}

// Every form of a date in every window.
void tst_typing::dates() {
    QFETCH(QString, typed);
    QFETCH(QString, read);
    for (const DateBox& window : kDateBoxes) {
        Program program;
        makeHome(program);
        if (read.isEmpty())
            program.dialogs.answer(controls::MsgAnswer::Ok);
        QString used;
        program.inDialog(window.command, [&](QDialog* dialog) {
            auto* box = dialog->findChild<controls::DatePicker*>(window.box);
            if (!box->isEnabled()) {
                dialog->findChild<QComboBox*>("cboDateRanges")->setFocus();
                keys("Custom");
            }
            while (!box->hasFocus())
                press(Qt::Key_Tab);
            press(Qt::Key_A, Qt::ControlModifier);
            press(Qt::Key_Delete);
            keys(typed);
            if (read.isEmpty()) {
                press(Qt::Key_Tab);
                QVERIFY2(box->hasFocus(), window.name);
                QCOMPARE(box->text(), typed);
                QCOMPARE(program.dialogs.takeMessage().title, "Error reading Date");
                program.dialogs.answer(controls::MsgAnswer::Ok);
            }
            used = window.confirm(program, dialog);
            if (read.isEmpty() && dialog->isVisible())
                QVERIFY2(box->hasFocus() && box->text() == typed, window.name);
        });
        QVERIFY2(used == read, qPrintable(QString(window.name) + ": " + used));
        if (read.isEmpty())
            QCOMPARE(program.dialogs.takeMessage().title, "Error reading Date");
    }
}

// Tab, Backtab and the calendar's keys; a button other than OK may be pressed whatever the box says.
void tst_typing::dateLeft() {
    Program program;
    makeHome(program);
    program.dialogs.answer(controls::MsgAnswer::Ok);
    program.inDialog("mnuItemAdd", [&](QDialog* dialog) {
        auto* box = dialog->findChild<controls::DatePicker*>("dtpItemDate");
        QVERIFY(box->hasFocus());
        keys("3/4/25");
        press(Qt::Key_Tab);
        QCOMPARE(QApplication::focusWidget()->objectName(), "txtItemNum");
        QCOMPARE(box->text(), "03/04/2025");
        press(Qt::Key_Backtab);
        QVERIFY(box->hasFocus());
        QCOMPARE(box->lineEdit()->selectedText(), "03/04/2025");
        press(Qt::Key_End);
        press(Qt::Key_Backspace);
        press(Qt::Key_Backspace);
        keys("31");
        press(Qt::Key_Up);
        QCOMPARE(box->text(), "03/04/2032");
        QTest::mouseClick(box->lineEdit(), Qt::LeftButton, {}, QPoint(4, box->height() / 2));
        QTest::qWait(QApplication::doubleClickInterval() + 50);
        QTest::mouseClick(box->lineEdit(), Qt::LeftButton, {}, QPoint(4, box->height() / 2));
        QCOMPARE(box->lineEdit()->cursorPosition(), 0);
        keys("x");
        QCOMPARE(box->text(), "x03/04/2032");
        press(Qt::Key_Return);
        QVERIFY(dialog->isVisible());
        QCOMPARE(program.dialogs.takeMessage().text,
                 "'x03/04/2032' is not a date.\rType month, day and year, for "
                 "example 12/31/2025.");
        click(dialog, "cmdCancel");
        QVERIFY(!dialog->isVisible());
    });
    QCOMPARE(program.rows("select count(*) from tbl_items"), QStringList({"1"}));
    QCOMPARE(program.dialogs.problems(), QStringList());
}

void tst_typing::everyButton_data() {
    addColumns<QString, QString, QString>("command", "inner", "standard");
    addRow("Add Envelope", "mnuEnvelopeAdd", "", "cmdOk");
    addRow("Add Item", "mnuItemAdd", "", "cmdOk");
    addRow("Edit Item", "mnuItemEdit", "", "cmdOk");
    addRow("Find", "mnuItemFind", "", "cmdFindNext");
    addRow("Stuffer", "mnuToolsStuffer", "", "");
    addRow("Edit Budget", "mnuToolsStuffer", "lvwStuffer", "cmdOk");
    addRow("Reports", "mnuToolsReports", "", "cmdPreview");
    addRow("Preview", "mnuFilePreview", "", "");
    addRow("About", "mnuHelpAbout", "", "cmdOk");
}

// Enter and Space press the button that has the focus and no other; elsewhere Enter presses the default one; Esc
// closes from every place.
void tst_typing::everyButton() {
    QFETCH(QString, command);
    QFETCH(QString, inner);
    QFETCH(QString, standard);
    Program program;
    makeHome(program);
    const auto inDialog = [&](const std::function<void(QDialog*)>& work) {
        program.inDialog(qPrintable(command), [&](QDialog* dialog) {
            if (inner.isEmpty())
                return work(dialog);
            auto* list = dialog->findChild<controls::ListView*>(inner);
            list->setFocus();
            list->selectRow(0);
            inModal([&] { QTest::keyClick(list, Qt::Key_Return); }, work);
        });
    };
    int stops = 0;
    inDialog([&](QDialog* dialog) {
        QStringList pressed;
        for (auto* button : dialog->findChildren<QAbstractButton*>()) {
            if (qobject_cast<QPushButton*>(button) == nullptr && qobject_cast<QToolButton*>(button) == nullptr)
                continue;
            button->disconnect(SIGNAL(clicked(bool)));
            connect(button, &QAbstractButton::clicked, button, [&, button] { pressed << button->objectName(); });
        }
        if (command == "mnuItemFind")
            keys("x");
        const QWidget* first = QApplication::focusWidget();
        do {
            auto* focus = QApplication::focusWidget();
            ++stops;
            pressed.clear();
            const bool button = qobject_cast<QPushButton*>(focus) != nullptr;
            // Boxes of several lines and lists have an Enter of their own.
            if (button || (qobject_cast<QAbstractScrollArea*>(focus) == nullptr && !standard.isEmpty())) {
                press(Qt::Key_Return);
                press(Qt::Key_Enter, Qt::KeypadModifier);
                if (button)
                    press(Qt::Key_Space);
                QVERIFY2(pressed == QStringList(button ? 3 : 2, button ? focus->objectName() : standard),
                         qPrintable(focus->objectName() + ": " + pressed.join(' ')));
            }
            QCOMPARE(QApplication::focusWidget(), focus);
            press(Qt::Key_Tab);
        } while (QApplication::focusWidget() != first && stops < 40);
    });
    QVERIFY2(stops < 40, "Tab goes round");
    for (int stop = 0; stop < stops; ++stop)
        inDialog([&](QDialog* dialog) {
            for (int i = 0; i < stop; ++i)
                press(Qt::Key_Tab);
            press(Qt::Key_Escape);
            QVERIFY2(!dialog->isVisible(), qPrintable(QString::number(stop)));
        });
    QCOMPARE(program.rows("select count(*), sum(amount) from tbl_items"), QStringList({"1|-5"}));
    QCOMPARE(program.rows("select count(*), sum(budget) from tbl_envelopes"), QStringList({"2|20"}));
}

// What is typed next replaces the text of a box that was just entered, and only then; keys that are waiting while the
// program is busy come as they were typed.
void tst_typing::selectOnFocus() {
    Program program;
    makeHome(program);
    program.dialogs.answer(controls::MsgAnswer::Ok);
    program.inDialog("mnuItemAdd", [&](QDialog* dialog) {
        auto* number = dialog->findChild<QLineEdit*>("txtItemNum");
        auto* amount = dialog->findChild<QLineEdit*>("txtAmount");
        auto* comment = dialog->findChild<QPlainTextEdit*>("txtComment");
        const auto post = [&](QWidget* target, Qt::Key key, const QString& text) {
            QCoreApplication::postEvent(target->window()->windowHandle(),
                                        new QKeyEvent(QEvent::KeyPress, key, {}, text));
        };
        press(Qt::Key_Tab);
        keys("12");
        // A stalled program: all keys wait, then come in one go.
        for (int i = 0; i < 2; ++i)
            post(dialog, Qt::Key_Tab, "\t");
        for (const QChar c : QString("34.56"))
            post(dialog, static_cast<Qt::Key>(c.toLatin1()), QString(c));
        QTest::qWait(20);
        QCOMPARE(number->text() + " " + amount->text(), "12 34.56");
        // The message box of the key filter neither moves the cursor nor selects.
        press(Qt::Key_A);
        QCOMPARE(program.dialogs.messageCount(), 1);
        keys("3");
        QCOMPARE(amount->text(), "34.56a3");

        QTest::mouseClick(comment->viewport(), Qt::LeftButton, {}, QPoint(5, 5));
        keys("one two");
        QMainWindow other;
        other.show();
        activate(&other);
        activate(dialog);
        QTRY_VERIFY(comment->hasFocus());
        keys("!");
        QCOMPARE(comment->toPlainText(), "one two!");
        QTest::mouseClick(amount, Qt::LeftButton, {}, QPoint(5, 5));
        QCOMPARE(amount->selectedText(), "34.56a3");
        QTest::mouseClick(comment->viewport(), Qt::LeftButton, {}, QPoint(5, 5));
        QCOMPARE(comment->textCursor().selectedText(), "one two!");
        // A letter with Alt that is no mnemonic types nothing.
        amount->setFocus();
        press(Qt::Key_Z, Qt::AltModifier);
        QCOMPARE(amount->text(), "34.56a3");
        press(Qt::Key_Escape);
    });
    QCOMPARE(program.dialogs.problems(), QStringList());
}

void tst_typing::wheel() {
    Program program;
    makeHome(program);
    for (const char* command : {"mnuItemAdd", "mnuToolsStuffer", "mnuToolsReports"})
        program.inDialog(command, [&](QDialog* dialog) {
            for (auto* box : dialog->findChildren<QComboBox*>()) {
                const QString before = box->currentText();
                const bool focused = box->hasFocus();
                QWheelEvent roll(QPointF(5, 5), box->mapToGlobal(QPointF(5, 5)), {}, {0, -120}, {}, {},
                                 Qt::NoScrollPhase, false);
                QCoreApplication::sendEvent(box, &roll);
                QVERIFY2(focused || box->currentText() == before, qPrintable(box->objectName()));
            }
        });
}

void tst_typing::openRename_data() {
    addColumns<int, QString>("way", "name");
    addRow("a command of a menu", 0, "House");
    addRow("a button of the toolbar", 1, "House");
    addRow("closing the window", 2, "House");
    addRow("a click elsewhere", 3, "House");
    addRow("Esc", 4, "Rent");
    addRow("Esc in a menu", 5, "Rent");
    addRow("Esc after Alt", 6, "Rent");
    addRow("Esc in a menu of the bar, and out of the bar", 7, "Rent");
}

// A name being typed in the tree is taken before a command runs; Esc gives it up.
void tst_typing::openRename() {
    QFETCH(int, way);
    QFETCH(QString, name);
    Program program;
    makeHome(program);
    program.tree()->setFocus();
    press(Qt::Key_F2);
    keys("House");
    QVERIFY(program.tree()->isEditing());
    const auto menu = [&] {
        auto* popup = program.main.findChild<QMenu*>("mnuItem");
        popup->popup(program.main.mapToGlobal(QPoint(50, 50)));
        return popup->isVisible() && program.tree()->isEditing() ? popup : nullptr;
    };
    const auto seen = [&](QDialog* dialog) {
        QVERIFY(!program.tree()->isEditing());
        QCOMPARE(dialog->findChild<QLineEdit*>("txtEnvelope")->text(), name);
        keys("1");
        dialog->reject();
    };
    if (way == 0)
        inModal([&] { QTest::keyClick(menu(), Qt::Key_A); }, seen);
    else if (way == 1)
        inModal([&] { program.trigger("tlbMain_Find"); }, [](QDialog* dialog) { dialog->reject(); });
    else if (way == 2)
        program.main.close();
    else if (way == 3)
        QTest::mouseClick(program.list()->viewport(), Qt::LeftButton, {}, QPoint(20, 100));
    else if (way == 5)
        QTest::keyClick(menu(), Qt::Key_Escape);
    else {
        if (way == 6)
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Alt);
        if (way == 7) {
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_I, Qt::AltModifier);
            QTest::keyClick(QApplication::activePopupWidget(), Qt::Key_Escape);
        }
        press(Qt::Key_Escape);
        QVERIFY(program.tree()->hasFocus());  // and not the bar
    }
    QVERIFY(!program.tree()->isEditing());
    QCOMPARE(program.rows("select envelope from tbl_envelopes order by envelope").join(' '),
             name == "House" ? "Food House" : "Food Rent");
    QCOMPARE(program.tree()->nodeText(program.tree()->selectedNode()), name);
    QCOMPARE(program.dialogs.problems(), QStringList());
}

// OK without a change writes what was there.
void tst_typing::untouched() {
    Program program;
    makeHome(program);
    const QString columns = ", item_date, item_num, payee, reconciled, comment";
    const QString nbsp(QChar::Nbsp);
    item("Rent", 1.005, columns, ", null, ' 7 ', '\t" + nbsp + "p', '*', ' a" + nbsp + "b \r\n\t'");
    item("Rent", 2, columns, ", '3/4/1500', '', 'x', '', '" + nbsp + "'");
    reopen(program);
    program.select("Rent");
    const QString all = "select item_date, item_num, payee, reconciled, comment, envelope from tbl_items order by id";
    const QStringList before = program.rows(all);
    for (const int id : {2, 3}) {
        program.list()->selectRow(program.list()->rowOfTag(id));
        program.inDialog("mnuItemEdit", [](QDialog*) { press(Qt::Key_Return); });
        QCOMPARE(program.rows(all), before);
    }
    // Typed, blanks at the ends go, and nothing else.
    program.list()->selectRow(program.list()->rowOfTag(1));
    program.inDialog("mnuItemEdit", [&](QDialog* dialog) {
        auto* comment = dialog->findChild<QPlainTextEdit*>("txtComment");
        comment->setFocus();
        comment->selectAll();
        comment->insertPlainText("  \t" + nbsp + "c \n ");
        click(dialog, "cmdOk");
    });
    QCOMPARE(program.rows("select comment from tbl_items where id = 1"), QStringList({"\t" + nbsp + "c \r\n"}));
    QCOMPARE(program.dialogs.problems(), QStringList());
}

// An item that is no longer in the budget: each command says so, and the list is loaded anew.
void tst_typing::vanished() {
    for (const char* command : {"mnuItemEdit", "mnuItemDelete", "mnuItemReconcile"}) {
        Program program;
        makeHome(program);
        item("Rent", 7);
        execute("delete * from tbl_items where id = 1");
        for (const auto answer : {controls::MsgAnswer::Yes, controls::MsgAnswer::Ok})
            if (qstrcmp(command, "mnuItemDelete") == 0 || answer == controls::MsgAnswer::Ok)
                program.dialogs.answer(answer);
        program.list()->selectRow(0);
        if (qstrcmp(command, "mnuItemEdit") == 0)
            program.inDialog(command, [&](QDialog* dialog) {
                dialog->findChild<QComboBox*>("cboTransfer")->setCurrentIndex(1);
                click(dialog, "cmdOk");
                QVERIFY(dialog->isVisible());
            });
        else
            program.trigger(command);
        QString text;
        while (program.dialogs.messageCount() > 0)
            text = program.dialogs.takeMessage().text;
        QCOMPARE(text, "Error #: 3021\rThe item is no longer in the budget.");
        QCOMPARE(program.column(4), QStringList({"$7.00"}));
        QCOMPARE(program.rows("select id, amount, transfer_id from tbl_items"), QStringList({"2|7|0"}));
        QCOMPARE(program.dialogs.problems(), QStringList());
    }
}

// Names of old budgets: a blank in front, none at all. Items and transfers stay where they are.
void tst_typing::oldNames() {
    Program program;
    makeHome(program);
    execute("update tbl_envelopes set envelope = ' Rent' where envelope = 'Food'");
    const QString all = "select id, amount, envelope, transfer_id from tbl_items order by id";
    reopen(program);
    program.select(" Rent");
    program.inDialog("mnuItemAdd", [](QDialog* dialog) {
        type(dialog, "txtAmount", "3");
        dialog->findChild<QComboBox*>("cboTransfer")->setCurrentText("Rent");
        click(dialog, "cmdOk");
    });
    QCOMPARE(program.rows(all), QStringList({"1|-5|Rent|0", "2|-3| Rent|3", "3|3|Rent|2"}));
    // A pair within one envelope, as it may be in such a budget, stays a pair.
    execute("update tbl_items set envelope = 'Rent' where id = 2");
    program.select("Rent");
    program.list()->selectRow(program.list()->rowOfTag(3));
    program.inDialog("mnuItemEdit", [](QDialog* dialog) {
        type(dialog, "txtAmount", "4");
        click(dialog, "cmdOk");
    });
    QCOMPARE(program.rows(all), QStringList({"1|-5|Rent|0", "2|-4|Rent|3", "3|4|Rent|2"}));
    QCOMPARE(program.dialogs.problems(), QStringList());
}

// An amount that is only a sign: the envelope stands without its item, and the tree says so.
void tst_typing::loneSign() {
    for (const char* amount : {"-", "."}) {
        Program program;
        makeHome(program);
        if (*amount == '-')  // the key filter does not like it, and types it
            program.dialogs.answer(controls::MsgAnswer::Ok);
        program.dialogs.answer(controls::MsgAnswer::Ok);
        program.inDialog("mnuEnvelopeAdd", [&](QDialog* dialog) {
            keys("Gifts");
            press(Qt::Key_Tab);
            keys(amount);
            press(Qt::Key_Return);
            QVERIFY(dialog->isVisible());
        });
        QCOMPARE(program.dialogs.takeMessage().text, "Error #: 13\rType mismatch");
        QCOMPARE(program.envelopes(), QStringList({"Food", "Rent", "Gifts"}));
        QCOMPARE(program.rows("select count(*) from tbl_items"), QStringList({"1"}));
        QCOMPARE(program.tree()->nodeText(program.tree()->selectedNode()), "Gifts");
        QVERIFY(program.command("mnuItemAdd")->isEnabled());
        QCOMPARE(program.dialogs.problems(), QStringList());
    }
}

QTEST_MAIN(tst_typing)
#include "tst_typing.moc"
