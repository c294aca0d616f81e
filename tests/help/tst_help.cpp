// SPDX-License-Identifier: MIT
// Every way to the help from the program's windows, over the help file as it is built.
#include <QTabWidget>
#include <QTextBlock>
#include <QTextBrowser>
#include <QToolBar>
#include <QToolButton>

#include "activate.h"
#include "help/basHelp.h"
#include "htmlhelp/html_help.h"
#include "program.h"

class tst_help : public QObject {
    Q_OBJECT

 private slots:
    void init() { strHelpFile = HELP_FILE; }
    void cleanup() { htmlhelp::closeHelp(); }
    void mainWindow_data();
    void mainWindow();
    void dialogs_data();
    void dialogs();
    void editBudget();
    void preview();
    void aboutBox();
    void withoutHelpFile_data();
    void withoutHelpFile();
};

namespace {

QWidget* helpWindow() {
    for (QWidget* widget : QApplication::topLevelWidgets())
        if (widget->objectName() == "frmHelp" && widget->isVisible())
            return widget;
    return nullptr;
}

// The heading of the page shown, and the side beside it; empty without a help window.
QString shown() {
    QWidget* help = helpWindow();
    if (help == nullptr)
        return {};
    auto* sides = help->findChild<QTabWidget*>("tabHelp");
    return help->findChild<QTextBrowser*>("txtPage")->document()->firstBlock().text() + ", " +
           sides->tabText(sides->currentIndex()).remove('&');
}

void makeHome(Program& program) {
    program.openNew("Home.mdb");
    program.addEnvelope("Rent", "5");
    program.select("Rent");
}

}  // namespace

void tst_help::mainWindow_data() {
    QTest::addColumn<QString>("command");
    QTest::addColumn<QString>("expected");
    QTest::newRow("contents") << "mnuHelpContents"
                              << "Overview, Contents";
    QTest::newRow("index") << "mnuHelpIndex"
                           << "Overview, Index";
    QTest::newRow("license") << "mnuHelpLicense"
                             << "License, Contents";
    QTest::newRow("toolbar") << "tlbMain_Help"
                             << "Overview, Contents";
    QTest::newRow("F1") << ""
                        << "The main window, Contents";
}

void tst_help::mainWindow() {
    QFETCH(QString, command);
    Program program;
    if (command.isEmpty())
        QTest::keyClick(program.list(), Qt::Key_F1);
    else
        program.trigger(qPrintable(command));
    QTEST(shown(), "expected");
    QCOMPARE(program.dialogs.problems(), QStringList());
}

void tst_help::dialogs_data() {
    QTest::addColumn<QString>("command");
    QTest::addColumn<QString>("expected");
    QTest::newRow("envelope") << "mnuEnvelopeAdd"
                              << "Envelopes, Contents";
    QTest::newRow("new item") << "mnuItemAdd"
                              << "Items and transfers, Contents";
    QTest::newRow("item") << "mnuItemEdit"
                          << "Items and transfers, Contents";
    QTest::newRow("stuffer") << "mnuToolsStuffer"
                             << "The envelope stuffer, Contents";
    QTest::newRow("reports") << "mnuToolsReports"
                             << "Reports, Contents";
    QTest::newRow("find") << "mnuItemFind"
                          << "Finding an item, Contents";
}

void tst_help::dialogs() {
    QFETCH(QString, command);
    QFETCH(QString, expected);
    Program program;
    makeHome(program);
    program.inDialog(qPrintable(command), [&](QDialog* dialog) {
        click(dialog, "cmdHelp");
        QCOMPARE(shown(), expected);
        // The dialog goes on blocking the main window, and the help window neither of them.
        QVERIFY(dialog->isVisible());
        helpWindow()->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(helpWindow()));
        QTest::keyClick(helpWindow(), Qt::Key_Escape);
        QCOMPARE(shown(), "");

        activate(dialog);
        QTest::keyClick(dialog, Qt::Key_F1);
        QCOMPARE(shown(), expected);
    });
    // It stays when the dialog is gone.
    QCOMPARE(shown(), expected);
    QCOMPARE(program.dialogs.problems(), QStringList());
}

void tst_help::editBudget() {
    Program program;
    makeHome(program);
    program.inDialog("mnuToolsStuffer", [&](QDialog* stuffer) {
        inModal([&] { click(stuffer, "cmdEdit"); }, [&](QDialog* budget) { click(budget, "cmdHelp"); });
        QCOMPARE(shown(), "The envelope stuffer, Contents");
    });
}

void tst_help::preview() {
    Program program;
    makeHome(program);
    program.inDialog("mnuFilePreview", [](QDialog* preview) { QTest::keyClick(preview, Qt::Key_F1); });
    QCOMPARE(shown(), "Reports, Contents");
    QCOMPARE(helpWindow()->findChild<QTextBrowser*>("txtPage")->cursorForPosition({9, 30}).block().text(),
             "The preview");
}

void tst_help::aboutBox() {
    Program program;
    program.inDialog("mnuHelpAbout", [](QDialog* about) { click(about, "cmdLicense"); });
    QCOMPARE(shown(), "License, Contents");
    program.inDialog("mnuHelpAbout", [](QDialog* about) { QTest::keyClick(about, Qt::Key_F1); });
    QCOMPARE(shown(), "Overview, Contents");
}

void tst_help::withoutHelpFile_data() {
    QTest::addColumn<QByteArray>("bytes");  // null: no file
    QTest::newRow("missing") << QByteArray();
    QTest::newRow("empty") << QByteArray("");
    QTest::newRow("something else") << QByteArray(20000, 'x');
}

// The program goes on, without a word.
void tst_help::withoutHelpFile() {
    QFETCH(QByteArray, bytes);
    Program program;
    strHelpFile = program.path("Coinvale.chm");
    if (!bytes.isNull()) {
        QFile file(strHelpFile);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
    }
    for (const char* command : {"mnuHelpContents", "mnuHelpIndex", "mnuHelpLicense"}) {
        program.trigger(command);
        QCOMPARE(shown(), "");
    }
    QCOMPARE(program.dialogs.messageCount(), 0);
    program.openNew("Home.mdb");
    QVERIFY(blnDatabaseOpen);
}

QTEST_MAIN(tst_help)
#include "tst_help.moc"
