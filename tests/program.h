// SPDX-License-Identifier: MIT
// Program drives the real main window for tests: menus by name, dialogs by their controls, answers queued beforehand.
//
//     Program program;
//     program.openNew("Home.mdb");
//     program.inDialog("mnuEnvelopeAdd", [](QDialog* dlg) { type(dlg, "txtEnvelope", "Rent"); click(dlg, "cmdOk"); });
//     QCOMPARE(program.envelopes(), QStringList({"Rent"}));
#pragma once

#include <QAction>
#include <QApplication>
#include <QDialog>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <functional>

#include "activate.h"
#include "ado/connection.h"
#include "controls/list_view.h"
#include "controls/testing.h"
#include "controls/tree_view.h"
#include "db/basMain.h"
#include "mainwindow/frmMain.h"
#include "vbrt/qstring.h"

// Types into a control as a user does: it gets the focus, its text is replaced.
inline void type(QWidget* parent, const char* name, const QString& text) {
    auto* control = parent->findChild<QWidget*>(name);
    QVERIFY2(control != nullptr, name);
    control->setFocus();
    QTest::keyClick(control, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClick(control, Qt::Key_Delete);
    for (const QChar c : text) {
        if (c.unicode() < 0x80)
            QTest::keyClick(control, c.toLatin1());
        else  // keys of a US keyboard alone can be simulated; the rest comes as from an input method
            QTest::sendKeyEvent(QTest::Click, control, Qt::Key_unknown, QString(c), Qt::NoModifier);
    }
}

inline void click(QWidget* parent, const char* name) {
    auto* button = parent->findChild<QAbstractButton*>(name);
    QVERIFY2(button != nullptr && button->isEnabled(), name);
    // On the mark of a check box, which may be wider than what answers to a click.
    const bool check = qobject_cast<QPushButton*>(button) == nullptr;
    QTest::mouseClick(button, Qt::LeftButton, {}, check ? QPoint(8, button->height() / 2) : QPoint());
}

// Runs `work` in the modal dialog that `open` brings up. A dialog that is still there afterwards is a failure; it is
// closed so that the test goes on.
inline void inModal(const std::function<void()>& open, const std::function<void(QDialog*)>& work) {
    bool seen = false;
    const QWidget* before = QApplication::activeModalWidget();
    QTimer watch;
    QObject::connect(&watch, &QTimer::timeout, qApp, [&] {
        auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        if (dialog == nullptr || dialog == before)
            return;
        watch.stop();
        seen = true;
        (void)QTest::qWaitForWindowActive(dialog);
        activate(dialog);  // of two, one on the other, `offscreen` does not activate the second
        work(dialog);
        if (dialog->isVisible())
            dialog->reject();
    });
    watch.start(0);
    open();
    QVERIFY2(seen, "no dialog was shown");
}

class Program {
 public:
    Program() {
        QCoreApplication::setApplicationName("Coinvale");
        strPassword = "kqlmz47";
        strUserName = "admin";
        main.resize(1000, 700);
        main.show();
        activate(&main);
    }
    ~Program() {
        objDatabase.reset();
        strDatabasePath.clear();
        strDatabaseTitle.clear();
        blnDatabaseOpen = false;
    }

    QString path(const QString& name) const { return folder.filePath(name); }

    QAction* command(const char* name) { return main.findChild<QAction*>(name); }
    void trigger(const char* name) {
        QVERIFY2(command(name) != nullptr && command(name)->isEnabled(), name);
        command(name)->trigger();
    }
    void inDialog(const char* name, const std::function<void(QDialog*)>& work) {
        inModal([&] { trigger(name); }, work);
    }

    // File > New, which leaves no budget open.
    void create(const QString& name) {
        dialogs.choose(path(name));
        trigger("mnuFileNew");
    }
    void open(const QString& name) {
        dialogs.choose(path(name));
        trigger("mnuFileOpen");
    }
    // A new budget, open: the way there leads over a restart, for which forgetting the path stands.
    void openNew(const QString& name) {
        create(name);
        strDatabasePath.clear();
        open(name);
    }
    void addEnvelope(const QString& name, const QString& balance = {}) {
        inDialog("mnuEnvelopeAdd", [&](QDialog* dialog) {
            type(dialog, "txtEnvelope", name);
            type(dialog, "txtStartBal", balance);
            click(dialog, "cmdOk");
        });
    }

    controls::TreeView* tree() { return main.findChild<controls::TreeView*>("tvwEnvelopes"); }
    controls::ListView* list() { return main.findChild<controls::ListView*>("lvwItems"); }
    QString caption(const char* name) { return main.findChild<QLabel*>(name)->text(); }

    QStringList envelopes() {
        QStringList names;
        for (int node = 2; node <= tree()->nodeCount(); ++node)
            names << tree()->nodeText(node);
        return names;
    }
    // Clicks on the node with this text; the root is "Envelopes".
    void select(const QString& text) {
        for (int node = 1; node <= tree()->nodeCount(); ++node)
            if (tree()->nodeText(node) == text) {
                auto* item = tree()->findItems(text, Qt::MatchExactly | Qt::MatchRecursive).value(0);
                tree()->scrollToItem(item);
                const QRect rect = tree()->visualItemRect(item);
                QTest::mouseClick(tree()->viewport(), Qt::LeftButton, {}, rect.center());
                return;
            }
        QFAIL(qPrintable("no node " + text));
    }
    // The cells of one column.
    QStringList column(int column) {
        QStringList texts;
        for (int row = 0; row < list()->rowCount(); ++row)
            texts << list()->text(row, column);
        return texts;
    }
    // What the file says, one row a line, fields separated by "|".
    static QStringList rows(const QString& sql) {
        QStringList lines;
        const auto rs = objDatabase->objCnn()->Execute(sql);
        for (; !rs->AtEnd(); rs->MoveNext()) {
            QStringList fields;
            for (int i = 0; i < rs->FieldCount(); ++i)
                fields << (rs->isNull(i) ? "Null" : rs->text(i));
            lines << fields.join('|');
        }
        return lines;
    }

    QTemporaryDir folder;
    controls::DialogQueue dialogs;
    frmMain main;
};
