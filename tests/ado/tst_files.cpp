// SPDX-License-Identifier: MIT
// What is done to whole database files: written, deleted, replaced, copied, compacted.
#include <QDir>
#include <QTest>
#include <csignal>

#ifdef Q_OS_UNIX
#include <sys/resource.h>
#endif

#include "ado/database_file.h"
#include "ado/fixture.h"
#include "ado/jet_engine.h"
#include "rows.h"

using fixture::bytesOf;
using fixture::errorOf;
using fixture::writeBytes;

namespace {

const QString kEngineType = "Jet OLEDB:Engine Type=4;";

void compact(const QString& source, const QString& destination) {
    ado::JetEngine().CompactDatabase(source, destination);
}

}  // namespace

class tst_files : public QObject {
    Q_OBJECT

    QTemporaryDir m_dir;
    const QString m_source = file("source.mdb");
    const QString m_copy = file("copy.mdb");
    const QString m_from = fixture::connectionString(m_source);
    const QString m_to = fixture::connectionString(m_copy) + kEngineType;

    QString file(const QString& name) const { return m_dir.filePath(name); }
    QString names() const { return QDir(m_dir.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).join(' '); }

 private slots:
    void init() {
        QVERIFY(QDir(m_dir.path()).removeRecursively());
        QVERIFY(QDir().mkpath(m_dir.path()));
        if (QByteArray(QTest::currentTestFunction()).startsWith("compact"))
            fixture::create(m_source);
    }

    void write() {
        writeBytes(file("a.mdb-log"), "old log");
        ado::writeDatabaseFile(file("a.mdb"), "bytes");
        QCOMPARE(bytesOf(file("a.mdb")), "bytes");
        QCOMPARE(names(), "a.mdb");
        ado::writeDatabaseFile(file("a.mdb"), "BY");
        QCOMPARE(bytesOf(file("a.mdb")), "BYtes");
        QCOMPARE(errorOf([&] { ado::writeDatabaseFile(file("none/a.mdb"), "x"); }), "76 Path not found");
        QCOMPARE(errorOf([&] { ado::writeDatabaseFile(m_dir.path(), "x"); }), "75 Path/File access error");
    }

    void remove() {
        writeBytes(file("a.mdb"), "bytes");
        writeBytes(file("a.mdb-log"), "log");
        ado::deleteDatabaseFile(file("a.mdb"));
        QCOMPARE(names(), "");
        QCOMPARE(errorOf([&] { ado::deleteDatabaseFile(file("a.mdb")); }), "53 File not found");
        QCOMPARE(errorOf([&] { ado::deleteDatabaseFile(m_dir.path()); }), "75 Path/File access error");
    }

    void replace() {
        writeBytes(file("new.mdb"), "new");
        writeBytes(file("a.mdb"), "older and longer");
        writeBytes(file("a.mdb-log"), "log");
        const QFile::Permissions secret = QFile::ReadOwner | QFile::WriteOwner | QFile::ReadUser | QFile::WriteUser;
        QVERIFY(QFile::setPermissions(file("a.mdb"), secret));
        ado::replaceDatabaseFile(file("new.mdb"), file("a.mdb"));
        QCOMPARE(bytesOf(file("a.mdb")), "new");
        QCOMPARE(QFile::permissions(file("a.mdb")), secret);
        QCOMPARE(names(), "a.mdb");

        ado::replaceDatabaseFile(file("a.mdb"), file("b.mdb"));
        QCOMPARE(names(), "b.mdb");
        QCOMPARE(errorOf([&] { ado::replaceDatabaseFile(file("none.mdb"), file("b.mdb")); }), "53 File not found");
        QCOMPARE(bytesOf(file("b.mdb")), "new");
    }

    void replaceAcrossFileSystems() {
        const QString elsewhere = "/dev/shm/tst_database_file.mdb";
        writeBytes(elsewhere, QByteArray(3'000'000, 'n'));
        if (!QFile::exists(elsewhere))
            QSKIP("no second file system");
        writeBytes(file("a.mdb"), "old");
        ado::replaceDatabaseFile(elsewhere, file("a.mdb"));
        QVERIFY(bytesOf(file("a.mdb")) == QByteArray(3'000'000, 'n'));
        QVERIFY(!QFile::exists(elsewhere));
        QCOMPARE(names(), "a.mdb");
    }

    void linksAreFollowed() {
        writeBytes(file("new.mdb"), "new");
        writeBytes(file("real.mdb"), "old");
        QVERIFY(QFile::link(file("real.mdb"), file("link.mdb")));
        ado::replaceDatabaseFile(file("new.mdb"), file("link.mdb"));
        QVERIFY(QFileInfo(file("link.mdb")).isSymLink());
        QCOMPARE(bytesOf(file("real.mdb")), "new");
        QVERIFY(QFile::remove(file("real.mdb")));
        ado::deleteDatabaseFile(file("link.mdb"));  // of a link, also one that leads nowhere, the link goes
        QCOMPARE(names(), "");
    }

    void copy() {
        writeBytes(file("a.mdb"), QByteArray(1'500'000, 'a'));
        writeBytes(file("b.mdb"), "old");
        writeBytes(file("b.mdb-log"), "log");
        ado::copyDatabaseFile(file("a.mdb"), file("b.mdb"));
        QVERIFY(bytesOf(file("b.mdb")) == QByteArray(1'500'000, 'a'));
        QCOMPARE(names(), "a.mdb b.mdb");
        QCOMPARE(errorOf([&] { ado::copyDatabaseFile(file("none.mdb"), file("c.mdb")); }), "53 File not found");
        QCOMPARE(errorOf([&] { ado::copyDatabaseFile(file("a.mdb"), file("none/c.mdb")); }), "76 Path not found");
        QCOMPARE(errorOf([&] { ado::copyDatabaseFile(file("a.mdb"), m_dir.path()); }), "70 Permission denied");
        QCOMPARE(names(), "a.mdb b.mdb");
    }

    void openFilesAreLeftAlone() {
        const QString path = file("open.mdb");
        fixture::create(path);
        writeBytes(file("other.mdb"), "other");
        QVERIFY(!ado::isDatabaseOpen(path));
        ado::Connection connection;
        connection.Open(fixture::connectionString(path));
        QVERIFY(ado::isDatabaseOpen(path));
        const QString denied = "70 Permission denied";
        QCOMPARE(errorOf([&] { ado::deleteDatabaseFile(path); }), denied);
        QCOMPARE(errorOf([&] { ado::writeDatabaseFile(path, "x"); }), denied);
        QCOMPARE(errorOf([&] { ado::replaceDatabaseFile(file("other.mdb"), path); }), denied);
        QCOMPARE(errorOf([&] { ado::replaceDatabaseFile(path, file("other.mdb")); }), denied);
        QCOMPARE(errorOf([&] { ado::copyDatabaseFile(file("other.mdb"), path); }), denied);
        // Under another name it is the same file.
        QVERIFY(QFile::link(path, file("link.mdb")));
        QCOMPARE(errorOf([&] { ado::copyDatabaseFile(path, file("link.mdb")); }), denied);

        // Copying an open database is fine, and the connection goes on with the original.
        connection.Execute("insert into parents (name) values ('Rent')");
        ado::copyDatabaseFile(path, file("other.mdb"));
        connection.Execute("insert into parents (name) values ('Food')");
        ado::Connection copy;
        copy.Open(fixture::connectionString(file("other.mdb")));
        QCOMPARE(fixture::rowsOf(copy, "select name from parents"), "Rent");
        // Of a file that another process has open nobody knows what it holds.
        const auto other = jet::realDisk().open(file("held.mdb").toStdString(), jet::OpenMode::Create);
        QVERIFY(other->lock(true));
        QCOMPARE(errorOf([&] { ado::copyDatabaseFile(file("held.mdb"), file("b.mdb")); }), denied);
    }

    void compacts() {
        ado::Connection connection;
        connection.Open(m_from);
        connection.Execute("insert into parents (name, amount) values ('Rent', 5)");
        for (int i = 0; i < 300; ++i)
            connection.Execute("insert into children (parent, note) values ('Rent', '" + QString(500, 'x') + "')");
        connection.Execute("delete * from children where id > 10");
        connection.Close();
        const QByteArray before = bytesOf(m_source);

        compact(m_from, m_to);
        QVERIFY(bytesOf(m_source) == before);
        QVERIFY(bytesOf(m_copy).size() < before.size() / 2);
        QCOMPARE(names(), "copy.mdb source.mdb");
        connection.Open(fixture::connectionString(m_copy));
        QCOMPARE(fixture::rowsOf(connection, "select count(*), max(id) from children"), "10|10");
        QCOMPARE(fixture::rowsOf(connection, "select * from parents"), "Rent|5");
    }

    void compactsWithPasswords() {
        compact(fixture::connectionString(m_source), fixture::connectionString(m_copy, "new") + kEngineType);
        ado::Connection connection;
        connection.Open(fixture::connectionString(m_copy, "new"));
        compact(fixture::connectionString(m_source),
                "Provider=Microsoft.Jet.OLEDB.4.0;" + kEngineType + "Data Source=" + file("kept.mdb"));
        ado::Connection kept;
        kept.Open(fixture::connectionString(file("kept.mdb")));
        QCOMPARE(kept.State(), ado::adStateOpen);
    }

    void compactRefused_data() {
        addColumns<QString, QString, QString>("source", "destination", "error");
        const QString source = m_source;
        const QString good = fixture::connectionString(source);
        const QString goodCopy = fixture::connectionString(file("copy.mdb")) + kEngineType;
        addRow("no provider", "Data Source=" + source, goodCopy, "3706 ");
        addRow("data shaping", "Provider=MSDataShape;Data " + good, goodCopy, "3706 ");
        addRow("wrong password", fixture::connectionString(source, "x"), goodCopy, "-2147217843 Not a valid password.");
        addRow("no source", fixture::connectionString(source + "x"), goodCopy, "-2147467259 Could not find file");
        addRow("another engine type", good, goodCopy + "Jet OLEDB:Engine Type=5", "-2147217887 ");
        addRow("no folder", good, fixture::connectionString(file("none/a.mdb")) + kEngineType, "-2147467259 ");
    }
    void compactRefused() {
        QFETCH(QString, source);
        QFETCH(QString, destination);
        QFETCH(QString, error);
        const QByteArray before = bytesOf(m_source);
        QCOMPARE(errorOf([&] { compact(source, destination); }).left(error.size()), error);
        QVERIFY(bytesOf(m_source) == before);
        QCOMPARE(names(), "source.mdb");
    }

    void compactKeepsWhatIsThere() {
        fixture::writeBytes(m_copy, "mine");
        QCOMPARE(errorOf([&] { compact(m_from, m_to); }), "-2147217897 Database already exists.");
        QCOMPARE(bytesOf(m_copy), "mine");
        QVERIFY(QFile::remove(m_copy));
        ado::Connection connection;
        connection.Open(m_from);
        QCOMPARE(errorOf([&] { compact(m_from, m_to); }),
                 "-2147467259 Could not use '" + m_source + "'; file already in use.");
        QVERIFY(!QFile::exists(m_copy));
        QCOMPARE(fixture::rowsOf(connection, "select count(*) from parents"), "0");
    }

#ifdef Q_OS_UNIX
    // A limit on the size of files stands for a disk that is full.
    void compactWithoutRoom() {
        const QByteArray before = bytesOf(m_source);
        rlimit old{};
        getrlimit(RLIMIT_FSIZE, &old);
        const rlimit small{60'000, old.rlim_max};
        const auto handler = std::signal(SIGXFSZ, SIG_IGN);
        setrlimit(RLIMIT_FSIZE, &small);
        const QString error = errorOf([&] { compact(m_from, m_to); });
        setrlimit(RLIMIT_FSIZE, &old);
        std::signal(SIGXFSZ, handler);
        QCOMPARE(error, "-2147467259 Not enough space on disk.");
        QVERIFY(bytesOf(m_source) == before);
        QCOMPARE(names(), "source.mdb");
    }
#endif

    void compactDamaged() {
        QFile file(m_source);
        QVERIFY(file.open(QIODevice::ReadWrite));
        for (qint64 page = 20; page * 2048 < file.size(); ++page) {
            file.seek(page * 2048);
            file.write(QByteArray(40, '\x5A'));
        }
        file.close();
        QVERIFY(!errorOf([&] { compact(m_from, m_to); }).isEmpty());
        QVERIFY(!QFile::exists(m_copy));
    }
};

QTEST_APPLESS_MAIN(tst_files)
#include "tst_files.moc"
