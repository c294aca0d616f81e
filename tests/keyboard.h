// SPDX-License-Identifier: MIT
// The keyboard of a test: keys go to whatever has the focus. They are Qt's own key events, or, where COINVALE_KEYS
// names a delay in milliseconds, real ones of the X server, typed by xdotool at that pace while the program is now and
// then too busy to listen.
#pragma once

#include <QApplication>
#include <QKeyEvent>
#include <QProcess>
#include <QTest>
#include <QThread>
#include <QTimer>
#include <QWindow>
#include <functional>
#include "activate.h"

class Keyboard : public QObject {
 public:
    Keyboard() {
        if (!real())
            return;
        m_server.start("xdotool", {"-"});
        qApp->installEventFilter(this);
    }

    [[nodiscard]] static bool real() { return qEnvironmentVariableIsSet("COINVALE_KEYS"); }

    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) {
        if (!real())
            return QTest::keyClick(focus(), key, modifiers);
        send({prefix(modifiers) + name(key)});
    }
    void type(const QString& text) {
        if (real()) {
            QStringList names;
            for (const QChar c : text)
                names << (c == '\n' ? "Return" : QString("U%1").arg(c.unicode(), 4, 16, QChar('0')));
            if (!names.isEmpty())
                send(names);
            return;
        }
        for (const QChar c : text)
            if (c == '\n')
                QTest::keyClick(focus(), Qt::Key_Return);
            else if (c.unicode() < 0x80)
                QTest::keyClick(focus(), c.toLatin1());
            else
                QTest::sendKeyEvent(QTest::Click, focus(), Qt::Key_unknown, QString(c), Qt::NoModifier);
    }

    bool eventFilter(QObject* watched, QEvent* event) override {
        const bool down = event->type() == QEvent::ShortcutOverride;
        if ((down || event->type() == QEvent::KeyRelease) && watched->isWindowType()) {
            const int key = static_cast<QKeyEvent*>(event)->key();
            if (key != Qt::Key_Shift && key != Qt::Key_Control && key != Qt::Key_Alt)
                ++(down ? m_arrived : m_released);
        }
        return false;
    }

 private:
    static QWidget* focus() {
        if (QWidget* popup = QApplication::activePopupWidget())
            return popup;
        // Without a window manager a window that closes leaves none active.
        QWidget* top = QApplication::activeModalWidget();
        for (QWidget* widget : QApplication::topLevelWidgets())
            if (top == nullptr && widget->inherits("QMainWindow") && widget->isVisible())
                top = widget;
        if (top != nullptr && QApplication::activeWindow() != top)
            activate(top);
        return QApplication::focusWidget() != nullptr ? QApplication::focusWidget() : top;
    }
    static QString prefix(Qt::KeyboardModifiers modifiers) {
        return QString(modifiers.testFlag(Qt::AltModifier) ? "alt+" : "") +
               (modifiers.testFlag(Qt::ControlModifier) ? "ctrl+" : "") +
               (modifiers.testFlag(Qt::ShiftModifier) ? "shift+" : "");
    }
    static QString name(Qt::Key key) {
        if (key >= Qt::Key_A && key <= Qt::Key_Z)
            return QString(QChar(key)).toLower();
        switch (key) {
            case Qt::Key_Return:
                return "Return";
            case Qt::Key_Escape:
                return "Escape";
            case Qt::Key_Space:
                return "space";
            default:
                return QKeySequence(key).toString().replace("Del", "Delete");
        }
    }

    // Returns when all keys have been dealt with; a dialog that they open and close is gone by then.
    void send(const QStringList& names) {
        (void)QTest::qWaitFor([] {
            const QWidget* modal = QApplication::activeModalWidget();
            const QWindow* window = QGuiApplication::focusWindow();
            return window != nullptr && (modal == nullptr || QApplication::activePopupWidget() != nullptr ||
                                         window == modal->windowHandle());
        });
        const int count = static_cast<int>(names.size());
        const int expected = m_arrived + count;
        const int released = m_released + count;
        m_server.write("key --delay " + qgetenv("COINVALE_KEYS") + " " + names.join(' ').toLatin1() + "\n");
        m_server.waitForBytesWritten();
        if (++m_sent % 3 == 0)
            QThread::msleep(20 + static_cast<unsigned>(m_sent % 7) * 20);
        QVERIFY2(QTest::qWaitFor([&] { return m_arrived >= expected; }, 10000), qPrintable(names.join(' ')));
        // A button is pressed when Space comes up again. That may also go to a window that is gone by then.
        (void)QTest::qWaitFor([&] { return m_released >= released; }, 100);
    }

    QProcess m_server;
    int m_arrived = 0;
    int m_released = 0;
    int m_sent = 0;
};
