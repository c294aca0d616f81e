// SPDX-License-Identifier: MIT
#include "datareport/data_report.h"

#include "controls/common_dialog.h"
#include "controls/hourglass.h"
#include "controls/testing.h"
#include "datareport/page_view.h"
#include "datareport/pdf.h"
#include "datareport/preview.h"
#include "datareport/table_rows.h"

#include <QAccessible>
#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QLineEdit>
#include <QPrinter>
#include <QPrinterInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QSpinBox>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QToolBar>
#include <QToolButton>
#include <functional>
#include <utility>
#ifdef Q_OS_UNIX
#include <sys/resource.h>

#include <csignal>
#endif

using controls::DialogQueue;
using datareport::Band;
using datareport::DataReport;
using datareport::Design;
using datareport::label;
using datareport::Orientation;
using datareport::PageView;
using datareport::Preview;
using datareport::textBox;

class tst_data_report : public QObject {
    Q_OBJECT

 private slots:
    void init();
    void captions();
    void rowsOnce();
    void pdf_data();
    void pdf();
    void exportErrors_data();
    void exportErrors();
    void diskFull();
    void cancelledPdf();
    void printing();
    void pagesByKey_data();
    void pagesByKey();
    void pageNumber();
    void zoom();
    void sheets();
    void savePdf();
    void printFromPreview();
    void everyControlReachable();
    void accessiblePage();
    void modal();

 private:
    [[nodiscard]] QString path(const QString& name) const { return m_folder.filePath(name); }
    QTemporaryDir m_folder;
};

namespace {

constexpr int kRowsPerPage = 17;  // on Letter paper, upright

std::unique_ptr<DataReport> makeReport(int rows, Orientation orientation = Orientation::Portrait) {
    Design design{.name = "rptNumbers", .title = "Numbers: a/b", .orientation = orientation, .width = 300, .bands = {}};
    design.bands = {{Band::PageHeader, 20, {label("lblWhat", "%p of %P", {0, 0, 300})}},
                    {Band::Detail, 40, {textBox("txt", "text", "", {0, 0, 300})}}};
    Table table{{"text"}, {}, {}};
    for (int i = 1; i <= rows; ++i)
        table.rows.push_back({QStringLiteral("Öre & Pfund %1").arg(i)});
    auto report = std::make_unique<DataReport>(design);
    report->setDataSource(std::make_unique<TableRows>(table));
    return report;
}

// What a program of poppler-utils says of a file.
QString told(const QString& program, const QStringList& arguments) {
    QProcess process;
    process.start(program, arguments);
    process.waitForFinished();
    return QString::fromUtf8(process.readAllStandardOutput());
}

QByteArray contentOf(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

long errorOf(const std::function<void()>& work) {
    try {
        work();
    } catch (const vbrt::Error& error) {
        return error.number();
    }
    return 0;
}

// The preview of a report of five pages, ready for keys.
struct Shown {
    Shown() : report(makeReport(5 * kRowsPerPage)), window(*report, nullptr) {
        window.show();
        window.activateWindow();
        [[maybe_unused]] const bool active = QTest::qWaitForWindowActive(&window);
    }
    template <typename Widget>
    Widget& find(const char* name) {
        return *window.findChild<Widget*>(name);
    }
    PageView& view() { return find<PageView>("view"); }
    void click(const char* name) {
        auto* button = qobject_cast<QToolButton*>(window.findChild<QToolBar*>()->widgetForAction(&find<QAction>(name)));
        QTest::mouseClick(button, Qt::LeftButton);
    }

    std::unique_ptr<DataReport> report;
    Preview window;
};

}  // namespace

void tst_data_report::init() {
    controls::printer().setOutputFileName({});
    controls::printer().setPageSize(QPageSize(QPageSize::Letter));
    controls::printer().setPageOrientation(QPageLayout::Portrait);
}

void tst_data_report::captions() {
    const auto report = makeReport(1);
    QVERIFY(datareport::dump(report->pages()).startsWith("=== page 1\n0 1 of 1\n"));
    report->setCaption(Band::PageHeader, "lblWhat", "R&D 100 %p %%");
    QVERIFY(datareport::dump(report->pages()).startsWith("=== page 1\n0 R&D 100 %p %%\n"));
    QCOMPARE(errorOf([&] { report->setCaption(Band::Detail, "lblWhat", "x"); }), 380);
    QCOMPARE(errorOf([&] { report->setCaption(Band::Detail, "txt", "x"); }), 380);
}

void tst_data_report::rowsOnce() {
    const auto report = makeReport(2 * kRowsPerPage);
    QCOMPARE(report->pages().pages.size(), 2U);
    report->setOrientation(Orientation::Landscape);
    QCOMPARE(report->pages().pages.size(), 3U);
    QCOMPARE(report->pages().paper.size, QSizeF(792, 612));
    controls::printer().setPageSize(QPageSize(QPageSize::A4));
    QCOMPARE(report->pages().paper.size, QSizeF(842, 595));

    report->setDataSource(std::make_unique<TableRows>(Table{{"other"}, {}, {}}));
    QCOMPARE(errorOf([&] { report->pages(); }), 3265);
    QCOMPARE(errorOf([&] { report->pages(); }), 91);
}

void tst_data_report::pdf_data() {
    QTest::addColumn<QPageSize::PageSizeId>("paper");
    QTest::addColumn<Orientation>("orientation");
    QTest::addColumn<QString>("size");

    QTest::newRow("Letter") << QPageSize::Letter << Orientation::Portrait << "612 x 792 pts";
    QTest::newRow("Letter landscape") << QPageSize::Letter << Orientation::Landscape << "792 x 612 pts";
    QTest::newRow("A4") << QPageSize::A4 << Orientation::Portrait << "595 x 842 pts";
}

void tst_data_report::pdf() {
    QFETCH(QPageSize::PageSizeId, paper);
    QFETCH(Orientation, orientation);
    if (QStandardPaths::findExecutable("pdftotext").isEmpty())
        QSKIP("pdftotext is not installed");
    controls::printer().setPageSize(QPageSize(paper));
    const auto report = makeReport(40, orientation);
    report->ExportPdf(path("numbers.pdf"));

    const QString info = told("pdfinfo", {path("numbers.pdf")}).simplified();
    QVERIFY(info.contains("Title: Numbers: a/b"));
    QVERIFY(info.contains("Creator: " + QCoreApplication::applicationName()));
    QVERIFY(info.contains(QStringLiteral("Pages: %1 ").arg(report->pages().pages.size())));
    QFETCH(QString, size);
    QVERIFY2(info.contains("Page size: " + size), qPrintable(info));

    // The same texts in the same order as on the pages.
    static const QRegularExpression edges("(^|\\| )\\d+ |=== page \\d+", QRegularExpression::MultilineOption);
    const QString expected = datareport::dump(report->pages()).remove(edges).simplified();
    QCOMPARE(told("pdftotext", {"-layout", path("numbers.pdf"), "-"}).simplified(), expected);
}

void tst_data_report::exportErrors_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("error");

    QTest::newRow("no such folder") << "missing/a.pdf" << 76;
    QTest::newRow("a folder") << "folder" << 75;
    QTest::newRow("folder that may not be written") << "locked/a.pdf" << 75;
}

void tst_data_report::exportErrors() {
    QFETCH(QString, name);
    QDir(m_folder.path()).mkdir("folder");
    QDir(m_folder.path()).mkdir("locked");
    QVERIFY(QFile::setPermissions(path("locked"), QFile::ReadOwner | QFile::ExeOwner));
    if (name.startsWith("locked") && QFileInfo(path("locked")).isWritable())
        QSKIP("this user may write everywhere");
    const auto report = makeReport(3);
    QTEST(static_cast<int>(errorOf([&] { report->ExportPdf(path(name)); })), "error");
}

// The old file stays as it was, and nothing is left beside it.
void tst_data_report::diskFull() {
#ifdef Q_OS_UNIX
    QVERIFY(QDir(m_folder.path()).mkdir("full"));
    QFile old(path("full/report.pdf"));
    QVERIFY(old.open(QIODevice::WriteOnly) && old.write("old") == 3);
    old.close();
    const auto report = makeReport(20 * kRowsPerPage);

    rlimit before{};
    QCOMPARE(getrlimit(RLIMIT_FSIZE, &before), 0);
    const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
    for (const rlim_t limit : {0, 100, 8000}) {
        const rlimit small{limit, before.rlim_max};
        QCOMPARE(setrlimit(RLIMIT_FSIZE, &small), 0);
        const long error = errorOf([&] { report->ExportPdf(path("full/report.pdf")); });
        setrlimit(RLIMIT_FSIZE, &before);
        QCOMPARE(error, 61);
        QCOMPARE(contentOf(path("full/report.pdf")), "old");
        QCOMPARE(QDir(path("full")).entryList(QDir::Files | QDir::Hidden), QStringList("report.pdf"));
    }
    std::signal(SIGXFSZ, oldHandler);
    report->ExportPdf(path("full/report.pdf"));
    QVERIFY(contentOf(path("full/report.pdf")).startsWith("%PDF"));
#else
    QSKIP("no way to limit the size of files");
#endif
}

// No file is left, nor is one that was there touched.
void tst_data_report::cancelledPdf() {
    const auto report = makeReport(5 * kRowsPerPage);
    QFile old(path("old.pdf"));
    QVERIFY(old.open(QIODevice::WriteOnly) && old.write("old") == 3);
    old.close();
    const auto files = [this] { return QDir(m_folder.path()).entryList(QDir::Files); };
    const QStringList before = files();
    for (const char* name : {"new.pdf", "old.pdf"}) {
        const auto twoPages = [](std::size_t done, std::size_t) { return done < 2; };
        QVERIFY_EXCEPTION_THROWN(datareport::writePdf(report->pages(), "Numbers", path(name), twoPages),
                                 datareport::Cancelled);
        QCOMPARE(files(), before);
        QCOMPARE(contentOf(old.fileName()), "old");
    }
}

// On a printer that prints into a file.
void tst_data_report::printing() {
    if (QStandardPaths::findExecutable("pdftotext").isEmpty())
        QSKIP("pdftotext is not installed");
    QPrinter& printer = controls::printer();
    const auto report = makeReport(30, Orientation::Landscape);
    printer.setOutputFileName(path("all.pdf"));
    report->PrintReport(nullptr);
    QCOMPARE(printer.pageLayout().orientation(), QPageLayout::Portrait);
    QCOMPARE(printer.outputFileName(), path("all.pdf"));
    const QString info = told("pdfinfo", {path("all.pdf")}).simplified();
    QVERIFY2(info.contains("Pages: 3 ") && info.contains("Page size: 792 x 612 pts"), qPrintable(info));
    QVERIFY(told("pdftotext", {path("all.pdf"), "-"}).contains(u8"Öre & Pfund 30"));

    printer.setOutputFileName(path("some.pdf"));
    printer.setPrintRange(QPrinter::PageRange);
    printer.setFromTo(2, 3);
    report->PrintReport(nullptr);
    const QString text = told("pdftotext", {path("some.pdf"), "-"});
    QVERIFY(!text.contains("1 of 3") && text.contains("2 of 3") && text.contains("3 of 3"));
    QCOMPARE(printer.printRange(), QPrinter::AllPages);

    printer.setPrintRange(QPrinter::PageRange);
    printer.setFromTo(7, 8);
    QCOMPARE(errorOf([&] { report->PrintReport(nullptr); }), 482);
    printer.setOutputFileName(path("missing/all.pdf"));
    QCOMPARE(errorOf([&] { report->PrintReport(nullptr); }), 482);
    QCOMPARE(printer.pageLayout().orientation(), QPageLayout::Portrait);
}

void tst_data_report::pagesByKey_data() {
    QTest::addColumn<int>("start");
    QTest::addColumn<Qt::Key>("key");
    QTest::addColumn<int>("end");

    QTest::newRow("PgDn") << 1 << Qt::Key_PageDown << 2;
    QTest::newRow("Right") << 2 << Qt::Key_Right << 3;
    QTest::newRow("PgDn at the end") << 5 << Qt::Key_PageDown << 5;
    QTest::newRow("PgUp") << 5 << Qt::Key_PageUp << 4;
    QTest::newRow("Left") << 4 << Qt::Key_Left << 3;
    QTest::newRow("Left at the start") << 1 << Qt::Key_Left << 1;
    QTest::newRow("End") << 2 << Qt::Key_End << 5;
    QTest::newRow("Home") << 4 << Qt::Key_Home << 1;
}

void tst_data_report::pagesByKey() {
    QFETCH(int, start);
    QFETCH(int, end);
    QFETCH(Qt::Key, key);
    Shown shown;
    shown.find<QSpinBox>("page").setValue(start);
    QTest::keyClick(&shown.view(), key);
    QCOMPARE(shown.view().currentPage() + 1, end);
    QCOMPARE(shown.find<QSpinBox>("page").value(), end);
    QCOMPARE(shown.find<QAction>("first").isEnabled(), end > 1);
    QCOMPARE(shown.find<QAction>("next").isEnabled(), end < 5);
}

void tst_data_report::pageNumber() {
    Shown shown;
    auto& page = shown.find<QSpinBox>("page");
    page.setFocus();
    page.selectAll();
    QTest::keyClicks(&page, "4");
    QTest::keyClick(&page, Qt::Key_Return);
    QCOMPARE(shown.view().currentPage(), 3);
    QTest::keyClick(&page, Qt::Key_Home);  // edits
    QCOMPARE(shown.view().currentPage(), 3);
    QTest::keyClick(&page, Qt::Key_PageDown);
    QCOMPARE(shown.view().currentPage(), 4);
    for (const auto& [button, now] : {std::pair("first", 0), {"next", 1}, {"last", 4}, {"previous", 3}}) {
        shown.click(button);
        QCOMPARE(shown.view().currentPage(), now);
    }
    QVERIFY(shown.window.isVisible());
}

// Sizes by key, list and fit; a large sheet takes several PgDn, and none is skipped.
void tst_data_report::zoom() {
    Shown shown;
    auto& list = shown.find<QComboBox>("zoom");
    PageView& view = shown.view();
    const double whole = view.zoom();
    list.setCurrentText("Fit Width");
    QVERIFY(view.zoom() > whole);
    list.setCurrentText("100 %");
    QCOMPARE(view.zoom(), 1.0);
    QTest::keyClick(&view, Qt::Key_Plus, Qt::ControlModifier);
    QCOMPARE(list.currentText(), "125 %");
    shown.click("zoom_out");
    shown.click("zoom_out");
    QCOMPARE(list.currentText(), "75 %");
    list.setCurrentText("Fit Page");
    QCOMPARE(view.zoom(), whole);
    shown.click("zoom_in");
    QVERIFY(view.zoom() > whole && view.zoom() < 1.3);

    list.setCurrentText("400 %");
    QTest::keyClick(&view, Qt::Key_Plus, Qt::ControlModifier);
    QCOMPARE(list.currentText(), "400 %");
    QTest::keyClick(&view, Qt::Key_Home);
    QList<int> pages{view.currentPage()};
    for (int i = 0; i < 100 && pages.back() < 4; ++i) {
        QTest::keyClick(&view, Qt::Key_PageDown);
        if (view.currentPage() != pages.back())
            pages += view.currentPage();
    }
    QCOMPARE(pages, QList<int>({0, 1, 2, 3, 4}));
}

// White paper with black text on grey, with light and with dark colours.
void tst_data_report::sheets() {
    for (const QColor window : {Qt::white, Qt::black}) {
        Shown shown;
        shown.window.setPalette(QPalette(window));
        const QImage image = shown.view().viewport()->grab().toImage();
        const QPoint middle = image.rect().center();
        QCOMPARE(image.pixelColor(middle), QColor(Qt::white));
        const QColor desk = image.pixelColor(2, 2);
        QVERIFY(desk.lightness() > 40 && desk.lightness() < 200);
        int dark = 0;
        for (int y = 0; y < image.height() / 2; ++y)
            for (int x = middle.x() - 240; x < middle.x(); ++x)
                dark += image.pixelColor(x, y).lightness() < 100 ? 1 : 0;
        QVERIFY(dark > 50);
    }
}

void tst_data_report::savePdf() {
    Shown shown;
    DialogQueue dialogs;
    dialogs.cancel();
    QTest::keyClick(&shown.view(), Qt::Key_S, Qt::ControlModifier);
    const auto asked = dialogs.takeDialog();
    QCOMPARE(asked.fileName, "Numbers- a-b.pdf");
    QVERIFY((asked.flags & controls::kOverwritePrompt) != 0);

    dialogs.choose(path("saved"));
    shown.click("save_pdf");
    QVERIFY(contentOf(path("saved.pdf")).startsWith("%PDF"));

    dialogs.choose(path("missing/saved.pdf"));
    dialogs.answer(controls::MsgAnswer::Ok);
    shown.click("save_pdf");
    const auto message = dialogs.takeMessage();
    QCOMPARE(message.text, "Error #: 76\rPath not found");
    QCOMPARE(message.title, "Error");
    QCOMPARE(message.icon, controls::MsgIcon::Exclamation);
    QVERIFY(shown.window.isVisible());
    QVERIFY(!controls::hourglassShown());
    QCOMPARE(dialogs.problems(), QStringList());
}

void tst_data_report::printFromPreview() {
    if (!QPrinterInfo::availablePrinterNames().isEmpty())
        QSKIP("a printer is installed");
    Shown shown;
    DialogQueue dialogs;
    dialogs.answer(controls::MsgAnswer::Ok);
    QTest::keyClick(&shown.view(), Qt::Key_P, Qt::ControlModifier);
    QVERIFY(dialogs.takeMessage().text.startsWith("Error #: 482\rNo printer"));
    QCOMPARE(errorOf([&] { makeReport(3, Orientation::Landscape)->PrintReport(nullptr); }), 482);
    QCOMPARE(controls::printer().pageLayout().orientation(), QPageLayout::Portrait);

    controls::printer().setOutputFileName(path("preview.pdf"));
    dialogs.cancel();
    shown.click("print");
    QVERIFY(!QFile::exists(path("preview.pdf")));
    dialogs.choose({});
    shown.click("print");
    QVERIFY(contentOf(path("preview.pdf")).startsWith("%PDF"));
    QCOMPARE(dialogs.problems(), QStringList());
}

void tst_data_report::everyControlReachable() {
    Shown shown;
    shown.find<QSpinBox>("page").setValue(2);
    QStringList reached;
    for (int i = 0; i < 12; ++i) {
        const QWidget* focus = QApplication::focusWidget();
        QVERIFY(focus != nullptr);
        reached += focus->accessibleName();
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    }
    QCOMPARE(reached, QStringList({"Pages of the report", "Print", "Save as PDF", "First Page", "Previous Page", "Page",
                                   "Next Page", "Last Page", "Zoom Out", "Zoom", "Zoom In", "Close"}));
    QCOMPARE(shown.find<QAction>("last").toolTip(), "Last Page (End)");
    for (const auto* action : shown.window.findChild<QToolBar*>()->actions())
        QVERIFY(action->objectName().isEmpty() || !action->icon().pixmap(20).toImage().isNull());
}

// A screen reader is told the text of the page that is shown.
void tst_data_report::accessiblePage() {
    Shown shown;
    QAccessibleInterface* const pages = QAccessible::queryAccessibleInterface(&shown.view());
    QVERIFY(pages != nullptr && pages->textInterface() != nullptr);
    QCOMPARE(pages->role(), QAccessible::Document);
    QTest::keyClick(&shown.view(), Qt::Key_Right);
    QAccessibleTextInterface* const text = pages->textInterface();
    const QString page = text->text(0, text->characterCount());
    QVERIFY2(page.startsWith(u8"2 of 5\nÖre & Pfund 18\n") && page.endsWith(u8"Öre & Pfund 34"), qPrintable(page));
}

void tst_data_report::modal() {
    QWidget owner;
    owner.show();
    const auto report = makeReport(3);
    QString title;
    QTimer::singleShot(50, &owner, [&] {
        auto* preview = qobject_cast<Preview*>(QApplication::activeModalWidget());
        QVERIFY(preview != nullptr);
        title = preview->windowTitle();
        QCOMPARE(preview->windowModality(), Qt::WindowModal);
        QVERIFY(preview->isMaximized());
        QVERIFY(!controls::hourglassShown());
        QTest::keyClick(preview, Qt::Key_Escape);
    });
    report->Show(&owner);
    QCOMPARE(title, "Numbers: a/b");
    QCOMPARE(QApplication::activeModalWidget(), nullptr);

    const auto failing = std::make_unique<DataReport>(Design{});
    QCOMPARE(errorOf([&] { failing->Show(&owner); }), 91);
    QVERIFY(!controls::hourglassShown());
}

QTEST_MAIN(tst_data_report)
#include "tst_data_report.moc"
