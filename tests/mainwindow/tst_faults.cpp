// SPDX-License-Identifier: MIT
// Every command under everything that can go wrong beneath an open budget: what is said, what is enabled afterwards,
// and that whatever was accepted is found again.
#include <QDir>
#include <QTest>
#include <memory>
#include <optional>

#include "ado/connection_string.h"
#include "controls/hourglass.h"
#include "jet/disk/fault_disk.h"
#include "jet/maintenance/create.h"
#include "program.h"

#ifndef Q_OS_WIN
#include <unistd.h>
#endif

namespace {

QByteArray contents(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void write(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(bytes), bytes.size());
}

void execute(const QString& sql) {
    objDatabase->objCnn()->Execute(sql);
}

void insert(const QString& payee, const QString& comment = {}) {
    execute("insert into tbl_items (amount, envelope, item_date, payee, comment) values (1, 'Rent', '1/2/2026', '" +
            payee + "', '" + comment + "')");
}

QStringList payeesIn(const QString& path) {
    ado::Connection connection;
    connection.Open("Provider=Microsoft.Jet.OLEDB.4.0;Data Source=" + ado::connectionValue(path) +
                    ";Jet OLEDB:Database Password=kqlmz47;");
    QStringList payees;
    const auto rst = connection.Execute("select payee from tbl_items order by id");
    for (; !rst->AtEnd(); rst->MoveNext())
        payees << (rst->isNull(0) ? QString() : rst->text(0));
    return payees;
}

// As inDialog, but under a fault the dialog may not come up, or stay when its work is refused.
void inDialogIfShown(Program& program, const char* name, const std::function<void(QDialog*)>& work) {
    QTimer::singleShot(0, qApp, [&] {
        if (auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget())) {
            work(dialog);
            if (dialog->isVisible())
                dialog->reject();
        }
    });
    program.trigger(name);
    QCoreApplication::processEvents();
}

using Work = std::function<void(Program&)>;

const QMap<QString, Work>& commands() {
    static const QMap<QString, Work> all = {
        {"open", [](Program& program) { program.open("Other.mdb"); }},
        {"new", [](Program& program) { program.create("New.mdb"); }},
        {"save as",
         [](Program& program) {
             program.dialogs.choose(program.path("Copy.mdb"));
             program.trigger("mnuFileSaveAs");
         }},
        {"close", [](Program& program) { program.trigger("mnuFileClose"); }},
        {"compact", [](Program& program) { program.trigger("mnuToolsCompact"); }},
        {"add",
         [](Program& program) {
             inDialogIfShown(program, "mnuItemAdd", [](QDialog* dialog) {
                 type(dialog, "txtPayee", "second");
                 click(dialog, "cmdOk");
             });
         }},
        {"edit",
         [](Program& program) {
             program.list()->selectRow(0);
             inDialogIfShown(program, "mnuItemEdit", [](QDialog* dialog) {
                 type(dialog, "txtPayee", "edited");
                 click(dialog, "cmdOk");
             });
         }},
        {"stuff",
         [](Program& program) {
             inDialogIfShown(program, "mnuToolsStuffer", [](QDialog* dialog) { click(dialog, "cmdStuff"); });
         }},
        {"report", [](Program& program) { inDialogIfShown(program, "mnuFilePreview", [](QDialog* /*preview*/) {}); }},
    };
    return all;
}

const QStringList kBefore = {"Starting Balance", "first"};

// What Home.mdb has once the command has been accepted.
QStringList after(const QString& command) {
    if (command == "add")
        return kBefore + QStringList("second");
    if (command == "edit")
        return {"Starting Balance", "edited"};
    if (command == "stuff")
        return kBefore + QStringList("Budget Allocation");
    return kBefore;
}

const QMap<QString, Work>& deeds() {
    static const QMap<QString, Work> all = {
        {"vanished", [](Program& program) { QVERIFY(QFile::remove(program.path("Home.mdb"))); }},
        {"replaced",
         [](Program& program) {
             write(program.path("sync"), contents(program.path("Other.mdb")));
             QVERIFY(QFile::remove(program.path("Home.mdb")));
             QVERIFY(QFile::rename(program.path("sync"), program.path("Home.mdb")));
         }},
        {"overwritten", [](Program& program) { write(program.path("Home.mdb"), contents(program.path("Other.mdb"))); }},
        {"folder read-only",
         [](Program& program) {
             QVERIFY(QFile::setPermissions(program.folder.path(), QFile::ReadOwner | QFile::ExeOwner));
         }},
        {"file read-only",
         [](Program& program) { QVERIFY(QFile::setPermissions(program.path("Home.mdb"), QFile::ReadOwner)); }},
    };
    return all;
}

#ifndef Q_OS_WIN
// Permissions do not bind root: the case goes on as nobody, to whom the files then belong.
class OrdinaryUser {
 public:
    explicit OrdinaryUser(const QString& folder) : m_wasRoot(::geteuid() == 0) {
        if (!m_wasRoot)
            return;
        constexpr uid_t kNobody = 65534;
        for (const QString& name : QDir(folder).entryList(QDir::Files) + QStringList("."))
            m_ready = ::chown(qPrintable(folder + '/' + name), kNobody, kNobody) == 0 && m_ready;
        m_ready = m_ready && ::setresuid(kNobody, kNobody, 0) == 0;
    }
    OrdinaryUser(const OrdinaryUser&) = delete;
    OrdinaryUser& operator=(const OrdinaryUser&) = delete;
    ~OrdinaryUser() {
        if (m_wasRoot && ::setresuid(0, 0, 0) != 0)
            qFatal("cannot be root again");
    }
    [[nodiscard]] bool ready() const { return m_ready; }

 private:
    bool m_wasRoot;
    bool m_ready = true;
};
#endif

// The messages, in short.
QString said(Program& program) {
    QStringList all;
    while (program.dialogs.messageCount() > 0) {
        const QString text = program.dialogs.takeMessage().text.section('\r', -1);
        const QMap<QString, QString> shorter = {{"Nothing was changed.", "displaced"},
                                                {"has been saved as", "rescued"},
                                                {"They are safe in the file beside it", "unfinished"},
                                                {"Not enough space on disk.", "disk full"},
                                                {"Disk or network error.", "disk error"}};
        QString shown = text;
        for (auto it = shorter.begin(); it != shorter.end(); ++it)
            if (text.contains(it.key()))
                shown = it.value();
        all << shown;
    }
    return all.join(" + ");
}

}  // namespace

class tst_faults : public QObject {
    Q_OBJECT

    jet::FaultDisk m_disk{jet::realDisk()};
    QByteArray m_home;
    QByteArray m_other;

    // Home.mdb open, the envelope Rent selected, an item accepted in this session.
    void open(Program& program) {
        write(program.path("Home.mdb"), m_home);
        write(program.path("Other.mdb"), m_other);
        program.open("Home.mdb");
        program.select("Rent");
        insert("first");
        program.select("Envelopes");
        program.select("Rent");
        QVERIFY(blnDatabaseOpen);
    }

    void checkWindow(Program& program, bool isOpen) {
        QCOMPARE(blnDatabaseOpen, isOpen);
        for (const char* name : {"mnuFileClose", "mnuFileSaveAs", "mnuToolsCompact"})
            QCOMPARE(program.command(name)->isEnabled(), isOpen);
        QVERIFY(program.command("mnuFileOpen")->isEnabled());
        QVERIFY(!controls::hourglassShown());
        if (!isOpen)
            QCOMPARE(program.list()->rowCount() + program.tree()->nodeCount(), 0);
    }

 private slots:
    void initTestCase() {
        vbrt::qt::setToday(vbrt::qt::DateSerial(2026, 11, 15));
        Program program;
        program.openNew("Home.mdb");
        program.trigger("mnuFileClose");
        m_other = contents(program.path("Home.mdb"));
        program.open("Home.mdb");
        program.addEnvelope("Rent", "5");
        execute("update tbl_envelopes set budget = 10");
        program.trigger("mnuFileClose");
        m_home = contents(program.path("Home.mdb"));
    }
    void init() { jet::setDefaultDisk(&m_disk); }
    void cleanup() {
        m_disk.setPlan({});
        jet::setDefaultDisk(nullptr);
    }

    void commandUnderFault_data() {
        QTest::addColumn<QString>("fault");
        QTest::addColumn<QString>("command");
        QTest::addColumn<QString>("message");
        QTest::addColumn<bool>("isOpen");
        const auto add = [](const char* fault, const char* command, const char* message, bool isOpen) {
            QTest::addRow("%s, %s", fault, command) << QString(fault) << QString(command) << QString(message) << isOpen;
        };
        add("disk full", "open", "", true);
        add("disk full", "new", "Disk full", false);
        add("disk full", "save as", "Disk full", true);
        add("disk full", "close", "", false);
        add("disk full", "compact", "disk full", false);
        add("disk full", "add", "disk full", true);
        add("disk full", "edit", "", true);  // it has room where it is
        add("disk full", "stuff", "disk full", true);
        add("disk full", "report", "", true);
        add("disk dead", "open", "unfinished + Unrecognized database format 'Other.mdb'.", false);
        add("disk dead", "new", "unfinished + Device I/O error", false);
        add("disk dead", "save as", "Device I/O error", true);
        add("disk dead", "close", "unfinished", false);
        add("disk dead", "compact", "unfinished", false);
        add("disk dead", "add", "disk error", true);
        add("disk dead", "edit", "disk error", true);
        add("disk dead", "stuff", "disk error", true);
        add("disk dead", "report", "", true);
        for (const char* fault : {"vanished", "replaced", "overwritten"}) {
            add(fault, "open", "rescued", true);
            add(fault, "new", "rescued", false);
            add(fault, "save as", "", true);
            add(fault, "close", "rescued", false);
            add(fault, "compact", "rescued", false);
            add(fault, "add", "displaced", true);
            add(fault, "edit", "displaced", true);
            add(fault, "stuff", "displaced", true);
            add(fault, "report", "", true);
        }
        // The log is there already; what needs a new name in the folder is refused.
        add("folder read-only", "open", "", true);
        add("folder read-only", "new", "Path/File access error", false);
        add("folder read-only", "save as", "Path/File access error", true);
        add("folder read-only", "close", "", false);
        add("folder read-only", "compact", "Path/File access error", false);
        for (const char* command : {"add", "edit", "report"})
            add("folder read-only", command, "", true);
        add("folder read-only", "stuff", "1 budget items created.", true);
        // It was open for writing before.
        add("file read-only", "open", "", true);
        add("file read-only", "new", "", false);
        add("file read-only", "save as", "", true);
        add("file read-only", "close", "", false);
        add("file read-only", "compact", "Path/File access error", false);
        for (const char* command : {"add", "edit", "report"})
            add("file read-only", command, "", true);
        add("file read-only", "stuff", "1 budget items created.", true);
    }
    void commandUnderFault() {
        QFETCH(QString, fault);
        QFETCH(QString, command);
        QFETCH(QString, message);
        QFETCH(bool, isOpen);
        Program program;
        open(program);
#ifndef Q_OS_WIN
        std::optional<OrdinaryUser> user;
        if (fault.endsWith("read-only")) {
            user.emplace(program.folder.path());
            if (!user->ready())
                QSKIP("the permissions of this folder bind nobody");
        }
#endif
        if (fault == "disk full") {
            m_disk.setPlan({.full = true});
            if (command == "add" || command == "edit" ||
                command == "stuff") {  // what there is room for is taken, and kept
                int taken = 0;
                for (const int length : {200, 20, 0}) {
                    try {
                        for (; taken < 5000; ++taken)
                            insert("bulk", QString(length, 'x'));
                    } catch (const vbrt::Error&) {
                    }
                }
                QVERIFY(taken < 5000);
                QCOMPARE(Program::rows("select count(*) from tbl_items where payee = 'bulk'"),
                         QStringList(QString::number(taken)));
            }
        } else if (fault == "disk dead") {
            m_disk.setPlan({.failAt = 1, .onwards = true});
        } else {
            deeds()[fault](program);
        }
        const bool displaced = !fault.startsWith("disk") && !fault.endsWith("read-only");
        const QByteArray stranger = contents(program.path("Home.mdb"));

        for (qsizetype i = 0; !message.isEmpty() && i <= message.count(" + "); ++i)
            program.dialogs.answer(controls::MsgAnswer::Ok);
        commands()[command](program);
        QCOMPARE(said(program), message);
        QCOMPARE(program.dialogs.problems(), QStringList());
        checkWindow(program, isOpen);
        if (command == "save as" && message.isEmpty())
            QCOMPARE(payeesIn(program.path("Copy.mdb")), kBefore);

        QFile::setPermissions(program.folder.path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        m_disk.setPlan({});
        if (blnDatabaseOpen) {
            const bool rescues = displaced && command != "open";
            if (rescues)
                program.dialogs.answer(controls::MsgAnswer::Ok);
            program.trigger("mnuFileClose");
            QCOMPARE(said(program), rescues ? "rescued" : "");
        }
        if (displaced)
            QCOMPARE(contents(program.path("Home.mdb")), stranger);
        QStringList payees = payeesIn(program.path(displaced ? "Home (rescued).mdb" : "Home.mdb"));
        payees.removeAll("bulk");
        QCOMPARE(payees, message.isEmpty() || message.contains("created") ? after(command) : kBefore);
        QStringList left = QDir(program.folder.path()).entryList({"*-log*", "*-new", "Tempdata*", "*.old"});
        QCOMPARE(left, QStringList());
        // The same budget can be opened again at once.
        program.open(displaced ? "Home (rescued).mdb" : "Home.mdb");
        checkWindow(program, true);
        QCOMPARE(program.dialogs.problems(), QStringList());
    }

    void errorAtEveryOperation_data() {
        QTest::addColumn<QString>("command");
        for (const QString& command : commands().keys())
            QTest::newRow(qPrintable(command)) << command;
    }
    void errorAtEveryOperation() {
        QFETCH(QString, command);
        for (std::uint64_t n = 1;; ++n) {
            Program program;
            open(program);
            write(program.path("Copy.mdb"), "older copy");
            write(program.path("New.mdb"), m_home);
            m_disk.setPlan({.failAt = n, .halfWrite = true});
            for (int i = 0; i < 3; ++i)
                program.dialogs.answer(controls::MsgAnswer::Ok);
            commands()[command](program);
            const bool failed = m_disk.failed();
            m_disk.setPlan({});
            const QString message = said(program);
            checkWindow(program, blnDatabaseOpen);
            if (blnDatabaseOpen)
                program.trigger("mnuFileClose");
            QCOMPARE(said(program), "");
            const QStringList payees = payeesIn(program.path("Home.mdb"));
            if (payees != after(command))
                QVERIFY2(payees == kBefore && !message.isEmpty(), qPrintable(payees.join(' ') + ": " + message));
            if (command == "save as" && contents(program.path("Copy.mdb")) != "older copy")
                QCOMPARE(payeesIn(program.path("Copy.mdb")), kBefore);
            const QStringList replaced = payeesIn(program.path("New.mdb"));
            QVERIFY(replaced.isEmpty() ? command == "new" : replaced == QStringList("Starting Balance"));
            QCOMPARE(QDir(program.folder.path()).entryList({"New.mdb?*"}), QStringList());
            if (!failed)
                break;
        }
    }

    // A budget whose items or tables cannot be read is open all the same, so that it can be closed or copied.
    void unreadable_data() {
        QTest::addColumn<bool>("foreign");
        QTest::addColumn<QString>("command");
        QTest::addColumn<QString>("message");
        const auto add = [](bool foreign, const char* command, const char* message) {
            QTest::addRow("%s, %s", foreign ? "a database of another program" : "a damaged page", command)
                << foreign << QString(command) << QString(message);
        };
        for (const char* command : {"open", "new", "save as", "close"}) {
            add(false, command, "");
            add(true, command, "");
        }
        for (const char* command : {"compact", "stuff", "report"})
            add(false, command, "The database file is damaged (page 35): not a data page.");
        add(true, "compact", "Successfully compacted the 'Bad.mdb' database.");
    }
    void unreadable() {
        QFETCH(bool, foreign);
        QFETCH(QString, command);
        QFETCH(QString, message);
        Program program;
        open(program);
        for (int i = 0; i < 40; ++i)
            insert("bulk", QString(200, 'x'));
        program.trigger("mnuFileClose");
        const QString path = program.path("Bad.mdb");
        if (foreign) {
            jet::DatabaseSpec spec;
            spec.password = "kqlmz47";
            jet::createDatabase(jet::realDisk(), path.toStdString(), spec);
        } else {
            QByteArray bytes = contents(program.path("Home.mdb"));
            bytes.replace(bytes.indexOf("bulk") / 2048 * 2048, 2048, QByteArray(2048, '\xEE'));
            write(path, bytes);
        }
        program.dialogs.answer(controls::MsgAnswer::Ok);
        program.open("Bad.mdb");
        const QString onOpening = said(program);
        QVERIFY2(onOpening.contains(foreign ? "cannot find the input table or query 'tbl_items'" : "is damaged (page"),
                 qPrintable(onOpening));
        checkWindow(program, true);
        for (const char* name : {"mnuItemAdd", "mnuItemEdit"})
            QVERIFY(!program.command(name)->isEnabled());
        const QByteArray unreadable = contents(path);
        if (!message.isEmpty())
            program.dialogs.answer(controls::MsgAnswer::Ok);
        commands()[command](program);
        QCOMPARE(said(program), message);
        if (command == "save as")
            QCOMPARE(contents(program.path("Copy.mdb")).size(), unreadable.size());
        if (blnDatabaseOpen)
            program.trigger("mnuFileClose");
        checkWindow(program, false);
        if (!foreign || command != "compact")
            QCOMPARE(contents(path), unreadable);
        program.open("Home.mdb");
        checkWindow(program, true);
        QCOMPARE(program.list()->rowCount(), 42);
        QCOMPARE(program.dialogs.problems(), QStringList());
    }

    // Killed, and then no room to put the file in order: everything is shown, nothing can be changed, and it is said.
    void unrepaired() {
        Program program;
        open(program);
        const QByteArray log = contents(program.path("Home.mdb-log"));
        QByteArray file = contents(program.path("Home.mdb"));
        program.trigger("mnuFileClose");
        const QByteArray token = file.mid(0x7F8, 8);
        file = m_home;
        file.replace(0x7F8, 8, token);
        write(program.path("Crashed.mdb"), file);
        write(program.path("Crashed.mdb-log"), log);
        m_disk.setPlan({.full = true});
        program.dialogs.answer(controls::MsgAnswer::Ok);
        program.open("Crashed.mdb");
        QVERIFY(said(program).startsWith("'Crashed.mdb' was not closed properly and cannot be put in order now"));
        checkWindow(program, true);
        QCOMPARE(program.list()->rowCount(), 2);
        program.select("Rent");
        program.dialogs.answer(controls::MsgAnswer::Ok);
        commands()["add"](program);
        QCOMPARE(said(program), "Operation must use an updateable query.");
        program.trigger("mnuFileClose");
        QCOMPARE(contents(program.path("Crashed.mdb")), file);
        m_disk.setPlan({});
        program.open("Crashed.mdb");
        program.select("Rent");
        commands()["add"](program);
        program.trigger("mnuFileClose");
        QCOMPARE(payeesIn(program.path("Crashed.mdb")), after("add"));
        QVERIFY(!QFile::exists(program.path("Crashed.mdb-log")));
        QCOMPARE(program.dialogs.problems(), QStringList());
    }
};

QTEST_MAIN(tst_faults)
#include "tst_faults.moc"
