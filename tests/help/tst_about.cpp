// SPDX-License-Identifier: MIT
#include <QLabel>
#include <QPushButton>
#include <QTest>
#include <QTimer>

#include "help/clsPicture.h"
#include "help/frmAbout.h"

class tst_about : public QObject {
    Q_OBJECT

 private slots:
    void texts();
    void pictures();
    void turns();
    void keys_data();
    void keys();
};

void tst_about::texts() {
    QCoreApplication::setApplicationName("Coinvale");
    QWidget owner;
    const frmAbout box(&owner);
    QCOMPARE(box.windowTitle(), "About Coinvale");
    QCOMPARE(box.findChild<QLabel*>("lblTitle")->text(), "Coinvale 2.0");
    QCOMPARE(box.parentWidget(), &owner);
    // The window it was opened from alone is blocked, so that a help window stays usable.
    QCOMPARE(box.windowModality(), Qt::WindowModal);
}

// Each picture is a drawing of its own, and sharp: at twice the scale it is not the one at single scale, enlarged.
void tst_about::pictures() {
    const frmAbout box(nullptr);
    QList<QImage> images;
    for (const char* name : {"imgAbout1", "imgAbout2", "imgAbout3"}) {
        auto* picture = box.findChild<clsPicture*>(name);
        QCOMPARE(picture->size(), QSize(220, 160));
        QImage image(440, 320, QImage::Format_ARGB32_Premultiplied);
        image.setDevicePixelRatio(2);
        image.fill(Qt::transparent);
        picture->render(&image, {}, {}, {});
        const QImage enlarged = image.scaled(220, 160, Qt::IgnoreAspectRatio, Qt::FastTransformation).scaled(440, 320);
        QVERIFY2(image != enlarged, name);
        for (const QImage& other : images)
            QVERIFY2(image != other, name);
        images << image;
    }
}

void tst_about::turns() {
    frmAbout box(nullptr);
    box.show();
    auto* timer = box.findChild<QTimer*>("tmrAbout");
    QVERIFY(timer->isActive());
    QCOMPARE(timer->interval(), 1000);
    timer->stop();  // from here on by hand
    const auto shown = [&] {
        QStringList names;
        for (const clsPicture* picture : box.findChildren<clsPicture*>())
            if (picture->isVisible())
                names << picture->objectName();
        return names.join(' ');
    };
    const QPoint place = box.findChild<clsPicture*>("imgAbout1")->pos();
    QCOMPARE(shown(), "imgAbout1");
    for (const char* name : {"imgAbout2", "imgAbout3", "imgAbout1", "imgAbout2"}) {
        QMetaObject::invokeMethod(timer, "timeout");
        QCOMPARE(shown(), name);
        QCOMPARE(box.findChild<clsPicture*>(name)->pos(), place);
    }
}

void tst_about::keys_data() {
    QTest::addColumn<Qt::Key>("key");
    QTest::addColumn<int>("result");
    QTest::newRow("Enter runs OK") << Qt::Key_Return << static_cast<int>(QDialog::Accepted);
    QTest::newRow("Escape closes") << Qt::Key_Escape << static_cast<int>(QDialog::Rejected);
}

void tst_about::keys() {
    QFETCH(Qt::Key, key);
    QFETCH(int, result);
    frmAbout box(nullptr);
    box.show();
    QVERIFY(QTest::qWaitForWindowActive(&box));
    QVERIFY(box.findChild<QPushButton*>("cmdOk")->isDefault());
    QTest::keyClick(&box, key);
    QVERIFY(!box.isVisible());
    QCOMPARE(box.result(), result);
}

QTEST_MAIN(tst_about)
#include "tst_about.moc"
