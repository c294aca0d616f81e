// SPDX-License-Identifier: MIT
// The help window over the help file as it is built, by keys and clicks.
#include "htmlhelp/html_help.h"

#include "chm/file.h"
#include "htmlhelp/help_window.h"
#include "htmlhelp/page_view.h"
#include "htmlhelp/search.h"

#include <QAction>
#include <QApplication>
#include <QCoreApplication>
#include <QDesktopServices>
#include <QDialog>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QList>
#include <QListWidget>
#include <QPoint>
#include <QPrintDialog>
#include <QPrinter>
#include <QProcess>
#include <QPushButton>
#include <QRect>
#include <QRegularExpression>
#include <QScrollBar>
#include <QSize>
#include <QStandardPaths>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTest>
#include <QTextBlock>
#include <QTimer>
#include <QTreeWidget>
#include <QTreeWidgetItemIterator>
#include <QUrl>
#include <QVBoxLayout>

using namespace htmlhelp;

namespace {

const QString kFile = HELP_FILE;

QString topic(const QString& page) {
    return kFile + "::/html/" + page + ">Main";
}

// The help window if there is one.
QWidget* helpWindow() {
    for (QWidget* widget : QApplication::topLevelWidgets()) {
        if (widget->objectName() == "frmHelp")
            return widget;
    }
    return nullptr;
}

template <class T>
T* part(const char* name) {
    QWidget* window = helpWindow();
    T* found = window != nullptr ? window->findChild<T*>(name) : nullptr;
    if (found == nullptr)
        qFatal("the help window has no %s", name);
    return found;
}

PageView* view() {
    return part<PageView>("txtPage");
}
QString heading() {
    return view()->document()->firstBlock().text();
}
QTabWidget* tabs() {
    return part<QTabWidget>("tabHelp");
}

void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
    QWidget* focus = helpWindow()->focusWidget();
    QTest::keyClick(focus != nullptr ? focus : helpWindow(), key, modifiers);
}

bool open(const QString& file, int command = HH_DISPLAY_TOC) {
    const bool opened = HtmlHelp(nullptr, file, command, 0);
    if (opened && !QTest::qWaitForWindowActive(helpWindow()))
        qFatal("the help window does not get active");
    return opened;
}

// All pages that a contents or an index leads to.
QStringList locals(const std::vector<chm::Entry>& entries) {
    QStringList result;
    for (const chm::Entry& entry : entries) {
        if (!entry.local.empty())
            result << QString::fromStdString(entry.local);
        result << locals(entry.children);
    }
    return result;
}

class LinkCatcher : public QObject {
    Q_OBJECT

 public:
    QList<QUrl> links;
 public slots:
    void open(const QUrl& url) { links << url; }
};

}  // namespace

class tst_html_help : public QObject {
    Q_OBJECT

 private slots:
    void cleanup() { closeHelp(); }

    void opens_data();
    void opens();
    void refuses_data();
    void refuses();
    void anchors();
    void everyEntryLeadsToAPage();
    void everyLinkAndPictureIsThere();
    void contentsByKeysAndClicks();
    void indexByTyping();
    void searchByTyping();
    void searching_data();
    void searching();
    void backForwardHome();
    void findInPage();
    void zoom();
    void linksOutsideGoToTheDesktop();
    void picturesFitThePage();
    void printsThePage();
    void nextCallKeepsTheWindow();
    void escapeCloses();
    void usableBesideAModalDialog();
    void endsWithTheProgram();
    void placing_data();
    void placing();
};

void tst_html_help::opens_data() {
    QTest::addColumn<QString>("file");
    QTest::addColumn<int>("command");
    QTest::addColumn<QString>("page");
    QTest::addColumn<int>("tab");
    QTest::newRow("contents") << kFile + ">Main" << HH_DISPLAY_TOC << "html/Overview.htm" << 0;
    QTest::newRow("index") << kFile + ">Main" << HH_DISPLAY_INDEX << "html/Overview.htm" << 1;
    QTest::newRow("a page") << topic("Envelope.htm") << HH_DISPLAY_TOC << "html/Envelope.htm" << 0;
    QTest::newRow("a page as topic") << topic("Envelope.htm") << HH_DISPLAY_TOPIC << "html/Envelope.htm" << 0;
    QTest::newRow("a page in other letters") << topic("license.HTM") << HH_DISPLAY_TOC << "html/License.htm" << 0;
    QTest::newRow("without a window type") << kFile + "::/html/Find.htm" << HH_DISPLAY_TOC << "html/Find.htm" << 0;
    QTest::newRow("an unknown window type") << kFile + ">Other" << HH_DISPLAY_TOC << "html/Overview.htm" << 0;
    QTest::newRow("the file alone") << kFile << HH_DISPLAY_TOC << "html/Overview.htm" << 0;
}

void tst_html_help::opens() {
    QFETCH(QString, file);
    QFETCH(int, command);
    QVERIFY(open(file, command));
    QCOMPARE(helpWindow()->windowTitle(), QString("Coinvale Help"));
    QTEST(view()->page(), "page");
    QTEST(tabs()->currentIndex(), "tab");
    QVERIFY(heading().size() > 3);
    const QTreeWidgetItem* current = part<QTreeWidget>("tvwContents")->currentItem();
    QVERIFY(current != nullptr);
    QCOMPARE(current->data(0, Qt::UserRole).toString().section('#', 0, 0), view()->page());
}

void tst_html_help::refuses_data() {
    QTest::addColumn<QString>("file");
    QTest::addColumn<int>("command");
    QTest::newRow("no such file") << "/nowhere/Coinvale.chm>Main" << HH_DISPLAY_TOC;
    QTest::newRow("a folder") << QDir::tempPath() + ">Main" << HH_DISPLAY_TOC;
    QTest::newRow("no name") << "" << HH_DISPLAY_INDEX;
    QTest::newRow("another kind of file") << QCoreApplication::applicationFilePath() + ">Main" << HH_DISPLAY_TOC;
    QTest::newRow("no such page") << topic("Nothing.htm") << HH_DISPLAY_TOC;
    QTest::newRow("an unknown command") << kFile + ">Main" << 15;
}

// Neither opens a window nor disturbs the one that is open.
void tst_html_help::refuses() {
    QFETCH(QString, file);
    QFETCH(int, command);
    QVERIFY(!HtmlHelp(nullptr, file, command, 0));
    QVERIFY(helpWindow() == nullptr);
    QVERIFY(open(topic("Item.htm")));
    QVERIFY(!HtmlHelp(nullptr, file, command, 0));
    QCOMPARE(view()->page(), QString("html/Item.htm"));
    QVERIFY(helpWindow()->isVisible());
}

// Places within a page: shown at the top, and selected in the contents when they have an entry.
void tst_html_help::anchors() {
    QVERIFY(open(topic("Item.htm#transfer")));
    const auto* contents = part<QTreeWidget>("tvwContents");
    const auto current = [contents] { return contents->currentItem()->data(0, Qt::UserRole).toString(); };
    const auto top = [] { return view()->cursorForPosition({20, 30}).block().text(); };
    QCOMPARE(current(), QString("html/Item.htm#transfer"));
    QVERIFY2(top().contains("transfer", Qt::CaseInsensitive), qPrintable(top()));
    emit view()->anchorClicked(QUrl("#add"));
    QCOMPARE(current(), QString("html/Item.htm#add"));
    QVERIFY2(top().contains("Adding"), qPrintable(top()));
    emit view()->anchorClicked(QUrl("Find.htm#nowhere"));
    QCOMPARE(current(), QString("html/Find.htm"));
    press(Qt::Key_Left, Qt::AltModifier);
    QCOMPARE(current(), QString("html/Item.htm#add"));
}

void tst_html_help::everyEntryLeadsToAPage() {
    const chm::File file(HELP_FILE);
    QStringList entries = locals(file.contents()) + locals(file.index());
    QVERIFY(entries.size() >= 20);
    entries.sort();
    entries.removeDuplicates();
    QVERIFY(open(kFile));
    for (const QString& entry : entries) {
        QVERIFY2(static_cast<HelpWindow*>(helpWindow())->showPage(entry), qPrintable(entry));
        const QString anchor = entry.section('#', 1);
        if (!anchor.isEmpty())
            QVERIFY2(file.readText(entry.toStdString()).find('"' + anchor.toStdString() + '"') != std::string::npos,
                     qPrintable(entry));
    }
    // And every page can be reached from the contents.
    for (const std::string& page : file.pages())
        QVERIFY2(locals(file.contents()).filter(QString::fromStdString(page)).size() > 0, page.c_str());
}

void tst_html_help::everyLinkAndPictureIsThere() {
    const chm::File file(HELP_FILE);
    const QRegularExpression reference(R"re((?:href|src)="([^"#:]+)(#[^"]*)?")re");
    for (const std::string& page : file.pages()) {
        const QString html = QString::fromStdString(file.readText(page));
        for (auto it = reference.globalMatch(html); it.hasNext();) {
            const QString target = it.next().captured(1);
            QVERIFY2(!file.resolve("html/" + target.toStdString()).empty(),
                     qPrintable(QString::fromStdString(page) + ": " + target));
        }
    }
}

void tst_html_help::contentsByKeysAndClicks() {
    QVERIFY(open(kFile));
    auto* contents = part<QTreeWidget>("tvwContents");
    QCOMPARE(helpWindow()->focusWidget(), view());
    press(Qt::Key_F6);
    QCOMPARE(helpWindow()->focusWidget(), contents);
    press(Qt::Key_Down);
    QCOMPARE(view()->page(), QString("html/Overview.htm"));  // moving alone opens nothing
    const QString chosen = contents->currentItem()->data(0, Qt::UserRole).toString();
    press(Qt::Key_Return);
    QCOMPARE(view()->page(), chosen.section('#', 0, 0));
    QTreeWidgetItem* first = contents->topLevelItem(0);
    QTest::mouseClick(contents->viewport(), Qt::LeftButton, {}, contents->visualItemRect(first).center());
    QCOMPARE(view()->page(), QString("html/Overview.htm"));
    for (QTreeWidgetItemIterator it(contents); *it != nullptr; ++it)
        QVERIFY2(!(*it)->icon(0).pixmap(16).isNull(), "a picture of the contents is missing");
}

void tst_html_help::indexByTyping() {
    QVERIFY(open(kFile, HH_DISPLAY_INDEX));
    auto* list = part<QListWidget>("lstIndex");
    QCOMPARE(helpWindow()->focusWidget(), part<QLineEdit>("txtIndex"));
    const auto visible = [list] {
        int count = 0;
        for (int row = 0; row < list->count(); ++row)
            count += list->item(row)->isHidden() ? 0 : 1;
        return count;
    };
    QCOMPARE(visible(), list->count());
    QTest::keyClicks(helpWindow()->focusWidget(), "LICENSE");
    QVERIFY(visible() >= 1 && visible() < list->count());
    press(Qt::Key_Return);
    QCOMPARE(view()->page(), QString("html/License.htm"));
    press(Qt::Key_A, Qt::ControlModifier);
    QTest::keyClicks(helpWindow()->focusWidget(), "e");
    const int row = list->currentRow();
    QVERIFY(list->currentItem()->text().startsWith('E'));
    press(Qt::Key_Down);
    QVERIFY(list->currentRow() > row && !list->currentItem()->isHidden());
    QTest::keyClicks(helpWindow()->focusWidget(), "xyzzy");
    QCOMPARE(visible(), 0);
    press(Qt::Key_Return);
    QCOMPARE(view()->page(), QString("html/License.htm"));
}

void tst_html_help::searchByTyping() {
    QVERIFY(open(kFile));
    press(Qt::Key_F, Qt::ControlModifier | Qt::ShiftModifier);
    QCOMPARE(tabs()->currentIndex(), 2);
    QTest::keyClicks(helpWindow()->focusWidget(), "reports");
    auto* list = part<QListWidget>("lstSearch");
    QVERIFY(list->count() >= 1);
    QVERIFY(list->item(0)->text().contains("reports", Qt::CaseInsensitive));
    press(Qt::Key_Return);
    QCOMPARE(view()->page(), QString("html/Reports.htm"));
    const QList<QTextEdit::ExtraSelection> marks = view()->extraSelections();
    QVERIFY(!marks.isEmpty());
    for (const QTextEdit::ExtraSelection& mark : marks)
        QCOMPARE(mark.cursor.selectedText().toLower(), QString("reports"));
    press(Qt::Key_Home, Qt::AltModifier);
    QVERIFY(view()->extraSelections().isEmpty());
    QTest::keyClicks(part<QLineEdit>("txtSearch"), " xyzzy");
    QCOMPARE(list->count(), 0);
    QVERIFY(part<QLabel>("lblFound")->text().startsWith("No page"));
}

void tst_html_help::searching_data() {
    QTest::addColumn<QString>("words");
    QTest::addColumn<QStringList>("pages");
    QTest::newRow("one word, more places first") << "coin" << QStringList{"b", "a"};
    QTest::newRow("a title comes first") << "vale" << QStringList{"c", "a"};
    QTest::newRow("all words") << "coin vale" << QStringList{"a"};
    QTest::newRow("other letters, part of a word") << "OIN ag" << QStringList{"b"};
    QTest::newRow("words in a row") << "\"one coin\"" << QStringList{"a"};
    QTest::newRow("nothing") << "  \" \" " << QStringList();
}

void tst_html_help::searching() {
    const QList<PageText> pages = {{"a", "First", "one coin, one vale vale"},
                                   {"b", "Second", "a coin, coin again"},
                                   {"c", "Vale", "nothing else"}};
    QFETCH(QString, words);
    QStringList found;
    for (const Found& page : search(pages, splitWords(words)))
        found << page.path;
    QTEST(found, "pages");
}

void tst_html_help::backForwardHome() {
    QVERIFY(open(kFile));
    auto* back = part<QAction>("cmdBack");
    auto* forward = part<QAction>("cmdForward");
    QVERIFY(!back->isEnabled() && !forward->isEnabled());
    QVERIFY(open(topic("Item.htm")));
    QVERIFY(open(topic("Find.htm")));
    press(Qt::Key_Left, Qt::AltModifier);
    QCOMPARE(view()->page(), QString("html/Item.htm"));
    QVERIFY(back->isEnabled() && forward->isEnabled());
    press(Qt::Key_Left, Qt::AltModifier);
    QCOMPARE(view()->page(), QString("html/Overview.htm"));
    QVERIFY(!back->isEnabled());
    press(Qt::Key_Right, Qt::AltModifier);
    QCOMPARE(view()->page(), QString("html/Item.htm"));
    press(Qt::Key_Home, Qt::AltModifier);
    QCOMPARE(view()->page(), QString("html/Overview.htm"));
    QCOMPARE(part<QTreeWidget>("tvwContents")->currentItem()->data(0, Qt::UserRole).toString(), view()->page());
}

void tst_html_help::findInPage() {
    QVERIFY(open(topic("Item.htm")));
    press(Qt::Key_F, Qt::ControlModifier);
    auto* text = part<QLineEdit>("txtFind");
    QCOMPARE(helpWindow()->focusWidget(), text);
    QTest::keyClicks(text, "iTem");
    QCOMPARE(view()->textCursor().selectedText().toLower(), QString("item"));
    const int places = static_cast<int>(view()->toPlainText().count("item", Qt::CaseInsensitive));
    QVERIFY(places > 2);
    const auto* label = part<QLabel>("lblPlace");
    QCOMPARE(label->text(), QString("1 of %1").arg(places));
    press(Qt::Key_F3);
    QCOMPARE(label->text(), QString("2 of %1").arg(places));
    press(Qt::Key_F3, Qt::ShiftModifier);
    press(Qt::Key_F3, Qt::ShiftModifier);
    QCOMPARE(label->text(), QString("%1 of %1").arg(places));  // around the beginning
    press(Qt::Key_Return);
    QCOMPARE(label->text(), QString("1 of %1").arg(places));  // and the end
    QTest::keyClicks(text, "xyzzy");
    QCOMPARE(label->text(), QString("Not found"));
    press(Qt::Key_Escape);
    QVERIFY(!text->isVisible() && helpWindow()->isVisible());
    QCOMPARE(helpWindow()->focusWidget(), view());
}

void tst_html_help::zoom() {
    QVERIFY(open(kFile));
    const qreal size = view()->font().pointSizeF();
    press(Qt::Key_Plus, Qt::ControlModifier);
    press(Qt::Key_Equal, Qt::ControlModifier);
    QCOMPARE(view()->zoom(), 120);
    QVERIFY(view()->font().pointSizeF() > size * 1.15);
    press(Qt::Key_Minus, Qt::ControlModifier);
    QCOMPARE(view()->zoom(), 110);
    for (int i = 0; i < 40; ++i)
        press(Qt::Key_Minus, Qt::ControlModifier);
    QCOMPARE(view()->zoom(), 50);
    press(Qt::Key_0, Qt::ControlModifier);
    QCOMPARE(view()->font().pointSizeF(), size);
}

void tst_html_help::linksOutsideGoToTheDesktop() {
    LinkCatcher desktop;
    for (const char* scheme : {"https", "file"})
        QDesktopServices::setUrlHandler(scheme, &desktop, "open");
    QVERIFY(open(kFile));
    for (const char* link : {"https://example.org/coins", "file:///etc/hostname", "Item.htm", "Nothing.htm"})
        emit view()->anchorClicked(QUrl(link));
    for (const char* scheme : {"https", "file"})
        QDesktopServices::unsetUrlHandler(scheme);
    QCOMPARE(desktop.links, QList<QUrl>{QUrl("https://example.org/coins")});
    QCOMPARE(view()->page(), QString("html/Item.htm"));
    // Nothing comes from the disk, whatever a page says.
    QVERIFY(view()->loadResource(QTextDocument::HtmlResource, QUrl::fromLocalFile(kFile)).toString().isEmpty());
    QVERIFY(view()->loadResource(QTextDocument::ImageResource, QUrl::fromLocalFile(kFile)).value<QImage>().isNull());
}

void tst_html_help::picturesFitThePage() {
    QVERIFY(open(kFile));
    const chm::File file(HELP_FILE);
    int pictures = 0;
    for (const int width : {900, 500}) {
        helpWindow()->resize(width, 500);
        for (const std::string& page : file.pages()) {
            QVERIFY(open(kFile + "::/" + QString::fromStdString(page)));
            for (QTextBlock block = view()->document()->begin(); block.isValid(); block = block.next()) {
                for (auto it = block.begin(); !it.atEnd(); ++it) {
                    const QTextImageFormat format = it.fragment().charFormat().toImageFormat();
                    const QString name = "html/" + format.name().section('?', 0, 0);
                    if (!format.isValid() || file.resolve(name.toStdString()).empty())
                        continue;
                    ++pictures;
                    QVERIFY2(format.width() > 0 && format.width() < view()->viewport()->width(), page.c_str());
                    const QImage image =
                        view()->document()->resource(QTextDocument::ImageResource, QUrl(format.name())).value<QImage>();
                    QCOMPARE(image.deviceIndependentSize().width(), format.width());
                }
            }
            QVERIFY2(width < 900 || view()->horizontalScrollBar()->maximum() == 0, page.c_str());
        }
    }
    if (pictures == 0)
        QSKIP("the pages have no pictures");
}

void tst_html_help::printsThePage() {
    if (QStandardPaths::findExecutable("pdftotext").isEmpty())
        QSKIP("pdftotext is not installed");
    const QTemporaryDir folder;
    QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    QVERIFY(open(topic("Find.htm")));
    QTimer::singleShot(0, qApp, [&folder] {
        auto* dialog = qobject_cast<QPrintDialog*>(QApplication::activeModalWidget());
        QVERIFY(dialog != nullptr);
        dialog->printer()->setOutputFileName(folder.filePath("page.pdf"));
        dialog->done(QDialog::Accepted);
    });
    press(Qt::Key_P, Qt::ControlModifier);
    QProcess reader;
    reader.start("pdftotext", {folder.filePath("page.pdf"), "-"});
    QVERIFY(reader.waitForFinished());
    const QString text = QString::fromUtf8(reader.readAllStandardOutput());
    QVERIFY2(text.startsWith(heading()) && text.contains("Look In"), qPrintable(text));
}

void tst_html_help::nextCallKeepsTheWindow() {
    QVERIFY(open(topic("Item.htm")));
    QWidget* window = helpWindow();
    window->setGeometry(40, 50, 700, 400);
    const QRect place = window->geometry();
    QVERIFY(open(topic("Find.htm"), HH_DISPLAY_INDEX));
    QCOMPARE(view()->page(), QString("html/Find.htm"));
    QVERIFY(open(kFile, HH_DISPLAY_INDEX));
    QCOMPARE(view()->page(), QString("html/Find.htm"));  // the index leaves the page
    QCOMPARE(helpWindow(), window);
    QCOMPARE(window->geometry(), place);

    // Another file comes into the same window, a page of the same name from it.
    QTemporaryDir folder;
    const QString copy = folder.filePath("Copy.chm");
    QVERIFY(QFile::copy(kFile, copy));
    view()->setPlainText("Before");
    QVERIFY(open(copy + "::/html/Find.htm"));
    QVERIFY(heading() != "Before");
    QVERIFY(!part<QAction>("cmdBack")->isEnabled());
    QVERIFY(QFile::remove(copy));
    QVERIFY(!HtmlHelp(nullptr, copy, HH_DISPLAY_TOC, 0));
    QCOMPARE(helpWindow(), window);
}

void tst_html_help::escapeCloses() {
    QVERIFY(open(topic("Item.htm")));
    press(Qt::Key_Escape);
    QVERIFY(!helpWindow()->isVisible());
    QVERIFY(open(topic("Find.htm")));
    QVERIFY(helpWindow()->isVisible());
    closeHelp();
    QVERIFY(helpWindow() == nullptr);
    closeHelp();
}

void tst_html_help::usableBesideAModalDialog() {
    QWidget main;
    main.setGeometry(0, 0, 300, 200);
    main.show();
    QDialog dialog(&main);
    dialog.setWindowModality(Qt::WindowModal);
    auto* button = new QPushButton("Help", &dialog);
    connect(button, &QPushButton::clicked, &dialog,
            [&dialog] { HtmlHelp(&dialog, topic("Item.htm"), HH_DISPLAY_TOC, 0); });
    QString page;
    QTimer::singleShot(0, &dialog, [&] {
        QTest::mouseClick(button, Qt::LeftButton);
        if (helpWindow() != nullptr && QTest::qWaitForWindowActive(helpWindow())) {
            QTreeWidget* contents = part<QTreeWidget>("tvwContents");
            QTest::mouseClick(contents->viewport(), Qt::LeftButton, {},
                              contents->visualItemRect(contents->topLevelItem(0)).center());
            page = view()->page();
        }
        dialog.reject();
    });
    dialog.exec();
    QCOMPARE(page, QString("html/Overview.htm"));
    QVERIFY(helpWindow()->isVisible());  // it outlives the dialog
}

// The last window of the program closes, the help window does not keep it running.
void tst_html_help::endsWithTheProgram() {
    QWidget main;
    main.show();
    QVERIFY(open(kFile));
    QTimer::singleShot(0, &main, &QWidget::close);
    bool late = false;
    QTimer::singleShot(5000, &main, [&late] {
        late = true;
        QCoreApplication::quit();
    });
    QCoreApplication::exec();
    QVERIFY(!late);
    QVERIFY(helpWindow() == nullptr);
}

void tst_html_help::placing_data() {
    QTest::addColumn<QRect>("caller");
    QTest::addColumn<QRect>("placed");
    const QSize size(900, 600);
    QTest::newRow("right of the caller") << QRect(100, 100, 700, 500) << QRect(QPoint(808, 132), size);
    QTest::newRow("left of it") << QRect(1100, 100, 700, 500) << QRect(QPoint(192, 132), size);
    QTest::newRow("right, narrowed") << QRect(0, 100, 1200, 500) << QRect(1208, 132, 712, 600);
    QTest::newRow("over a caller as wide as the screen") << QRect(0, 0, 1920, 1000) << QRect(QPoint(1020, 32), size);
    QTest::newRow("not below the screen") << QRect(100, 900, 700, 100) << QRect(QPoint(808, 480), size);
    QTest::newRow("not above it") << QRect(100, -200, 700, 100) << QRect(QPoint(808, 32), size);
}

void tst_html_help::placing() {
    QFETCH(QRect, caller);
    const QRect screen(0, 0, 1920, 1080);
    QTEST(placeBeside(caller, {900, 600}, screen), "placed");
    // Whatever the screen, the window is on it.
    const QRect tiny(0, 0, 640, 480);
    QVERIFY(tiny.contains(placeBeside(caller, {900, 600}, tiny)));
}

QTEST_MAIN(tst_html_help)
#include "tst_html_help.moc"
