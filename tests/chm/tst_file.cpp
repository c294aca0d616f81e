// SPDX-License-Identifier: MIT
// The help file as it is built, read beside an independent reader, and then damaged in many ways.
#include "chm/file.h"
#include "chm/html_text.h"
#include "rows.h"

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
    void initTestCase() {
        m_bytes = contentsOf(HELP_FILE);
        QVERIFY(m_bytes.size() > 4096);
        QCOMPARE(readAll(HELP_FILE), QString());
    }

    void headings() {
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

    void pathsLeadToPages_data() {
        addColumns<QString, QString>("path", "page");
        addRow("as stored", "html/License.htm", "html/License.htm");
        addRow("other letter case", "HTML/license.HTM", "html/License.htm");
        addRow("with a leading slash", "/html/Item.htm", "html/Item.htm");
        addRow("with backslashes", "html\\Item.htm", "html/Item.htm");
        addRow("with an anchor", "html/Item.htm#transfers", "html/Item.htm");
        addRow("with percent signs", "html/It%65m%2ehtm", "html/Item.htm");
        addRow("with the container's name", "ms-its:Coinvale.chm::/html/Item.htm", "html/Item.htm");
        addRow("no such page", "html/Nothing.htm", "");
        addRow("a folder", "html/", "");
        addRow("nothing", "", "");
    }
    void pathsLeadToPages() {
        QFETCH(QString, path);
        QFETCH(QString, page);
        const chm::File file(HELP_FILE);
        QCOMPARE(QString::fromStdString(file.resolve(path.toStdString())), page);
        if (page.isEmpty())
            QVERIFY_EXCEPTION_THROWN((void)file.read(path.toStdString()), chm::Error);
        else
            QCOMPARE(file.read(path.toStdString()), file.read(page.toStdString()));
    }

    void sameAsIndependentReader() {
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

    void sitemaps_data() {
        addColumns<QString, QString>("html", "entries");
        const auto object = [](const QString& params) {
            return "<OBJECT type=\"text/sitemap\">" + params + "</OBJECT>";
        };
        const auto entry = [&](const QString& name, const QString& page) {
            return object("<param name=\"Name\" value=\"" + name + "\"><param name=\"Local\" value=\"" + page + "\">");
        };
        const QString a = entry("A", "a.htm");
        const QString b = entry("B", "b.htm#x");
        const QString c = entry("C", "c.htm");
        addRow("a list in a list", "<UL><LI>" + entry("A", "html\\a.htm") + "<UL><LI>" + b + "</UL><LI>" + c + "</UL>",
               "A -> html/a.htm\n  B -> b.htm#x\nC -> c.htm\n");
        addRow("end tags everywhere", "<ul><li>" + a + "</li><ul><li>" + b + "</li></ul></ul>",
               "A -> a.htm\n  B -> b.htm#x\n");
        addRow("a heading without a page", "<UL>" + object("<param name=Name value=Heading>"), "Heading -> \n");
        addRow("other quotes, case, order, blanks",
               object("<PARAM VALUE = 'a.htm' NAME=local><Param value=\"It's\" name='NAME'>"), "It's -> a.htm\n");
        addRow("entities", entry("A &amp; B &lt;&#67;&#x44;&gt; &none; &", "a.htm"), "A & B <CD> &none; & -> a.htm\n");
        addRow("other objects, comments",
               "<OBJECT type=\"text/site properties\"><param name=\"Name\" value=\"No\"></OBJECT><!-- <ul>" + b +
                   "-->" + entry("A > B", "a.htm"),
               "A > B -> a.htm\n");
        addRow("an index entry with two pages",
               object("<param name=Name value=Key><param name=Name value=One><param name=Local value=a.htm>"
                      "<param name=Name value=Two><param name=Local value=b.htm>"),
               "Key -> a.htm\n  One -> a.htm\n  Two -> b.htm\n");
        addRow("lists left open and closed too often",
               "</ul></ul><ul>" + a + "<ul><ul>" + b + "</ul></ul></ul></ul>" + c,
               "A -> a.htm\n  B -> b.htm#x\nC -> c.htm\n");
        addRow("cut off within a tag", a + "<OBJECT type=\"text/site", "A -> a.htm\n");
        addRow("an unpaired quote", "<li class=\">" + a, "A -> a.htm\n");
        addRow("no HTML", "Nothing here", "");
    }
    void sitemaps() {
        QFETCH(QString, html);
        QTEST(dump(chm::parseSitemap(html.toStdString())), "entries");
    }

    void texts_data() {
        addColumns<QByteArray, QString>("bytes", "text");
        const QString head = "<meta charset=\"utf-8\">";
        addRow("UTF-8 by its charset", (head + "é€😀").toUtf8(), head + "é€😀");
        addRow("UTF-8 by its mark", QByteArray("\xEF\xBB\xBF\xC3\xA9"), "é");
        addRow("1252 by default", QByteArray("\xE9\x80\x97"), "é€—");
        addRow("1252 by its charset", QByteArray("charset=windows-1252 \xE9"), "charset=windows-1252 é");
        addRow("broken UTF-8", head.toUtf8() + "\xC3(\xED\xA0\x80\xF0\x9F",
               head + "\uFFFD(" + QString(5, QChar(0xFFFD)));
    }
    void texts() {
        QFETCH(QByteArray, bytes);
        QTEST(QString::fromStdString(chm::decodeHtml(bytes.toStdString())), "text");
    }

    void refused_data() {
        addColumns<QByteArray>("bytes");
        addRow("empty", QByteArray());
        addRow("another kind of file", QByteArray(5000, 'x'));
        addRow("a signature alone", QByteArray("ITSF"));
        for (const int part : {96, 200, 4000, static_cast<int>(m_bytes.size() / 2)})
            QTest::addRow("the first %d bytes", part) << m_bytes.left(part);
    }
    void refused() {
        QFETCH(QByteArray, bytes);
        QVERIFY(!readAll(write(bytes)).isEmpty());
        QVERIFY(!readAll(m_folder.filePath("none.chm")).isEmpty());
        QVERIFY(!readAll(m_folder.path()).isEmpty());
    }

    // Each 32-bit number of the headers, with the values that hurt most. Whatever comes of it, it is an answer.
    void everyNumberOfTheHeadersBroken() {
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

 private:
    QString write(const QByteArray& bytes) {
        QFile file(m_folder.filePath("damaged.chm"));
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
            qFatal("no room for a damaged copy");
        return file.fileName();
    }

    QTemporaryDir m_folder;
    QByteArray m_bytes;
};

QTEST_GUILESS_MAIN(tst_file)
#include "tst_file.moc"
