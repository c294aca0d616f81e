// SPDX-License-Identifier: MIT
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include "controls/hourglass.h"
#include "controls/testing.h"
#include "db/basMain.h"
#include "jet/disk/file.h"
#include "vbrt/error.h"

using namespace Qt::StringLiterals;

namespace {

QByteArray bytesOf(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("no file");
}

void writeBytes(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    if (file.open(QIODevice::WriteOnly))
        file.write(bytes);
}

QString tempPath() {
    return QCoreApplication::applicationDirPath() + "/Tempdata.mdb";
}

template <class Work>
long numberOf(Work&& work) {
    try {
        work();
    } catch (const vbrt::Error& e) {
        return e.number();
    }
    return 0;
}

void execute(const QString& sql) {
    objDatabase->objCnn()->Execute(sql);
}

QString valueOf(const QString& sql) {
    return objDatabase->objCnn()->Execute(sql)->text(0);
}

}  // namespace

class tst_database : public QObject {
    Q_OBJECT

    QTemporaryDir m_dir;

    void open(const QString& name) {
        strDatabaseTitle = name;
        strDatabasePath = m_dir.filePath(name);
        objDatabase = std::make_unique<clsDatabase>();
    }

 private slots:
    void initTestCase() {
        QCoreApplication::setApplicationName("Coinvale");
        strPassword = "kqlmz47";
    }

    void init() {
        QVERIFY(QDir(m_dir.path()).removeRecursively());
        QVERIFY(QDir().mkpath(m_dir.path()));
        QVERIFY(WriteResource("NEWDB", "CUSTOM", m_dir.filePath("home.mdb")));
    }

    void cleanup() {
        objDatabase.reset();
        QDir(tempPath()).removeRecursively();
        QFile::remove(tempPath());
    }

    void quoting_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("quoted");
        QTest::newRow("empty") << ""
                               << "";
        QTest::newRow("plain") << "Rent"
                               << "Rent";
        QTest::newRow("every one, first and last") << "'O'Brien's'"
                                                   << "''O''Brien''s''";
        QTest::newRow("doubled already") << "''"
                                         << "''''";
        QTest::newRow("other quotes") << u"\"`´’"_s << u"\"`´’"_s;
    }
    void quoting() {
        QFETCH(QString, text);
        QTEST(SqlQuote(text), "quoted");
        open("home.mdb");
        execute("insert into tbl_items (comment) values ('" + SqlQuote("x" + text) + "')");
        QCOMPARE(valueOf("select comment from tbl_items"), "x" + text);
    }

    void writingTheTemplate() {
        const QString path = m_dir.filePath("new.mdb");
        QVERIFY(WriteResource("NEWDB", "CUSTOM", path));
        const QByteArray bytes = bytesOf(path);
        QCOMPARE(bytes.size(), 69 * 2048);
        QCOMPARE(bytes.mid(4, 15), "Standard Jet DB");
        // The file is not deleted first.
        writeBytes(path, QByteArray(69 * 2048 + 3, 'x'));
        QVERIFY(WriteResource("NEWDB", "CUSTOM", path));
        QVERIFY(bytesOf(path) == bytes + "xxx");

        QCOMPARE(numberOf([&] { WriteResource("OTHER", "CUSTOM", path); }), 53);
        QCOMPARE(numberOf([&] { WriteResource("NEWDB", "CUSTOM", m_dir.filePath("none/a.mdb")); }), 76);
    }

    void openAndClose() {
        controls::DialogQueue dialogs;
        open("home.mdb");
        QVERIFY(blnDatabaseOpen);
        QCOMPARE(valueOf("select count(*) from tbl_envelopes"), "0");
        QCOMPARE(valueOf("select count(*) from tbl_items"), "0");
        objDatabase.reset();
        QVERIFY(!blnDatabaseOpen);
        QCOMPARE(strDatabaseTitle, "home.mdb");  // emptied by whoever closes the budget
        QCOMPARE(dialogs.messageCount(), 0);
    }

    void cascades() {
        open("home.mdb");
        execute("insert into tbl_envelopes (envelope) values ('Rent')");
        execute("insert into tbl_items (amount, envelope) values (5, 'Rent')");
        execute("update tbl_envelopes set envelope = 'House' where envelope = 'Rent'");
        QCOMPARE(valueOf("select envelope from tbl_items"), "House");
        execute("delete * from tbl_envelopes where envelope = 'House'");
        QCOMPARE(valueOf("select count(*) from tbl_items"), "0");
        QCOMPARE(numberOf([&] { execute("insert into tbl_items (envelope) values ('none')"); }), -2147467259);
    }

    void failedOpenings_data() {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("password");
        QTest::addColumn<bool>("locked");
        QTest::newRow("missing") << "none.mdb"
                                 << "kqlmz47" << false;
        QTest::newRow("wrong password") << "home.mdb"
                                        << "kqlmz48" << false;
        QTest::newRow("no database") << "text.mdb"
                                     << "kqlmz47" << false;
        QTest::newRow("a folder") << ""
                                  << "kqlmz47" << false;
        QTest::newRow("locked") << "home.mdb"
                                << "kqlmz47" << true;
    }
    void failedOpenings() {
        QFETCH(QString, name);
        QFETCH(QString, password);
        QFETCH(bool, locked);
        writeBytes(m_dir.filePath("text.mdb"), "just a text");
        std::unique_ptr<jet::File> other;
        if (locked) {
            other = jet::realDisk().open(m_dir.filePath(name).toStdString(), jet::OpenMode::ReadWrite);
            QVERIFY(other->lock(true));
        }
        controls::DialogQueue dialogs;
        dialogs.answer(controls::MsgAnswer::Ok);
        strPassword = password;
        const controls::Hourglass hourglass;
        open(name);
        strPassword = "kqlmz47";

        const auto message = dialogs.takeMessage();
        QCOMPARE(message.text, "Unrecognized database format '" + name + "'.");
        QCOMPARE(message.icon, controls::MsgIcon::Information);
        QCOMPARE(message.buttons, controls::MsgButtons::Ok);
        QCOMPARE(message.title, "Coinvale");
        QCOMPARE(dialogs.problems(), QStringList());
        QVERIFY(!controls::hourglassShown());
        QVERIFY(!blnDatabaseOpen);
        QCOMPARE(strDatabasePath, "");
        QCOMPARE(strDatabaseTitle, "");
        QCOMPARE(objDatabase->objCnn()->State(), ado::adStateClosed);
    }

    void errorReport() {
        controls::DialogQueue dialogs;
        dialogs.answer(controls::MsgAnswer::Ok);
        open("home.mdb");
        try {
            const controls::Hourglass hourglass;
            execute("insert into tbl_items (envelope) values ('none')");
        } catch (...) {
            ShowError();
        }
        const auto message = dialogs.takeMessage();
        QCOMPARE(message.text,
                 "Error #: -2147467259\rYou cannot add or change a record because a related record is required in "
                 "table 'tbl_envelopes'.");
        QCOMPARE(message.icon, controls::MsgIcon::Exclamation);
        QCOMPARE(message.title, "Error");
        QCOMPARE(dialogs.problems(), QStringList());
    }

    void compaction() {
        writeBytes(tempPath(), "left over");
        open("home.mdb");
        execute("insert into tbl_envelopes (envelope, budget) values ('Rent', 100)");
        for (int i = 0; i < 200; ++i)
            execute("insert into tbl_items (amount, envelope, comment) values (1, 'Rent', '" + QString(400, 'x') +
                    "')");
        execute("delete * from tbl_items where id > 3");
        const qint64 before = QFile(strDatabasePath).size();

        controls::DialogQueue dialogs;
        QVERIFY(objDatabase->CompactDatabase());
        QCOMPARE(dialogs.messageCount(), 0);
        QVERIFY(blnDatabaseOpen);
        QVERIFY(!controls::hourglassShown());
        QCOMPARE(strDatabasePath, m_dir.filePath("home.mdb"));
        QVERIFY(QFile(strDatabasePath).size() < before);
        QVERIFY(!QFile::exists(tempPath()));
        QCOMPARE(valueOf("select sum(amount) from tbl_items"), "3");
        execute("insert into tbl_items (amount, envelope) values (1, 'Rent')");
        QCOMPARE(valueOf("select count(*) from tbl_items"), "4");
        // A second time, over what the first one wrote.
        QVERIFY(objDatabase->CompactDatabase());
        QCOMPARE(valueOf("select count(*) from tbl_items"), "4");
    }

    void failedCompactions_data() {
        QTest::addColumn<bool>("inUse");
        QTest::newRow("the temporary file cannot be written") << false;
        QTest::newRow("another connection has the budget open") << true;
    }
    void failedCompactions() {
        QFETCH(bool, inUse);
        open("home.mdb");
        execute("insert into tbl_envelopes (envelope) values ('Rent')");
        std::unique_ptr<clsDatabase> objOther;
        if (inUse)
            objOther = std::make_unique<clsDatabase>();
        else
            QVERIFY(QDir().mkdir(tempPath()));

        controls::DialogQueue dialogs;
        dialogs.answer(controls::MsgAnswer::Ok);
        QVERIFY(!objDatabase->CompactDatabase());
        const QString text = inUse
                                 ? "Error #: -2147467259\rCould not use '" + strDatabasePath + "'; file already in use."
                                 : QString("Error #: 75\rPath/File access error");
        QCOMPARE(dialogs.takeMessage().text, text);
        QCOMPARE(dialogs.problems(), QStringList());
        QVERIFY(!controls::hourglassShown());
        QVERIFY(!blnDatabaseOpen);
        QCOMPARE(strDatabaseTitle, "home.mdb");
        QCOMPARE(numberOf([&] { execute("select 1"); }), 91);

        objOther.reset();
        open("home.mdb");
        QCOMPARE(valueOf("select envelope from tbl_envelopes"), "Rent");
    }

    void compactionGoesByThePath() {
        open("home.mdb");
        execute("insert into tbl_envelopes (envelope) values ('Rent')");
        QVERIFY(QFile::copy(strDatabasePath, m_dir.filePath("copy.mdb")));
        strDatabasePath = m_dir.filePath("copy.mdb");
        execute("insert into tbl_envelopes (envelope) values ('Food')");
        QVERIFY(objDatabase->CompactDatabase());
        QCOMPARE(valueOf("select count(*) from tbl_envelopes"), "1");
        open("home.mdb");
        QCOMPARE(valueOf("select count(*) from tbl_envelopes"), "2");
    }

    void openRecordset() {
        open("home.mdb");
        execute("insert into tbl_envelopes (envelope) values ('b')");
        execute("insert into tbl_envelopes (envelope) values ('a')");
        const auto rst = objDatabase->OpenRecordset("select envelope from tbl_envelopes order by envelope desc",
                                                    ado::adOpenStatic, ado::adLockReadOnly, ado::adCmdText);
        objDatabase.reset();
        QCOMPARE(rst->RecordCount(), 2);
        QCOMPARE(rst->text("envelope"), "b");
        rst->setSort("envelope");
        QCOMPARE(rst->text("envelope"), "a");

        open("home.mdb");
        controls::DialogQueue dialogs;
        dialogs.answer(controls::MsgAnswer::Ok);
        QVERIFY(!objDatabase->OpenRecordset("select * from tbl_register", 3, 1, 1));
        QVERIFY(
            dialogs.takeMessage().text.startsWith("Error #: -2147217865\rThe Microsoft Jet database engine cannot "
                                                  "find the input table or query 'tbl_register'."));
        QCOMPARE(dialogs.problems(), QStringList());
    }

    void shapeConnectionString() {
        strDatabasePath = "/home/a.mdb";
        QCOMPARE(ShapeConnectionString(),
                 "Data Provider=Microsoft.Jet.OLEDB.4.0;Data Source=/home/a.mdb;Jet OLEDB:Database Password=kqlmz47;"
                 "Jet OLEDB:Engine Type=4;");
    }
};

QTEST_MAIN(tst_database)
#include "tst_database.moc"
