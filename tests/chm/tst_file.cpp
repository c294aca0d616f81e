// SPDX-License-Identifier: MIT
// The help file as it is built, read beside an independent reader, and then damaged in many ways.
#include "chm/file.h"
#include "chm/html_text.h"

#include <QChar>
#include <QDir>
#include <QFile>
#include <QIODevice>
#include <QList>
#include <QProcess>
#include <QSize>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <algorithm>

namespace {

QByteArray contentsOf(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// Opens a file and reads every page; what was refused, or "" when all is well.
QString readAll(const QString& path) {
    try {
        const chm::File file(path.toStdString());
        for (const std::string& page : file.pages())
            (void)file.readText(page);
        return {};
    } catch (const chm::Error& error) {
        return error.what();
    }
}

QString dump(const std::vector<chm::Entry>& entries, int depth = 0) {
    QString text;
    for (const chm::Entry& entry : entries) {
        text += QString(depth * 2, ' ') + QString::fromStdString(entry.name + " -> " + entry.local) + "\n";
        text += dump(entry.children, depth + 1);
    }
    return text;
}

}  // namespace

class tst_file : public QObject {
    Q_OBJECT

 private slots:
    void initTestCase();
    void headings();
    void pathsLeadToPages_data();
    void pathsLeadToPages();
    void sameAsIndependentReader();
    void sitemaps_data();
    void sitemaps();
    void texts_data();
    void texts();
    void refused_data();
    void refused();
    void everyNumberOfTheHeadersBroken();

 private:
    QString write(const QByteArray& bytes);

    QTemporaryDir m_folder;
    QByteArray m_bytes;
};

void tst_file::initTestCase() {
    m_bytes = contentsOf(HELP_FILE);
    QVERIFY(m_bytes.size() > 4096);
    QCOMPARE(readAll(HELP_FILE), QString());
}

QString tst_file::write(const QByteArray& bytes) {
    QFile file(m_folder.filePath("damaged.chm"));
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        qFatal("no room for a damaged copy");
    return file.fileName();
}

void tst_file::headings() {
    const chm::File file(HELP_FILE);
    QCOMPARE(file.title(), std::string("Coinvale Help"));
    QCOMPARE(file.defaultPage(), std::string("html/Overview.htm"));
    QCOMPARE(file.windows().size(), std::size_t{1});
    const chm::WindowType& window = file.windows()[0];
    QCOMPARE(window.name, std::string("Main"));
    QCOMPARE(window.title, std::string("Coinvale Help"));
    QCOMPARE(window.defaultPage, std::string("html/Overview.htm"));
    QCOMPARE(QSize(window.width, window.height), QSize(880, 640));
    QCOMPARE(window.paneWidth, 260);
    QVERIFY(!file.contents().empty());
    QVERIFY(!file.index().empty());
}

void tst_file::pathsLeadToPages_data() {
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("page");
    QTest::newRow("as stored") << "html/License.htm"
                               << "html/License.htm";
    QTest::newRow("other letter case") << "HTML/license.HTM"
                                       << "html/License.htm";
    QTest::newRow("with a leading slash") << "/html/Item.htm"
                                          << "html/Item.htm";
    QTest::newRow("with backslashes") << "html\\Item.htm"
                                      << "html/Item.htm";
    QTest::newRow("with an anchor") << "html/Item.htm#transfers"
                                    << "html/Item.htm";
    QTest::newRow("with percent signs") << "html/It%65m%2ehtm"
                                        << "html/Item.htm";
    QTest::newRow("with the container's name") << "ms-its:Coinvale.chm::/html/Item.htm"
                                               << "html/Item.htm";
    QTest::newRow("no such page") << "html/Nothing.htm"
                                  << "";
    QTest::newRow("a folder") << "html/"
                              << "";
    QTest::newRow("nothing") << ""
                             << "";
}

void tst_file::pathsLeadToPages() {
    QFETCH(QString, path);
    QFETCH(QString, page);
    const chm::File file(HELP_FILE);
    QCOMPARE(QString::fromStdString(file.resolve(path.toStdString())), page);
    if (page.isEmpty())
        QVERIFY_EXCEPTION_THROWN((void)file.read(path.toStdString()), chm::Error);
    else
        QCOMPARE(file.read(path.toStdString()), file.read(page.toStdString()));
}

void tst_file::sameAsIndependentReader() {
    QString reader = QStandardPaths::findExecutable("7zz");
    if (reader.isEmpty())
        reader = QStandardPaths::findExecutable("7z");
    if (reader.isEmpty())
        QSKIP("7-Zip is not installed");
    const QString folder = m_folder.filePath("unpacked");
    QCOMPARE(QProcess::execute(reader, {"x", "-bso0", "-y", "-o" + folder, HELP_FILE}), 0);
    const chm::File file(HELP_FILE);
    const QDir html(folder + "/html");
    const QStringList pages = html.entryList({"*.htm"});
    QVERIFY(pages.size() >= 10);
    QCOMPARE(file.pages().size(), static_cast<std::size_t>(pages.size()));
    for (const QString& page : pages + QStringList{"style.css"}) {
        const QByteArray expected = contentsOf(html.filePath(page));
        QVERIFY2(!expected.isEmpty(), qPrintable(page));
        QCOMPARE(QByteArray::fromStdString(file.read("html/" + page.toStdString())), expected);
    }
}

void tst_file::sitemaps_data() {
    QTest::addColumn<QString>("html");
    QTest::addColumn<QString>("entries");
    const auto object = [](const QString& params) { return "<OBJECT type=\"text/sitemap\">" + params + "</OBJECT>"; };
    const auto entry = [&](const QString& name, const QString& page) {
        return object("<param name=\"Name\" value=\"" + name + "\"><param name=\"Local\" value=\"" + page + "\">");
    };
    QTest::newRow("a list in a list") << "<UL><LI>" + entry("A", "html\\a.htm") + "<UL><LI>" + entry("B", "b.htm#x") +
                                             "</UL><LI>" + entry("C", "c.htm") + "</UL>"
                                      << "A -> html/a.htm\n  B -> b.htm#x\nC -> c.htm\n";
    QTest::newRow("end tags everywhere") << "<ul><li>" + entry("A", "a.htm") + "</li><ul><li>" + entry("B", "b.htm") +
                                                "</li></ul></ul>"
                                         << "A -> a.htm\n  B -> b.htm\n";
    QTest::newRow("a heading without a page") << "<UL>" + object("<param name=Name value=Heading>") << "Heading -> \n";
    QTest::newRow("other quotes, case, order, blanks")
        << object("<PARAM VALUE = 'a.htm' NAME=local><Param value=\"It's\" name='NAME'>") << "It's -> a.htm\n";
    QTest::newRow("entities") << entry("A &amp; B &lt;&#67;&#x44;&gt; &none; &", "a.htm")
                              << "A & B <CD> &none; & -> a.htm\n";
    QTest::newRow("other objects, comments")
        << "<OBJECT type=\"text/site properties\"><param name=\"Name\" value=\"No\"></OBJECT><!-- <ul>" +
               entry("No", "no.htm") + "-->" + entry("A > B", "a.htm")
        << "A > B -> a.htm\n";
    QTest::newRow("an index entry with two pages")
        << object(
               "<param name=Name value=Key><param name=Name value=One><param name=Local value=a.htm>"
               "<param name=Name value=Two><param name=Local value=b.htm>")
        << "Key -> a.htm\n  One -> a.htm\n  Two -> b.htm\n";
    QTest::newRow("lists left open and closed too often")
        << "</ul></ul><ul>" + entry("A", "a.htm") + "<ul><ul>" + entry("B", "b.htm") + "</ul></ul></ul></ul>" +
               entry("C", "c.htm")
        << "A -> a.htm\n  B -> b.htm\nC -> c.htm\n";
    QTest::newRow("cut off within a tag") << entry("A", "a.htm") + "<OBJECT type=\"text/site"
                                          << "A -> a.htm\n";
    QTest::newRow("an unpaired quote") << "<li class=\">" + entry("A", "a.htm") << "A -> a.htm\n";
    QTest::newRow("no HTML") << "Nothing here"
                             << "";
}

void tst_file::sitemaps() {
    QFETCH(QString, html);
    QFETCH(QString, entries);
    QCOMPARE(dump(chm::parseSitemap(html.toStdString())), entries);
}

void tst_file::texts_data() {
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("text");
    const QString head = "<meta charset=\"utf-8\">";
    QTest::newRow("UTF-8 by its charset") << (head + "é€😀").toUtf8() << head + "é€😀";
    QTest::newRow("UTF-8 by its mark") << QByteArray("\xEF\xBB\xBF\xC3\xA9") << "é";
    QTest::newRow("1252 by default") << QByteArray("\xE9\x80\x97") << "é€—";
    QTest::newRow("1252 by its charset") << QByteArray("charset=windows-1252 \xE9") << "charset=windows-1252 é";
    QTest::newRow("broken UTF-8") << head.toUtf8() + "\xC3(\xED\xA0\x80\xF0\x9F"
                                  << head + "\uFFFD(" + QString(5, QChar(0xFFFD));
}

void tst_file::texts() {
    QFETCH(QByteArray, bytes);
    QTEST(QString::fromStdString(chm::decodeHtml(bytes.toStdString())), "text");
}

void tst_file::refused_data() {
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("another kind of file") << QByteArray(5000, 'x');
    QTest::newRow("a signature alone") << QByteArray("ITSF");
    for (const int part : {96, 200, 4000})
        QTest::addRow("the first %d bytes", part) << contentsOf(HELP_FILE).left(part);
    QTest::newRow("half") << contentsOf(HELP_FILE).left(contentsOf(HELP_FILE).size() / 2);
}

void tst_file::refused() {
    QFETCH(QByteArray, bytes);
    QVERIFY(!readAll(write(bytes)).isEmpty());
    QVERIFY(!readAll(m_folder.filePath("none.chm")).isEmpty());
    QVERIFY(!readAll(m_folder.path()).isEmpty());
}

// Each 32-bit number of the headers, with the values that hurt most. Whatever comes of it, it is an answer.
void tst_file::everyNumberOfTheHeadersBroken() {
    const chm::Container container({m_bytes.begin(), m_bytes.end()});
    QList<qsizetype> places;
    const auto add = [&places](qsizetype from, qsizetype size) {
        for (qsizetype at = from; at < from + size; at += 4)
            places << at;
    };
    add(0, 0x60);
    add(m_bytes.indexOf("ITSP"), 0x54);
    add(m_bytes.indexOf("PMGL"), 0x1C);
    for (const auto& [name, entry] : container.entries()) {
        if (name.ends_with("controldata") || name.ends_with("resettable"))
            add(static_cast<qsizetype>(container.positionOf(entry)), static_cast<qsizetype>(entry.size));
    }
    QVERIFY(places.size() > 60);
    int refusals = 0;
    for (const qsizetype at : places) {
        for (const quint32 value : {0U, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
            QByteArray bytes = m_bytes;
            memcpy(bytes.data() + at, &value, sizeof(value));
            refusals += readAll(write(bytes)).isEmpty() ? 0 : 1;
        }
    }
    QVERIFY2(refusals > 50, qPrintable(QString::number(refusals)));
}

QTEST_GUILESS_MAIN(tst_file)
#include "tst_file.moc"
