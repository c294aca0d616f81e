// SPDX-License-Identifier: MIT
#include "ado/jet_engine.h"

#include <QDir>
#include <QTest>
#include <csignal>

#ifdef Q_OS_UNIX
#include <sys/resource.h>
#endif

#include "ado/fixture.h"
#include "rows.h"

using fixture::bytesOf;
using fixture::errorOf;

namespace {

const QString kEngineType = "Jet OLEDB:Engine Type=4;";

void compact(const QString& source, const QString& destination) {
    ado::JetEngine().CompactDatabase(source, destination);
}

}  // namespace

class tst_jet_engine : public QObject {
    Q_OBJECT

    QTemporaryDir m_dir;
    QString m_source;
    QString m_copy;

 private slots:
    void init() {
        QVERIFY(QDir(m_dir.path()).removeRecursively());
        QVERIFY(QDir().mkpath(m_dir.path()));
        m_source = m_dir.filePath("a.mdb");
        m_copy = m_dir.filePath("copy.mdb");
        fixture::create(m_source);
    }

    void copies() {
        ado::Connection connection;
        connection.Open(fixture::connectionString(m_source));
        connection.Execute("insert into parents (name, amount) values ('Rent', 5)");
        for (int i = 0; i < 300; ++i)
            connection.Execute("insert into children (parent, note) values ('Rent', '" + QString(500, 'x') + "')");
        connection.Execute("delete * from children where id > 10");
        connection.Close();
        const QByteArray before = bytesOf(m_source);

        compact(fixture::connectionString(m_source), fixture::connectionString(m_copy) + kEngineType);
        QVERIFY(bytesOf(m_source) == before);
        QVERIFY(bytesOf(m_copy).size() < before.size() / 2);
        QCOMPARE(QDir(m_dir.path()).entryList(QDir::Files).join(' '), "a.mdb copy.mdb");
        connection.Open(fixture::connectionString(m_copy));
        QCOMPARE(fixture::rowsOf(connection, "select count(*), max(id) from children"), "10|10");
        QCOMPARE(fixture::rowsOf(connection, "select * from parents"), "Rent|5");
    }

    void passwords() {
        compact(fixture::connectionString(m_source), fixture::connectionString(m_copy, "new") + kEngineType);
        ado::Connection connection;
        connection.Open(fixture::connectionString(m_copy, "new"));
        compact(fixture::connectionString(m_source),
                "Provider=Microsoft.Jet.OLEDB.4.0;" + kEngineType + "Data Source=" + m_dir.filePath("kept.mdb"));
        ado::Connection kept;
        kept.Open(fixture::connectionString(m_dir.filePath("kept.mdb")));
        QCOMPARE(kept.State(), ado::adStateOpen);
    }

    void refused_data() {
        addColumns<QString, QString, QString>("source", "destination", "error");
        const QString source = m_dir.filePath("a.mdb");
        const QString good = fixture::connectionString(source);
        const QString goodCopy = fixture::connectionString(m_dir.filePath("copy.mdb")) + kEngineType;
        addRow("no provider", "Data Source=" + source, goodCopy, "3706 ");
        addRow("data shaping", "Provider=MSDataShape;Data " + good, goodCopy, "3706 ");
        addRow("wrong password", fixture::connectionString(source, "x"), goodCopy, "-2147217843 Not a valid password.");
        addRow("no source", fixture::connectionString(source + "x"), goodCopy, "-2147467259 Could not find file");
        addRow("another engine type", good, goodCopy + "Jet OLEDB:Engine Type=5", "-2147217887 ");
        addRow("no folder", good, fixture::connectionString(m_dir.filePath("none/a.mdb")) + kEngineType,
               "-2147467259 ");
    }
    void refused() {
        QFETCH(QString, source);
        QFETCH(QString, destination);
        QFETCH(QString, error);
        const QByteArray before = bytesOf(m_source);
        QCOMPARE(errorOf([&] { compact(source, destination); }).left(error.size()), error);
        QVERIFY(bytesOf(m_source) == before);
        QCOMPARE(QDir(m_dir.path()).entryList(QDir::Files).join(' '), "a.mdb");
    }

    void destinationExists() {
        fixture::writeBytes(m_copy, "mine");
        QCOMPARE(errorOf([&] {
                     compact(fixture::connectionString(m_source), fixture::connectionString(m_copy) + kEngineType);
                 }),
                 "-2147217897 Database already exists.");
        QCOMPARE(bytesOf(m_copy), "mine");
    }

    void sourceInUse() {
        ado::Connection connection;
        connection.Open(fixture::connectionString(m_source));
        QCOMPARE(errorOf([&] {
                     compact(fixture::connectionString(m_source), fixture::connectionString(m_copy) + kEngineType);
                 }),
                 "-2147467259 Could not use '" + m_source + "'; file already in use.");
        QVERIFY(!QFile::exists(m_copy));
        QCOMPARE(fixture::rowsOf(connection, "select count(*) from parents"), "0");
    }

#ifdef Q_OS_UNIX
    // A limit on the size of files stands for a disk that is full.
    void diskFull() {
        const QByteArray before = bytesOf(m_source);
        rlimit old{};
        getrlimit(RLIMIT_FSIZE, &old);
        const rlimit small{60'000, old.rlim_max};
        const auto handler = std::signal(SIGXFSZ, SIG_IGN);
        setrlimit(RLIMIT_FSIZE, &small);
        const QString error = errorOf(
            [&] { compact(fixture::connectionString(m_source), fixture::connectionString(m_copy) + kEngineType); });
        setrlimit(RLIMIT_FSIZE, &old);
        std::signal(SIGXFSZ, handler);
        QCOMPARE(error, "-2147467259 Not enough space on disk.");
        QVERIFY(bytesOf(m_source) == before);
        QCOMPARE(QDir(m_dir.path()).entryList(QDir::Files).join(' '), "a.mdb");
    }
#endif

    void damagedSource() {
        QFile file(m_source);
        QVERIFY(file.open(QIODevice::ReadWrite));
        for (qint64 page = 20; page * 2048 < file.size(); ++page) {
            file.seek(page * 2048);
            file.write(QByteArray(40, '\x5A'));
        }
        file.close();
        QVERIFY(!errorOf([&] {
                     compact(fixture::connectionString(m_source), fixture::connectionString(m_copy) + kEngineType);
                 }).isEmpty());
        QVERIFY(!QFile::exists(m_copy));
    }
};

QTEST_APPLESS_MAIN(tst_jet_engine)
#include "tst_jet_engine.moc"
