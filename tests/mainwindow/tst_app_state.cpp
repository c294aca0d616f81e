// SPDX-License-Identifier: MIT
#include <QTest>

#include "mainwindow/basAppState.h"
#include "mainwindow/basLayout.h"

class tst_app_state : public QObject {
    Q_OBJECT

 private slots:
    void enabled_data();
    void enabled();
    void layout_data();
    void layout();
};

// The commands that have a rule and are enabled, in alphabetical order.
void tst_app_state::enabled_data() {
    QTest::addColumn<bool>("open");
    QTest::addColumn<bool>("envelopes");
    QTest::addColumn<bool>("root");
    QTest::addColumn<bool>("envelope");
    QTest::addColumn<bool>("items");
    QTest::addColumn<QString>("enabled");

    const QString file = "mnuEnvelopeAdd mnuFileClose mnuFilePrintSetup mnuFileSaveAs mnuToolsCompact";
    QTest::newRow("at start") << false << false << false << false << false << "";
    QTest::newRow("an empty budget") << true << false << false << false << false << "Save As " + file;
    QTest::newRow("an empty budget, root selected") << true << false << true << false << false << "Save As " + file;
    QTest::newRow("root selected, no items")
        << true << true << true << false << false
        << "Preview Print Reports Save As " + file + " mnuFilePreview mnuFilePrint mnuToolsReports mnuToolsStuffer";
    QTest::newRow("root selected, items")
        << true << true << true << false << true
        << "Find Preview Print Reports Save As " + file +
               " mnuFilePreview mnuFilePrint mnuItemFind mnuToolsReports mnuToolsStuffer";
    QTest::newRow("an envelope without items")
        << true << true << false << true << false
        << "Preview Print Reports Save As " + file +
               " mnuEnvelopeDelete mnuEnvelopeRename mnuFilePreview mnuFilePrint mnuItemAdd mnuToolsReports "
               "mnuToolsStuffer";
    QTest::newRow("an envelope with items")
        << true << true << false << true << true
        << "Find Preview Print Reports Save As " + file +
               " mnuEnvelopeDelete mnuEnvelopeRename mnuFilePreview mnuFilePrint mnuItemAdd mnuItemDelete mnuItemEdit "
               "mnuItemFind mnuItemReconcile mnuToolsReports mnuToolsStuffer";
    QTest::newRow("closed, with rows left in the list")
        << false << false << false << false << true << "Find mnuItemDelete mnuItemEdit mnuItemFind mnuItemReconcile";
}

void tst_app_state::enabled() {
    QFETCH(bool, open);
    QFETCH(bool, envelopes);
    QFETCH(bool, root);
    QFETCH(bool, envelope);
    QFETCH(bool, items);
    QFETCH(QString, enabled);
    QStringList names;
    for (const QString& name : RuledCommands())
        if (CommandEnabled(name, {open, envelopes, root, envelope, items}))
            names << name;
    QStringList expected = enabled.replace("Save As", "Save_As").split(' ', Qt::SkipEmptyParts);
    expected.replaceInStrings("_", " ");
    names.sort();
    expected.sort();
    QCOMPARE(names, expected);
    for (const char* always : {"mnuFileNew", "mnuFileOpen", "mnuFileExit", "mnuViewToolbar", "mnuToolsCalculator",
                               "mnuHelpAbout", "New", "Open", "Exit", "Help"})
        QVERIFY2(CommandEnabled(always, {open, envelopes, root, envelope, items}), always);
}

void tst_app_state::layout_data() {
    QTest::addColumn<int>("height");
    QTest::addColumn<bool>("toolbar");
    QTest::addColumn<bool>("statusBar");
    QTest::addColumn<int>("listHeight");

    QTest::newRow("both bars") << 9000 << true << true << 7050;
    QTest::newRow("toolbar hidden") << 9000 << false << true << 7450;
    QTest::newRow("status bar hidden") << 9000 << true << false << 7350;
    QTest::newRow("both hidden") << 9000 << false << false << 7750;
    QTest::newRow("lower than the rest of the window") << 1000 << true << true << 950;
}

void tst_app_state::layout() {
    QFETCH(int, height);
    QFETCH(bool, toolbar);
    QFETCH(bool, statusBar);
    QFETCH(int, listHeight);
    const LayoutResult out = LayoutFor({height, 12000, toolbar, statusBar, 400, 300, 60});
    QCOMPARE(out.intListHeight, listHeight);
    QCOMPARE(out.intTreeWidth, 3600);
    QCOMPARE(out.intItemsWidth, 12000 - 3600 - 375);
    QCOMPARE(out.intItemsLeft, 60 + 3600 + 100);
}

QTEST_APPLESS_MAIN(tst_app_state)
#include "tst_app_state.moc"
