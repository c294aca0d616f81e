// SPDX-License-Identifier: MIT
#include "controls/message_box.h"

#include "controls/hourglass.h"
#include "controls/label.h"
#include "controls/testing.h"
#include "controls/twips.h"

#include <QApplication>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>
#include <QTimer>

using controls::DialogQueue;
using controls::MsgAnswer;
using controls::MsgBox;
using controls::MsgButtons;
using controls::MsgIcon;

Q_DECLARE_METATYPE(controls::MsgAnswer)
Q_DECLARE_METATYPE(controls::MsgButtons)
Q_DECLARE_METATYPE(controls::MsgIcon)

class tst_message_box : public QObject {
    Q_OBJECT

 private slots:
    void keys_data();
    void keys();
    void look_data();
    void look();
    void pointer();
    void queue();
    void queueWithoutAnswer_data();
    void queueWithoutAnswer();
    void captions_data();
    void captions();
    void longCaption();
    void twips();
};

namespace {

// Runs `look` on the message box that the next call opens.
template <typename F>
void whenShown(F look) {
    QTimer::singleShot(0, qApp, [look] {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        QVERIFY(box != nullptr);
        look(*box);
    });
}

}  // namespace

void tst_message_box::keys_data() {
    QTest::addColumn<MsgButtons>("buttons");
    QTest::addColumn<Qt::Key>("key");
    QTest::addColumn<MsgAnswer>("answer");
    QTest::newRow("OK, Enter") << MsgButtons::Ok << Qt::Key_Return << MsgAnswer::Ok;
    QTest::newRow("OK, Esc") << MsgButtons::Ok << Qt::Key_Escape << MsgAnswer::Ok;
    QTest::newRow("Yes/No, Enter") << MsgButtons::YesNo << Qt::Key_Return << MsgAnswer::Yes;
    QTest::newRow("Yes/No, Esc") << MsgButtons::YesNo << Qt::Key_Escape << MsgAnswer::No;
    QTest::newRow("OK/Cancel, Enter") << MsgButtons::OkCancel << Qt::Key_Return << MsgAnswer::Ok;
    QTest::newRow("OK/Cancel, Esc") << MsgButtons::OkCancel << Qt::Key_Escape << MsgAnswer::Cancel;
    QTest::newRow("Yes/No/Cancel, Enter") << MsgButtons::YesNoCancel << Qt::Key_Return << MsgAnswer::Yes;
    QTest::newRow("Yes/No/Cancel, Esc") << MsgButtons::YesNoCancel << Qt::Key_Escape << MsgAnswer::Cancel;
}

void tst_message_box::keys() {
    QFETCH(MsgButtons, buttons);
    QFETCH(Qt::Key, key);
    whenShown([key](QMessageBox& box) { QTest::keyClick(&box, key); });
    QTEST(MsgBox(nullptr, "Sure?", MsgIcon::Question, buttons, "Confirm"), "answer");
}

void tst_message_box::look_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("shown");
    QTest::newRow("carriage return") << "Error #: 5\rInvalid"
                                     << "Error #: 5\nInvalid";
    QTest::newRow("both") << "one\r\ntwo\nthree"
                          << "one\ntwo\nthree";
    QTest::newRow("looks like rich text") << "<b>Rent</b> & more"
                                          << "<b>Rent</b> & more";
}

void tst_message_box::look() {
    QFETCH(QString, text);
    whenShown([](QMessageBox& box) {
        QTEST(box.text(), "shown");
        QCOMPARE(box.textFormat(), Qt::PlainText);
        QCOMPARE(box.icon(), QMessageBox::Critical);
        QCOMPARE(box.windowTitle(), "Coinvale");
        QVERIFY(box.isModal());
        box.accept();
    });
    QGuiApplication::setApplicationDisplayName("Coinvale");
    MsgBox(nullptr, text, MsgIcon::Critical);
}

void tst_message_box::pointer() {
    const auto shape = [] {
        return QApplication::overrideCursor() ? QApplication::overrideCursor()->shape() : Qt::ArrowCursor;
    };
    {
        const controls::Hourglass outer;
        {
            const controls::Hourglass inner;
            QCOMPARE(shape(), Qt::WaitCursor);
        }
        QCOMPARE(shape(), Qt::WaitCursor);
        whenShown([&shape](QMessageBox& box) {
            QCOMPARE(shape(), Qt::ArrowCursor);
            box.accept();
        });
        MsgBox(nullptr, "text");
        QCOMPARE(shape(), Qt::WaitCursor);
        controls::restorePointer();
        QVERIFY(!controls::hourglassShown());
        QVERIFY(QApplication::overrideCursor() == nullptr);
        const controls::Hourglass later;
        QVERIFY(controls::hourglassShown());
    }
    QVERIFY(!controls::hourglassShown());
    QVERIFY(QApplication::overrideCursor() == nullptr);
}

void tst_message_box::queue() {
    DialogQueue dialogs;
    dialogs.answer(MsgAnswer::Yes);
    dialogs.answer(MsgAnswer::Ok);
    QCOMPARE(MsgBox(nullptr, "a\rb", MsgIcon::Exclamation, MsgButtons::YesNo, "Confirm"), MsgAnswer::Yes);
    QCOMPARE(MsgBox(nullptr, "done"), MsgAnswer::Ok);
    QCOMPARE(dialogs.messageCount(), 2);
    const controls::ShownMessage message = dialogs.takeMessage();
    QCOMPARE(message.text, "a\rb");
    QCOMPARE(message.title, "Confirm");
    QCOMPARE(message.icon, MsgIcon::Exclamation);
    QCOMPARE(message.buttons, MsgButtons::YesNo);
    QCOMPARE(dialogs.takeMessage().text, "done");
    QCOMPARE(dialogs.problems(), QStringList());

    dialogs.answer(MsgAnswer::Ok);  // nobody asks
    QCOMPARE(dialogs.problems().size(), 1);
}

void tst_message_box::queueWithoutAnswer_data() {
    QTest::addColumn<MsgButtons>("buttons");
    QTest::addColumn<MsgAnswer>("answer");
    QTest::newRow("OK") << MsgButtons::Ok << MsgAnswer::Ok;
    QTest::newRow("Yes/No") << MsgButtons::YesNo << MsgAnswer::No;
    QTest::newRow("Yes/No/Cancel") << MsgButtons::YesNoCancel << MsgAnswer::Cancel;
}

void tst_message_box::queueWithoutAnswer() {
    QFETCH(MsgButtons, buttons);
    DialogQueue dialogs;
    QTest::ignoreMessage(QtCriticalMsg, "message box without an answer: t: x");
    QTEST(MsgBox(nullptr, "x", MsgIcon::None, buttons, "t"), "answer");
    QCOMPARE(dialogs.problems(), QStringList("message box without an answer: t: x"));
    // An answer that is no button of the box is as bad as none.
    dialogs.answer(buttons == MsgButtons::Ok ? MsgAnswer::Yes : MsgAnswer::Ok);
    QTest::ignoreMessage(QtCriticalMsg, QRegularExpression("is no button"));
    QTEST(MsgBox(nullptr, "x", MsgIcon::None, buttons, "t"), "answer");
    QCOMPARE(dialogs.problems().size(), 2);
}

void tst_message_box::captions_data() {
    QTest::addColumn<QString>("caption");
    QTest::addColumn<QString>("shown");
    QTest::newRow("doubled") << "Tom && Jerry Envelope = $5.00"
                             << "Tom & Jerry Envelope = $5.00";
    QTest::newRow("access key without a buddy") << "Enve&lope:"
                                                << "Envelope:";
    QTest::newRow("three") << "a&&&b"
                           << "a&b";
    QTest::newRow("at the end") << "a&"
                                << "a";
    QTest::newRow("no rich text") << "<b>a</b>"
                                  << "<b>a</b>";
}

void tst_message_box::captions() {
    QFETCH(QString, caption);
    QLabel label;
    controls::setCaption(&label, caption);
    QTEST(label.text(), "shown");
    QCOMPARE(label.textFormat(), Qt::PlainText);
    QPushButton button;
    label.setBuddy(&button);
    controls::setCaption(&label, caption);
    QCOMPARE(label.text(), caption);
    label.setBuddy(nullptr);
    controls::setCaption(&label, controls::asCaption(caption));
    QCOMPARE(label.text(), caption);
}

// What is cut of a caption is its words; its amount only where there is no room for that alone.
void tst_message_box::longCaption() {
    controls::CaptionLabel label;
    const auto drawn = [&label](const QString& text, int width) {
        label.setText(text);
        label.resize(width, 20);
        return label.grab().toImage();
    };
    const QString whole = "Budget Total = $4,012.79";
    const QFontMetrics metrics = label.fontMetrics();
    const QString cut = QString("Budg") + QChar(0x2026) + " = $4,012.79";
    const int width = metrics.horizontalAdvance(whole);
    const int less = metrics.horizontalAdvance(cut) + 1;
    QVERIFY(drawn(whole, width) != drawn(cut, width));
    QCOMPARE(drawn(whole, less), drawn(cut, less));
    QCOMPARE(drawn(whole, width / 3), drawn(metrics.elidedText(whole, Qt::ElideRight, width / 3), width / 3));
}

void tst_message_box::twips() {
    static_assert(controls::twips(1950) == 130 && controls::twips(375) == 25);
    QCOMPARE(controls::twips(100), 7);  // 6.67
    QCOMPARE(controls::twips(97), 6);
    QCOMPARE(controls::twips(-100), -7);
    QCOMPARE(controls::toTwips(7), 105);
}

QTEST_MAIN(tst_message_box)
#include "tst_message_box.moc"
