// SPDX-License-Identifier: MIT
#include <QTest>

#include "program.h"
#include "rows.h"

class tst_envelope : public QObject {
    Q_OBJECT

 private slots:
    void init() { vbrt::qt::setToday(vbrt::qt::DateSerial(2026, 11, 15)); }
    void add_data();
    void add();
    void refused_data();
    void refused();
    void failed_data();
    void failed();
    void keyboard();
    void rename_data();
    void rename();
    void renameFails_data();
    void renameFails();
    void erase();
};

void tst_envelope::add_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("balance");
    QTest::addColumn<QString>("amount");

    QTest::newRow("with a balance") << "Rent"
                                    << "1250.5"
                                    << "1250.5";
    QTest::newRow("without one") << "Savings"
                                 << ""
                                 << "0";
    QTest::newRow("more than two decimals") << "Food"
                                            << "12.345"
                                            << "12.34";
    QTest::newRow("a single quote") << "O'Brien's"
                                    << "1"
                                    << "1";
    QTest::newRow("an ampersand") << "Tom & Jerry"
                                  << "0.1"
                                  << "0.1";
    QTest::newRow("brackets and a bar") << "[a]!b|c"
                                        << "3"
                                        << "3";
    QTest::newRow("blanks at both ends") << "  in between "
                                         << "3"
                                         << "3";
    QTest::newRow("50 characters") << QString(50, 'x') << "3"
                                   << "3";
    QTest::newRow("accents") << QString::fromUtf8("Épargne à côté") << "3"
                             << "3";
    QTest::newRow("a large amount") << "Castle"
                                    << "123456789012.34"
                                    << "123456789012.34";
}

void tst_envelope::add() {
    QFETCH(QString, name);
    QFETCH(QString, balance);
    QFETCH(QString, amount);
    Program program;
    program.openNew("Home.mdb");
    program.addEnvelope(name, balance);

    QCOMPARE(program.dialogs.problems(), QStringList());
    QCOMPARE(program.envelopes(), QStringList({name}));
    QCOMPARE(program.main.strEnvelope, name);
    QCOMPARE(program.list()->rowCount(), 1);
    QCOMPARE(program.list()->text(0, 0), "11/15/2026");
    QCOMPARE(program.rows("select envelope, budget from tbl_envelopes"), QStringList({name + "|0"}));
    QCOMPARE(program.rows("select amount, comment, envelope, item_date, item_num, payee, reconciled, transfer_id "
                          "from tbl_items"),
             QStringList({amount + "|Start of Envelope.|" + name + "|11/15/2026|Null|Starting Balance|Null|0"}));
}

void tst_envelope::refused_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("left");
    QTest::addColumn<QString>("title");
    QTest::addColumn<QString>("text");

    const QString taken =
        "Cannot create new Envelope. An envelope with the name you specified already exists. "
        "Specify a different envelope name.";
    QTest::newRow("empty") << ""
                           << ""
                           << "Error adding new Envelope"
                           << "You must type an Envelope Name.";
    QTest::newRow("blanks only") << "   "
                                 << ""
                                 << "Error adding new Envelope"
                                 << "You must type an Envelope Name.";
    QTest::newRow("taken") << "Rent"
                           << "Rent"
                           << "Error naming Envelope" << taken;
    QTest::newRow("taken, in another case") << "rENT"
                                            << "rENT"
                                            << "Error naming Envelope" << taken;
}

void tst_envelope::refused() {
    QFETCH(QString, name);
    QFETCH(QString, left);
    QFETCH(QString, title);
    QFETCH(QString, text);
    Program program;
    program.openNew("Home.mdb");
    program.addEnvelope("Rent");
    program.dialogs.answer(controls::MsgAnswer::Ok);
    program.inDialog("mnuEnvelopeAdd", [&](QDialog* dialog) {
        type(dialog, "txtEnvelope", name);
        click(dialog, "cmdOk");
        QVERIFY(dialog->isVisible());
        QCOMPARE(dialog->findChild<QLineEdit*>("txtEnvelope")->text(), left);
        click(dialog, "cmdCancel");
    });
    const auto message = program.dialogs.takeMessage();
    QCOMPARE(message.title, title);
    QCOMPARE(message.text, text);
    QCOMPARE(message.icon, controls::MsgIcon::Critical);
    QCOMPARE(program.envelopes(), QStringList({"Rent"}));
    QCOMPARE(program.rows("select count(*) from tbl_items"), QStringList({"1"}));
    QCOMPARE(program.dialogs.problems(), QStringList());
}

void tst_envelope::failed_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("balance");
    QTest::addColumn<long>("number");
    QTest::addColumn<int>("envelopes");

    QTest::newRow("51 characters") << QString(51, 'x') << "" << -2147217833L << 0;
    QTest::newRow("a character that code page 1252 lacks") << QString::fromUtf8("Ł") << "" << -2147217913L << 0;
    // The envelope is there by then and stays without a starting balance.
    QTest::newRow("a lone point") << "Rent"
                                  << "." << 13L << 1;
}

void tst_envelope::failed() {
    QFETCH(QString, name);
    QFETCH(QString, balance);
    QFETCH(long, number);
    QFETCH(int, envelopes);
    Program program;
    program.openNew("Home.mdb");
    program.dialogs.answer(controls::MsgAnswer::Ok);
    program.inDialog("mnuEnvelopeAdd", [&](QDialog* dialog) {
        dialog->findChild<QLineEdit*>("txtEnvelope")->setText(name);
        type(dialog, "txtStartBal", balance);
        click(dialog, "cmdOk");
        QVERIFY(dialog->isVisible());
        QCOMPARE(dialog->findChild<QLineEdit*>("txtEnvelope")->text(), name);
        QCOMPARE(dialog->findChild<QLineEdit*>("txtStartBal")->text(), balance);
    });
    const auto message = program.dialogs.takeMessage();
    QCOMPARE(message.title, "Error");
    QVERIFY2(message.text.startsWith(QString("Error #: %1\r").arg(number)), qPrintable(message.text));
    QCOMPARE(program.rows("select count(*) from tbl_envelopes"), QStringList({QString::number(envelopes)}));
    QCOMPARE(program.rows("select count(*) from tbl_items"), QStringList({"0"}));
    QCOMPARE(program.dialogs.problems(), QStringList());
}

void tst_envelope::keyboard() {
    Program program;
    program.openNew("Home.mdb");
    program.inDialog("mnuEnvelopeAdd", [](QDialog* dialog) {
        QCOMPARE(QApplication::focusWidget()->objectName(), "txtEnvelope");
        QStringList order;
        for (int i = 0; i < 5; ++i) {
            order << QApplication::focusWidget()->objectName();
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        }
        QCOMPARE(order.join(' '), "txtEnvelope txtStartBal cmdOk cmdCancel cmdHelp");
        QTest::keyClicks(QApplication::focusWidget(), "Rent");
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
        QVERIFY(!dialog->isVisible());
    });
    QCOMPARE(program.envelopes(), QStringList({"Rent"}));
    program.inDialog("mnuEnvelopeAdd", [](QDialog* dialog) {
        QTest::keyClicks(QApplication::focusWidget(), "Nothing");
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Escape);
        QVERIFY(!dialog->isVisible());
    });
    QCOMPARE(program.rows("select envelope from tbl_envelopes"), QStringList({"Rent"}));
    QCOMPARE(program.dialogs.problems(), QStringList());
}

void tst_envelope::rename_data() {
    QTest::addColumn<QString>("newName");
    QTest::addColumn<QString>("result");
    QTest::addColumn<bool>("refused");

    QTest::newRow("another name") << "House"
                                  << "House" << false;
    QTest::newRow("a quote and an ampersand") << "Rent & Dad's"
                                              << "Rent & Dad's" << false;
    QTest::newRow("the same name") << "Rent"
                                   << "Rent" << false;
    QTest::newRow("taken") << "food"
                           << "Rent" << true;
    QTest::newRow("another case only") << "RENT"
                                       << "Rent" << true;
}

void tst_envelope::rename() {
    QFETCH(QString, newName);
    QFETCH(QString, result);
    QFETCH(bool, refused);
    Program program;
    program.openNew("Home.mdb");
    program.addEnvelope("Food", "1");
    program.addEnvelope("Rent", "5");
    if (refused)
        program.dialogs.answer(controls::MsgAnswer::Ok);

    program.tree()->setFocus();
    QTest::keyClick(program.tree(), Qt::Key_F2);
    QVERIFY(program.tree()->isEditing());
    auto* editor = program.tree()->findChild<QLineEdit*>();
    QVERIFY(editor != nullptr);
    editor->selectAll();
    QTest::keyClick(editor, Qt::Key_Delete);
    QTest::keyClicks(editor, newName);
    QTest::keyClick(editor, Qt::Key_Return);
    QTRY_VERIFY(!program.tree()->isEditing());

    if (refused) {
        const auto message = program.dialogs.takeMessage();
        QCOMPARE(message.title, "Error renaming Envelope");
        QCOMPARE(message.text,
                 "Cannot rename Envelope. An envelope with the name you specified already exists. "
                 "Specify a different envelope name.");
    }
    QCOMPARE(program.envelopes(), QStringList({"Food", result}));
    QCOMPARE(program.main.strEnvelope, result);
    QCOMPARE(program.rows("select envelope, amount from tbl_items order by id"),
             QStringList({"Food|1", result + "|5"}));
    QCOMPARE(program.column(6), QStringList({result}));
    QCOMPARE(program.dialogs.problems(), QStringList());
}

void tst_envelope::renameFails_data() {
    addColumns<QString, long>("newName", "number");
    addRow("51 characters", QString(51, 'y'), -2147217833L);
    addRow("empty", QString(), -2147467259L);
}

void tst_envelope::renameFails() {
    QFETCH(QString, newName);
    QFETCH(long, number);
    Program program;
    program.openNew("Home.mdb");
    program.addEnvelope("Rent", "5");
    program.dialogs.answer(controls::MsgAnswer::Ok);
    program.trigger("mnuEnvelopeRename");
    auto* editor = program.tree()->findChild<QLineEdit*>();
    QVERIFY(editor != nullptr);
    editor->setText(newName);
    QTest::keyClick(editor, Qt::Key_Return);
    QTRY_VERIFY(!program.tree()->isEditing());
    const QString text = program.dialogs.takeMessage().text;
    QVERIFY2(text.startsWith(QString("Error #: %1\r").arg(number)), qPrintable(text));
    // The tree goes on saying what the file says.
    QCOMPARE(program.envelopes(), QStringList({"Rent"}));
    QCOMPARE(program.rows("select envelope from tbl_items"), QStringList({"Rent"}));
    QCOMPARE(program.dialogs.problems(), QStringList());
}

void tst_envelope::erase() {
    Program program;
    program.openNew("Home.mdb");
    for (const char* name : {"Books", "Food", "Rent"})
        program.addEnvelope(name, "10");
    program.select("Food");

    program.dialogs.answer(controls::MsgAnswer::No);
    program.trigger("mnuEnvelopeDelete");
    const auto message = program.dialogs.takeMessage();
    QCOMPARE(message.text, "Are you sure you want to delete the envelope 'Food' and all of its items?");
    QCOMPARE(message.title, "Confirm Envelope Delete");
    QCOMPARE(message.icon, controls::MsgIcon::Exclamation);
    QCOMPARE(message.buttons, controls::MsgButtons::YesNo);
    QCOMPARE(program.envelopes(), QStringList({"Books", "Food", "Rent"}));

    // The next node is selected and its items are listed.
    program.dialogs.answer(controls::MsgAnswer::Yes);
    program.tree()->setFocus();
    QTest::keyClick(program.tree(), Qt::Key_Delete);
    QCOMPARE(program.envelopes(), QStringList({"Books", "Rent"}));
    QCOMPARE(program.main.strEnvelope, "Rent");
    QCOMPARE(program.column(6), QStringList({"Rent"}));
    QCOMPARE(program.rows("select envelope from tbl_items order by id"), QStringList({"Books", "Rent"}));
    QCOMPARE(program.caption("lblEnvelopes"), "Budget Total = $20.00");

    // Behind the last node the root is selected; there Delete and F2 do nothing.
    program.dialogs.answer(controls::MsgAnswer::Yes);
    program.trigger("mnuEnvelopeDelete");
    program.dialogs.answer(controls::MsgAnswer::Yes);
    if (program.main.strEnvelope.isEmpty())
        program.select("Books");
    program.trigger("mnuEnvelopeDelete");
    QCOMPARE(program.envelopes(), QStringList());
    QCOMPARE(program.main.strEnvelope, "");
    QCOMPARE(program.caption("lblItems"), "All Envelopes = $0.00");
    QTest::keyClick(program.tree(), Qt::Key_Delete);
    QTest::keyClick(program.tree(), Qt::Key_F2);
    QVERIFY(!program.tree()->isEditing());
    QCOMPARE(program.dialogs.problems(), QStringList());
}

QTEST_MAIN(tst_envelope)
#include "tst_envelope.moc"
