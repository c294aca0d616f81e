// SPDX-License-Identifier: MIT
#include <QLineEdit>
#include <QTest>

#include "controls/testing.h"
#include "ledger/basAmountFilter.h"

class tst_amount_filter : public QObject {
    Q_OBJECT

 private slots:
    void typed_data();
    void typed();
    void shortcuts();
};

void tst_amount_filter::typed_data() {
    QTest::addColumn<QString>("before");
    QTest::addColumn<bool>("selected");
    QTest::addColumn<QString>("keys");
    QTest::addColumn<QString>("after");
    QTest::addColumn<int>("reports");

    QTest::newRow("digits and a point") << "" << false << "12.50"
                                        << "12.50" << 0;
    QTest::newRow("a second point is dropped") << "" << false << "1.2.3"
                                               << "1.23" << 0;
    QTest::newRow("a point over a selected one is dropped") << "1.5" << true << "."
                                                            << "1.5" << 0;
    QTest::newRow("digits over a selected text") << "1.5" << true << "7"
                                                 << "7" << 0;
    QTest::newRow("a letter is reported and typed") << "" << false << "1a2"
                                                    << "1a2" << 1;
    QTest::newRow("a minus sign is reported and typed") << "" << false << "-5"
                                                        << "-5" << 1;
    QTest::newRow("a blank and a comma") << "" << false << "1 ,0"
                                         << "1 ,0" << 2;
    QTest::newRow("Backspace") << "12" << false << "\b"
                               << "1" << 0;
}

void tst_amount_filter::typed() {
    QFETCH(QString, before);
    QFETCH(bool, selected);
    QFETCH(QString, keys);
    QFETCH(QString, after);
    QFETCH(int, reports);
    controls::DialogQueue dialogs;
    for (int i = 0; i < reports; ++i)
        dialogs.answer(controls::MsgAnswer::Ok);
    QLineEdit box;
    new clsAmountFilter(&box);
    box.setText(before);
    if (selected)
        box.selectAll();
    for (const QChar key : keys)
        if (key == '\b')
            QTest::keyClick(&box, Qt::Key_Backspace);
        else
            QTest::keyClick(&box, key.toLatin1());
    QCOMPARE(box.text(), after);
    for (int i = 0; i < reports; ++i) {
        const auto message = dialogs.takeMessage();
        QCOMPARE(message.text, "Error #: 13\rType mismatch");
        QCOMPARE(message.title, "Error");
        QCOMPARE(message.icon, controls::MsgIcon::Exclamation);
    }
    QCOMPARE(dialogs.problems(), QStringList());
}

void tst_amount_filter::shortcuts() {
    controls::DialogQueue dialogs;
    QLineEdit box;
    new clsAmountFilter(&box);
    box.setText("12.5");
    QTest::keyClick(&box, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClick(&box, Qt::Key_X, Qt::ControlModifier);
    QTest::keyClick(&box, Qt::Key_V, Qt::ControlModifier);
    QTest::keyClick(&box, Qt::Key_Return);
    QTest::keyClick(&box, Qt::Key_Delete);
    QCOMPARE(box.text(), "12.5");
    QCOMPARE(dialogs.problems(), QStringList());
}

QTEST_MAIN(tst_amount_filter)
#include "tst_amount_filter.moc"
