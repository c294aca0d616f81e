// SPDX-License-Identifier: MIT
#include "jet/disk/file.h"

#include <QTemporaryDir>
#include <QTest>

#include "jet/paged_file.h"
#include "rows.h"

#ifndef Q_OS_WIN
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

using namespace jet;

#ifndef Q_OS_WIN
namespace {

// Runs `question` in a child process and returns the low byte of its answer.
int inChild(const std::function<int()>& question) {
    const pid_t child = ::fork();
    if (child == 0) {
        try {
            ::_exit(question() & 0xFF);
        } catch (...) {
            ::_exit(0xEE);
        }
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace
#endif

class tst_file : public QObject {
    Q_OBJECT

 private slots:
    void init() {
        m_folder = std::make_unique<QTemporaryDir>();
        QVERIFY(m_folder->isValid());
    }

    void readsAndWrites() {
        const auto file = m_disk.open(at("h\xC3\xA4user"), OpenMode::Create);
        file->write(10, Bytes{1, 2, 3});
        QCOMPARE(file->size(), 13U);
        Bytes bytes(8, 9);
        QCOMPARE(file->read(8, bytes), 5U);
        QCOMPARE(bytes, (Bytes{0, 0, 1, 2, 3, 9, 9, 9}));
        QCOMPARE(file->read(13, bytes), 0U);
        QCOMPARE(file->read(1000, bytes), 0U);
        file->truncate(11);
        file->flush();
        m_disk.flushFolder(at("h\xC3\xA4user"));
        QCOMPARE(m_disk.open(at("h\xC3\xA4user"), OpenMode::Create)->size(), 11U);
        QCOMPARE(codeOf([&] { m_disk.open(at("h\xC3\xA4user"), OpenMode::Read)->write(0, Bytes{1}); }), Errc::Io);
        QCOMPARE(m_disk.open(at("h\xC3\xA4user"), OpenMode::CreateNew)->size(), 0U);
    }

    void openErrors_data() {
        addColumns<QString, int, int>("path", "forReading", "forCreating");
        const auto row = [](const char* name, const QString& path, Errc reading, Errc creating) {
            addRow(name, path, int(reading), int(creating));
        };
        row("missing file", "none", Errc::FileNotFound, kNoError);
        row("missing folder", "none/none", Errc::PathNotFound, Errc::PathNotFound);
        row("file as a folder", "file/none", Errc::PathNotFound, Errc::PathNotFound);
        row("folder", ".", Errc::AccessDenied, Errc::AccessDenied);
    }
    void openErrors() {
        QFETCH(QString, path);
        QFETCH(int, forReading);
        QFETCH(int, forCreating);
        m_disk.open(at("file"), OpenMode::Create);
        const std::string full = at(path.toUtf8());
        QCOMPARE(int(codeOf([&] { m_disk.open(full, OpenMode::Read); })), forReading);
        QCOMPARE(int(codeOf([&] { m_disk.open(full, OpenMode::ReadWrite); })), forReading);
        QCOMPARE(int(codeOf([&] { Pager::open(m_disk, full, {}); })), forReading);
        QCOMPARE(int(codeOf([&] { m_disk.open(full, OpenMode::Create); })), forCreating);
    }

    void renameAndRemove() {
        m_disk.open(at("a"), OpenMode::Create)->write(0, Bytes{1});
        m_disk.open(at("b"), OpenMode::Create);
        m_disk.rename(at("a"), at("b"));
        QVERIFY(!m_disk.exists(at("a")));
        QCOMPARE(m_disk.open(at("b"), OpenMode::Read)->size(), 1U);
        QCOMPARE(codeOf([&] { m_disk.rename(at("a"), at("b")); }), Errc::FileNotFound);
        m_disk.remove(at("b"));
        m_disk.remove(at("b"));
        QVERIFY(!m_disk.exists(at("b")));
    }

    void identity() {
        m_disk.open(at("file"), OpenMode::Create);
        QCOMPARE(m_disk.identity(at("./file")), m_disk.identity(at("file")));
        QVERIFY(m_disk.identity(at("other")) != m_disk.identity(at("file")));
#ifndef Q_OS_WIN
        QCOMPARE(::symlink(at("file").c_str(), at("link").c_str()), 0);
        QCOMPARE(m_disk.identity(at("link")), m_disk.identity(at("file")));
#endif
    }

    void locksWithinTheProcess() {
        m_disk.open(at("file"), OpenMode::Create);
        const auto first = m_disk.open(at("file"), OpenMode::ReadWrite);
        QVERIFY(first->lock(true));
        {
            const auto second = m_disk.open(at("file"), OpenMode::ReadWrite);
            QVERIFY(!second->lock(true));
            QVERIFY(!second->lock(false));
        }
        // Closing the second has not dropped the lock of the first.
        auto third = m_disk.open(at("file"), OpenMode::Read);
        QVERIFY(!third->lock(false));
        third.reset();
        QVERIFY(first->lock(false));
        const auto reader = m_disk.open(at("file"), OpenMode::Read);
        QVERIFY(reader->lock(false));
        QVERIFY(!first->lock(true));
    }

    void pagerOverTheRealDisk() {
        makeFile(m_disk, at("budget"), "abc");
        {
            const auto pager = Pager::open(m_disk, at("budget"), {});
            change(*pager, "Abcd");
            QVERIFY(m_disk.exists(logPath(at("budget"))));
        }
        QVERIFY(!m_disk.exists(logPath(at("budget"))));
        QCOMPARE(wordOf(m_disk, at("budget"), true), "Abcd");
    }
#ifndef Q_OS_WIN

    void specialFiles() {
        QCOMPARE(::mkfifo(at("pipe").c_str(), 0600), 0);
        QCOMPARE(codeOf([&] { m_disk.open(at("pipe"), OpenMode::Read); }), Errc::AccessDenied);
        QCOMPARE(codeOf([&] { m_disk.open(at("pipe"), OpenMode::ReadWrite); }), Errc::AccessDenied);
        QCOMPARE(::symlink("loop", at("loop").c_str()), 0);
        QVERIFY(codeOf([&] { m_disk.open(at("loop"), OpenMode::Read); }) != kNoError);
    }

    // Permissions do not bind root, so the child is nobody.
    void writeProtected() {
        makeFile(m_disk, at("budget"), "abc");
        ::chmod(m_folder->path().toUtf8(), 0755);
        const auto asNobody = [&](const std::function<bool()>& question) {
            return inChild([&] { return (::geteuid() != 0 || ::setuid(65534) == 0) && question() ? 1 : 0; });
        };
        ::chmod(at("budget").c_str(), 0444);
        QVERIFY(asNobody([&] {
            const auto pager = Pager::open(m_disk, at("budget"), {});
            return pager->readOnly() && wordOf(*pager) == "abc";
        }));
        ::chmod(at("budget").c_str(), 0);
        QVERIFY(asNobody([&] { return codeOf([&] { Pager::open(m_disk, at("budget"), {}); }) == Errc::AccessDenied; }));
        // A folder that takes no log: the file opens, and a commit is refused.
        ::chmod(at("budget").c_str(), 0666);
        ::chmod(m_folder->path().toUtf8(), 0555);
        QVERIFY(asNobody([&] {
            const auto pager = Pager::open(m_disk, at("budget"), {});
            return codeOf([&] { change(*pager, "Abc"); }) == Errc::AccessDenied && wordOf(*pager) == "abc";
        }));
        ::chmod(m_folder->path().toUtf8(), 0700);
    }

    void locksBetweenProcesses() {
        makeFile(m_disk, at("budget"), "abc");
        const auto open = [&](bool readOnly) {
            return inChild(
                [&] { return int(codeOf([&] { Pager::open(m_disk, at("budget"), {.readOnly = readOnly}); })); });
        };
        {
            const auto writer = Pager::open(m_disk, at("budget"), {});
            QCOMPARE(open(false), int(Errc::Busy));
            QCOMPARE(open(true), int(Errc::Busy));
        }
        {
            const auto reader = Pager::open(m_disk, at("budget"), {.readOnly = true});
            QCOMPARE(open(false), int(Errc::Busy));
            QCOMPARE(open(true), int(kNoError) & 0xFF);
        }
        QCOMPARE(open(false), int(kNoError) & 0xFF);
    }

#endif

 private:
    std::string at(const char* name) const {
        return m_folder->filePath(QString::fromUtf8(name)).toStdString();
    }

    std::unique_ptr<QTemporaryDir> m_folder;
    Disk& m_disk = realDisk();
};

#ifndef Q_OS_WIN

#endif

QTEST_GUILESS_MAIN(tst_file)
#include "tst_file.moc"
