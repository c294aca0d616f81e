// SPDX-License-Identifier: MIT
#include "controls/common_dialog.h"

#include "activate.h"
#include "controls/date_picker.h"
#include "controls/print_setup.h"
#include "controls/testing.h"
#include "vbrt/error.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QCalendarWidget>
#include <QComboBox>
#include <QFileDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QPrinter>
#include <QPrinterInfo>
#include <QProcess>
#include <QPushButton>
#include <QRadioButton>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <functional>

using controls::CommonDialog;
using controls::DialogQueue;
using controls::ShownDialog;

class tst_common_dialog : public QObject {
    Q_OBJECT

 private slots:
    void initTestCase();
    void propertiesStay();
    void defaultExtension_data();
    void defaultExtension();
    void printerInQueue();

    void typedName_data();
    void typedName();
    void cancelled();
    void overwrite_data();
    void overwrite();
    void filters();
    void filesListed();
    void noPrinter();
    void printSetup();
    void paperOfTheCountry();

    void datePickerKeys();

 private:
    // Does the steps one after the other, each on the modal window of its moment.
    static void inTurn(std::vector<std::function<void(QWidget&)>> steps);
    static void type(QWidget& window, const QString& name);

    QTemporaryDir m_folder;
    [[nodiscard]] QString path(const QString& name) const { return m_folder.filePath(name); }
};

void tst_common_dialog::initTestCase() {
    QVERIFY(m_folder.isValid());
    QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    for (const char* name : {"Home.mdb", "notes.txt", "OLD.MDB"}) {
        QFile file(path(name));
        QVERIFY(file.open(QIODevice::WriteOnly));
    }
    QVERIFY(QDir(m_folder.path()).mkdir("years"));
}

void tst_common_dialog::inTurn(std::vector<std::function<void(QWidget&)>> steps) {
    if (steps.empty())
        return;
    QTimer::singleShot(50, qApp, [steps = std::move(steps)] {
        QWidget* const window = QApplication::activeModalWidget();
        QVERIFY(window != nullptr);
        inTurn({steps.begin() + 1, steps.end()});
        steps.front()(*window);
    });
}

void tst_common_dialog::type(QWidget& window, const QString& name) {
    auto* edit = window.findChild<QLineEdit*>("fileNameEdit");
    QVERIFY(edit != nullptr);
    edit->setText(name);
    QTest::keyClick(edit, Qt::Key_Return);
}

void tst_common_dialog::propertiesStay() {
    DialogQueue dialogs;
    CommonDialog dialog;
    dialog.dialogTitle = "New Database";
    dialog.filter = "Databases (*.mdb) | *.mdb";
    dialog.flags = controls::kOverwritePrompt | controls::kHideReadOnly;
    dialog.defaultExt = ".mdb";
    dialog.initDir = m_folder.path();
    dialogs.choose("Home");
    QVERIFY(dialog.showSave());
    QCOMPARE(dialog.fileName, path("Home.mdb"));
    QCOMPARE(dialog.fileTitle, "Home.mdb");
    ShownDialog shown = dialogs.takeDialog();
    QCOMPARE(shown.kind, ShownDialog::Kind::Save);
    QCOMPARE(shown.fileName, "");
    QCOMPARE(shown.filter, "Databases (*.mdb) | *.mdb");
    QCOMPARE(shown.flags, 6);
    QCOMPARE(shown.initDir, m_folder.path());

    // The next use sees the title and the name of the last one; Cancel keeps the name and empties the title of the
    // file.
    dialog.flags = controls::kPathMustExist | controls::kHideReadOnly;
    dialogs.cancel();
    QVERIFY(!dialog.showOpen());
    shown = dialogs.takeDialog();
    QCOMPARE(shown.kind, ShownDialog::Kind::Open);
    QCOMPARE(shown.title, "New Database");
    QCOMPARE(shown.fileName, path("Home.mdb"));
    QCOMPARE(shown.flags, 2052);
    QCOMPARE(dialog.fileName, path("Home.mdb"));
    QCOMPARE(dialog.fileTitle, "");
    QCOMPARE(dialogs.problems(), QStringList());

    QTest::ignoreMessage(QtCriticalMsg, "dialog without an answer: New Database");
    QVERIFY(!dialog.showOpen());
    QCOMPARE(dialogs.problems().size(), 1);
}

void tst_common_dialog::defaultExtension_data() {
    QTest::addColumn<QString>("extension");
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("title");
    QTest::newRow("with a dot") << ".mdb"
                                << "Home"
                                << "Home.mdb";
    QTest::newRow("without a dot") << "mdb"
                                   << "Home"
                                   << "Home.mdb";
    QTest::newRow("already there") << ".mdb"
                                   << "Home.mdb"
                                   << "Home.mdb";
    QTest::newRow("another") << ".mdb"
                             << "Home.bak"
                             << "Home.bak";
    QTest::newRow("none to add") << ""
                                 << "Home"
                                 << "Home";
}

void tst_common_dialog::defaultExtension() {
    QFETCH(QString, extension);
    QFETCH(QString, typed);
    DialogQueue dialogs;
    CommonDialog dialog;
    dialog.defaultExt = extension;
    for (const QString& name : {typed, path(typed)}) {
        dialogs.choose(name);
        QVERIFY(dialog.showSave());
        QTEST(dialog.fileTitle, "title");
        QVERIFY(QFileInfo(dialog.fileName).isAbsolute());
    }
}

void tst_common_dialog::printerInQueue() {
    DialogQueue dialogs;
    CommonDialog dialog;
    dialog.fileTitle = "Home.mdb";
    dialog.flags = controls::kPrintSetup;
    dialogs.choose("");
    dialogs.cancel();
    QVERIFY(dialog.showPrinter());
    QVERIFY(!dialog.showPrinter());
    QCOMPARE(dialogs.takeDialog().kind, ShownDialog::Kind::Printer);
    QCOMPARE(dialogs.takeDialog().flags, 64);
    QCOMPARE(dialog.fileTitle, "Home.mdb");
    QCOMPARE(dialogs.problems(), QStringList());
}

void tst_common_dialog::typedName_data() {
    QTest::addColumn<bool>("save");
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("chosen");
    QTest::newRow("open an existing file") << false << "Home.mdb"
                                           << "Home.mdb";
    QTest::newRow("open one that does not exist") << false << "Nowhere.mdb"
                                                  << "Nowhere.mdb";
    QTest::newRow("open, extension added") << false << "Home"
                                           << "Home.mdb";
    QTest::newRow("save a new file") << true << "New.mdb"
                                     << "New.mdb";
    QTest::newRow("save, extension added") << true << "New"
                                           << "New.mdb";
}

void tst_common_dialog::typedName() {
    QFETCH(bool, save);
    QFETCH(QString, typed);
    QFETCH(QString, chosen);
    CommonDialog dialog;
    dialog.filter = "Databases (*.mdb) | *.mdb";
    dialog.flags = save ? 6 : 2052;
    dialog.defaultExt = ".mdb";
    dialog.initDir = m_folder.path();
    inTurn({[&typed](QWidget& window) { type(window, typed); }});
    QVERIFY(save ? dialog.showSave() : dialog.showOpen());
    QCOMPARE(dialog.fileName, path(chosen));
    QCOMPARE(dialog.fileTitle, chosen);
}

void tst_common_dialog::cancelled() {
    CommonDialog dialog;
    dialog.dialogTitle = "New Database";
    dialog.filter = "Databases (*.mdb)|*.mdb|All Files (*.*)|*.*";
    dialog.filterIndex = 2;
    dialog.fileName = path("years/2026.mdb");
    dialog.fileTitle = "2026.mdb";
    dialog.initDir = m_folder.path();
    dialog.flags = 2052;
    inTurn({[&](QWidget& window) {
        QCOMPARE(window.windowTitle(), "New Database");
        auto& files = dynamic_cast<QFileDialog&>(window);
        QCOMPARE(files.directory().dirName(), "years");  // the folder of the name offered
        QCOMPARE(window.findChild<QLineEdit*>("fileNameEdit")->text(), "2026.mdb");
        QCOMPARE(files.selectedNameFilter(), "All Files (*.*)");
        QTest::keyClick(&window, Qt::Key_Escape);
    }});
    QVERIFY(!dialog.showOpen());
    QCOMPARE(dialog.fileName, path("years/2026.mdb"));
    QCOMPARE(dialog.fileTitle, "");
    QCOMPARE(dialog.filterIndex, 2);
}

void tst_common_dialog::overwrite_data() {
    QTest::addColumn<int>("flags");
    QTest::addColumn<bool>("asks");
    QTest::addColumn<bool>("replaces");
    QTest::newRow("asked, no") << 6 << true << false;
    QTest::newRow("asked, yes") << 6 << true << true;
    QTest::newRow("not asked") << 4 << false << true;
}

void tst_common_dialog::overwrite() {
    QFETCH(int, flags);
    QFETCH(bool, asks);
    QFETCH(bool, replaces);
    CommonDialog dialog;
    dialog.flags = flags;
    dialog.defaultExt = ".mdb";
    dialog.initDir = m_folder.path();
    bool asked = false;
    std::vector<std::function<void(QWidget&)>> steps{[](QWidget& window) { type(window, "Home"); }};
    if (asks) {
        steps.emplace_back([&](QWidget& window) {
            asked = true;
            auto& box = dynamic_cast<QMessageBox&>(window);
            box.button(replaces ? QMessageBox::Yes : QMessageBox::No)->click();
        });
    }
    if (!replaces)
        steps.emplace_back([](QWidget& window) { QTest::keyClick(&window, Qt::Key_Escape); });
    inTurn(steps);
    QCOMPARE(dialog.showSave(), replaces);
    QCOMPARE(asked, asks);
    QCOMPARE(dialog.fileTitle, replaces ? "Home.mdb" : "");
}

void tst_common_dialog::filters() {
    CommonDialog dialog;
    dialog.initDir = m_folder.path();
    dialog.filter = "Both (*.mdb)|*.mdb; *.mda | All Files (*.*)|*.*|nothing";
    dialog.filterIndex = 9;
    inTurn({[](QWidget& window) {
        auto& files = dynamic_cast<QFileDialog&>(window);
        QCOMPARE(files.nameFilters(), QStringList({"Both (*.mdb *.mda)", "All Files (*.*)"}));
        files.selectNameFilter("All Files (*.*)");
        type(window, "notes.txt");
    }});
    QVERIFY(dialog.showOpen());
    QCOMPARE(dialog.filterIndex, 2);
}

// A pattern with a blank in front still finds its files, in capitals too, and nothing else.
void tst_common_dialog::filesListed() {
    CommonDialog dialog;
    dialog.initDir = m_folder.path();
    dialog.filter = "Databases (*.mdb) | *.mdb";
    QStringList listed;
    inTurn({[&listed](QWidget& window) {
        auto* view = window.findChild<QAbstractItemView*>("listView");
        QTRY_VERIFY(view->model()->rowCount(view->rootIndex()) >= 3);
        for (int row = 0; row < view->model()->rowCount(view->rootIndex()); ++row)
            listed += view->model()->index(row, 0, view->rootIndex()).data().toString();
        QTest::keyClick(&window, Qt::Key_Escape);
    }});
    QVERIFY(!dialog.showOpen());
    listed.sort();
    QCOMPARE(listed, QStringList({"Home.mdb", "OLD.MDB", "years"}));
}

void tst_common_dialog::noPrinter() {
    if (!QPrinterInfo::availablePrinterNames().isEmpty())
        QSKIP("a printer is installed here");
    CommonDialog dialog;
    for (const int flags : {0, controls::kPrintSetup}) {
        dialog.flags = flags;
        QString text;
        inTurn({[&text](QWidget& window) {
            text = dynamic_cast<QMessageBox&>(window).text();
            QTest::keyClick(&window, Qt::Key_Return);
        }});
        QVERIFY(!dialog.showPrinter());
        QVERIFY2(text.contains("No printer is installed"), qPrintable(text));
    }
    controls::printer().setPageOrientation(QPageLayout::Landscape);
    QCOMPARE(controls::printer().pageLayout().orientation(), QPageLayout::Landscape);
}

void tst_common_dialog::printSetup() {
    QPrinter& printer = controls::printer();
    const auto layout = [&printer] {
        return printer.pageLayout().pageSize().key() +
               (printer.pageLayout().orientation() == QPageLayout::Landscape ? " landscape" : " portrait");
    };
    printer.setPageSize(QPageSize(QPageSize::A4));
    printer.setPageOrientation(QPageLayout::Portrait);
    for (const bool ok : {false, true}) {
        controls::PrintSetup setup(printer);
        auto* const papers = setup.findChild<QComboBox*>("cboPaper");
        QCOMPARE(papers->currentText(), printer.pageLayout().pageSize().name());
        papers->setCurrentText(QPageSize::name(QPageSize::Legal));
        setup.findChild<QRadioButton*>("optLandscape")->setChecked(true);
        ok ? setup.accept() : setup.reject();
        QCOMPARE(layout(), ok ? "Legal landscape" : "A4 portrait");
    }
}

// Without a printer. Only a new process has another country.
void tst_common_dialog::paperOfTheCountry() {
    for (const auto& [country, paper] : {std::pair("en_US.UTF-8", "Letter"), std::pair("en_GB.UTF-8", "A4")}) {
        QProcess process;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("LC_ALL", country);
        process.setProcessEnvironment(environment);
        process.start(QCoreApplication::applicationFilePath(), {"--paper"});
        QVERIFY(process.waitForFinished());
        QCOMPARE(process.readAllStandardOutput().trimmed(), paper);
    }
}

void tst_common_dialog::datePickerKeys() {
    controls::DatePicker picker;
    QList<QDate> told;
    connect(&picker, &controls::DatePicker::dateChanged, &picker, [&told](QDate date) { told << date; });
    picker.setDate(QDate(2026, 1, 31));
    picker.show();
    activate(&picker);
    picker.setFocus();
    const auto press = [&picker](int cursor, Qt::Key key) {
        picker.lineEdit()->deselect();
        picker.lineEdit()->setCursorPosition(cursor);
        QTest::keyClick(&picker, key);
        return picker.text() + " " + picker.lineEdit()->selectedText();
    };
    QCOMPARE(press(1, Qt::Key_Up), "02/28/2026 02");
    QCOMPARE(press(3, Qt::Key_Down), "02/27/2026 27");
    QCOMPARE(press(10, Qt::Key_Down), "02/27/2025 2025");
    picker.lineEdit()->selectAll();
    QTest::keyClick(&picker, Qt::Key_Up);
    QCOMPARE(picker.text(), "02/28/2025");
    picker.setDate(QDate(9999, 12, 31));
    QCOMPARE(press(4, Qt::Key_Up), "12/31/9999 31");
    QCOMPARE(told.size(), 6);

    picker.lineEdit()->selectAll();
    QTest::keyClicks(&picker, "3/1/24");
    QTest::keyClick(&picker, Qt::Key_Down, Qt::AltModifier);
    auto* const calendar = picker.findChild<QCalendarWidget*>();
    QTRY_VERIFY(calendar != nullptr && calendar->isVisible());
    QCOMPARE(calendar->firstDayOfWeek(), Qt::Sunday);
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Escape);
    QVERIFY(!calendar->isVisible());
    QCOMPARE(picker.text(), "3/1/24");
    QTest::keyClick(&picker, Qt::Key_F4);
    QTRY_VERIFY(calendar->isVisible());
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Left);
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
    QTRY_VERIFY(!calendar->isVisible());
    QCOMPARE(picker.text(), "02/29/2024");
    QCOMPARE(told.last(), QDate(2024, 2, 29));
}

// With --paper it says which paper a report has that no printer is chosen for.
int main(int argc, char* argv[]) {
    const QApplication app(argc, argv);
    if (argc == 2 && qstrcmp(argv[1], "--paper") == 0)
        return puts(qPrintable(controls::ownPaper(QPrinterInfo()).key())) < 0;
    tst_common_dialog test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_common_dialog.moc"
