// SPDX-License-Identifier: MIT
#include "ado/database_file.h"

#include <QDir>
#include <QTest>

#include "ado/fixture.h"

using fixture::bytesOf;
using fixture::errorOf;
using fixture::writeBytes;

class tst_database_file : public QObject {
    Q_OBJECT

    QTemporaryDir m_dir;

    QString file(const QString& name) const { return m_dir.filePath(name); }
    QString names() const { return QDir(m_dir.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).join(' '); }

 private slots:
    void init() {
        QVERIFY(QDir(m_dir.path()).removeRecursively());
        QVERIFY(QDir().mkpath(m_dir.path()));
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
};

QTEST_APPLESS_MAIN(tst_database_file)
#include "tst_database_file.moc"
