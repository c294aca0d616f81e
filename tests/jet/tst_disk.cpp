// SPDX-License-Identifier: MIT
// The real disk, the header of a file, and the pager without a crash; tst_log has the crashes.
#include <QTemporaryDir>
#include <QTest>

#include "jet/bare_file.h"
#include "jet/disk/fault_disk.h"
#include "jet/paged_file.h"
#include "jet/values/bytes.h"
#include "rows.h"

#ifndef Q_OS_WIN
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

using namespace jet;

namespace {

const std::string kFile = "budget";

Page written(const Header& header) {
    Page page;
    header.writeTo(page);
    return page;
}

#ifndef Q_OS_WIN
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

#endif

}  // namespace

class tst_disk : public QObject {
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

    void bytesOfTheHeader() {
        const Page page = written({});
        QCOMPARE(hex(page.view(), 0, 24), "00 01 00 00 53 74 61 6e 64 61 72 64 20 4a 65 74 20 44 42 00 00 00 00 00");
        QCOMPARE(hex(page.view(), 0x18, 24), "b5 6e 03 62 60 09 c2 55 e9 a9 67 72 40 3f 00 9c 7e 9f 90 ff 85 9a 31 c5");
        QCOMPARE(hex(page.view(), 0x38, 10), "63 d9 ed c7 9f 46 fb 8a bc 4e");
        QCOMPARE(hex(page.view(), 0x88, 16), "cf 65 ed ff 07 c7 46 a1 78 16 0c ed e9 2d 00 00");
        QCOMPARE(hex(page.view(), 0x5FE, 6), "00 00 00 01 00 01");
        QCOMPARE(hex(page.view(), 0x7FC, 4), "00 01 00 01");
    }

    void passwordBytes_data() {
        addColumns<QString, QByteArray>("password", "stored");
        addRow("none", "", QByteArray("86 fb ec 37 5d 44 9c fa c6 5e 28 e6 13 b6 8a 60 54 94 7b 36"));
        addRow("three", "abc", QByteArray("e7 99 8f 37 5d 44 9c fa c6 5e 28 e6 13 b6 8a 60 54 94 7b 36"));
        addRow("seven", "kqlmz47", QByteArray("ed 8a 80 5a 27 70 ab fa c6 5e 28 e6 13 b6 8a 60 54 94 7b 36"));
        addRow("accented, in the code page", QStringLiteral("\u00E9\u20AC"),
               QByteArray("6f 7b ec 37 5d 44 9c fa c6 5e 28 e6 13 b6 8a 60 54 94 7b 36"));
    }
    void passwordBytes() {
        QFETCH(QString, password);
        const Header header{1, 0x041F, 0, 0xA7E0C0FE, password.toStdString(), 4513};
        const Page page = written(header);
        QTEST(hex(page.view(), 0x42, 20), "stored");
        const Header back = Header::parse(page.view());
        QCOMPARE(back.password, header.password);
        QCOMPARE(
            std::tuple(back.engineGeneration, back.language, back.codePage, back.encryptionKey, back.build),
            std::tuple(header.engineGeneration, header.language, header.codePage, header.encryptionKey, header.build));
    }

    void refusedHeader_data() {
        addColumns<int, QByteArray, int>("offset", "bytes", "code");
        const auto row = [](const char* name, int offset, const QByteArray& bytes, Errc code) {
            addRow(name, offset, bytes, static_cast<int>(code));
        };
        row("first byte", 0, "\x01", Errc::NotADatabase);
        row("mark", 4, "Sandstorm", Errc::NotADatabase);
        row("mark not ended", 0x13, "x", Errc::NotADatabase);
        row("next generation", 0x14, "\x01", Errc::UnsupportedVersion);
        row("mark of a later generation", 4, QByteArray("Standard ACE DB\0\x02", 17), Errc::UnsupportedVersion);
        row("free-page map elsewhere", 0x18, "\x07", Errc::Corrupt);
        row("second map elsewhere", 0x1C, "\x07", Errc::Corrupt);
        row("catalog elsewhere", 0x20, "\x07", Errc::Corrupt);
    }
    void refusedHeader() {
        QFETCH(int, offset);
        QFETCH(QByteArray, bytes);
        QFETCH(int, code);
        Page page = written({});
        std::copy(bytes.begin(), bytes.end(), page.bytes.begin() + offset);
        QCOMPARE(int(codeOf([&] { Header::parse(page.view()); })), code);
        QVERIFY_EXCEPTION_THROWN(Header::parse(page.view().first(100)), Error);
    }

    void pageEncryption() {
        // The mask of page 0 is the key stream of another key, so it proves the cipher against known bytes.
        Page page;
        cryptPage(page.span(), 0x6B39DAC7 ^ 5, 5);
        QCOMPARE(hex(page.view(), 0, 16), "b5 6f 03 62 61 08 c2 55 eb a9 67 72 43 3f 00 9c");
        cryptPage(page.span(), 0x6B39DAC7, 0);
        QVERIFY(page.bytes == Page{}.bytes);
    }

    void pageRefKeepsItsBytes() {
        MemoryDisk disk;
        makeFile(disk, kFile, "abc");
        const auto pager = Pager::open(disk, kFile, {});
        const PageRef before = pager->read(1);
        pager->begin();
        Page& page = pager->edit(1);
        page.bytes[7] = 'x';
        const PageRef during = pager->read(1);
        page.bytes[7] = 'y';  // the reference stays good after reading
        QCOMPARE(pager->read(1)->bytes[7], 'y');
        QCOMPARE(&pager->edit(1), &page);
        pager->commit();
        QCOMPARE(before->bytes[7], 'a');
        QCOMPARE(during->bytes[7], 'x');
        QCOMPARE(pager->read(1)->bytes[7], 'y');
    }

    void unchangedPagesCostNothing() {
        MemoryDisk disk;
        makeFile(disk, kFile, "abc");
        FaultDisk counting(disk);
        const auto pager = Pager::open(counting, kFile, {});
        QCOMPARE(wordOf(*pager), "abc");
        pager->read(0);
        counting.setPlan({});
        pager->begin();
        fill(pager->edit(2), 'x');
        fill(pager->edit(2), 'b');
        pager->edit(0).bytes[0x7F8] ^= 1;  // the pager's own
        pager->commit();
        QCOMPARE(counting.operations(), 0U);
        QCOMPARE(wordOf(*pager), "abc");
    }

    void headerAndPassword() {
        MemoryDisk disk;
        makeFile(disk, kFile, "abc");
        auto pager = Pager::open(disk, kFile, {});
        Header header = pager->header();
        header.password = "open sesame";
        pager->begin();
        header.writeTo(pager->edit(0));
        pager->commit();
        QCOMPARE(pager->header().password, "open sesame");
        QCOMPARE(Pager::open(*killed(disk), kFile, {})->header().password, "open sesame");

        header.encryptionKey = 1;
        pager->begin();
        header.writeTo(pager->edit(0));
        QCOMPARE(codeOf([&] { pager->commit(); }), Errc::UnsupportedFeature);
        QCOMPARE(pager->header().encryptionKey, 0U);
        pager.reset();
        QCOMPARE(wordOf(disk, kFile), "abc");
    }

    void refusedFile_data() {
        addColumns<QByteArray, int>("bytes", "code");
        MemoryDisk disk;
        makeFile(disk, kFile, "abc");
        const Bytes content = disk.content(kFile);
        const QByteArray good(reinterpret_cast<const char*>(content.data()), static_cast<qsizetype>(content.size()));
        const auto row = [](const char* name, const QByteArray& bytes, Errc code) { addRow(name, bytes, int(code)); };
        row("empty", {}, Errc::NotADatabase);
        row("shorter than a page", good.left(2047), Errc::NotADatabase);
        row("text", QByteArray("hello ").repeated(1000), Errc::NotADatabase);
        row("zeros", QByteArray(8192, 0), Errc::NotADatabase);
        row("next generation", QByteArray(good).replace(0x14, 1, "\x01"), Errc::UnsupportedVersion);
        row("maps elsewhere", QByteArray(good).replace(0x18, 1, "\x01"), Errc::Corrupt);
        row("last page cut", good.left(good.size() - 1), Errc::Corrupt);
    }
    void refusedFile() {
        QFETCH(QByteArray, bytes);
        QFETCH(int, code);
        const Bytes content(bytes.begin(), bytes.end());
        MemoryDisk disk;
        disk.setContent(kFile, content);
        disk.setContent(kFile + "-log", {'h', 'i'});
        for (const bool readOnly : {true, false}) {
            QCOMPARE(int(codeOf([&] { Pager::open(disk, kFile, {.readOnly = readOnly}); })), code);
            QCOMPARE(disk.content(kFile), content);
            QCOMPARE(disk.names(), (std::vector<std::string>{kFile, kFile + "-log"}));
        }
    }

    void outsideTheFile() {
        MemoryDisk disk;
        makeFile(disk, kFile, "abc");
        const auto pager = Pager::open(disk, kFile, {});
        QCOMPARE(codeOf([&] { pager->read(4); }), Errc::Corrupt);
        QCOMPARE(codeOf([&] { pager->read(0xFFFFFFFF); }), Errc::Corrupt);
        pager->begin();
        QCOMPARE(codeOf([&] { pager->edit(4); }), Errc::Corrupt);
        pager->extend();
        pager->edit(4);
        pager->rollback();
        QCOMPARE(codeOf([&] { pager->read(4); }), Errc::Corrupt);
    }

    void readOnly() {
        MemoryDisk disk;
        makeFile(disk, kFile, "abc");
        for (const bool isProtected : {false, true}) {
            disk.setWriteProtected(kFile, isProtected);
            const auto pager = Pager::open(disk, kFile, {.readOnly = !isProtected});
            QVERIFY(pager->readOnly());
            QCOMPARE(codeOf([&] { pager->begin(); }), Errc::ReadOnly);
            QCOMPARE(wordOf(*pager), "abc");
        }
    }

    void createdAnew() {
        MemoryDisk disk;
        makeFile(disk, kFile, "abcdef");
        disk.setContent(kFile + "-log", {'x'});
        makeFile(disk, kFile, "xy");
        QCOMPARE(wordOf(disk, kFile), "xy");
        QCOMPARE(disk.names(), std::vector<std::string>{kFile});
        QCOMPARE(wordOf(*disk.crashed([] { return false; }), kFile), "xy");
    }

    // Wherever the creation of a file is cut short, there is the whole file or none.
    void creationCutShort() {
        std::mt19937 random(6);
        for (std::uint64_t n = 1;; ++n) {
            for (int i = 0; i < 40; ++i) {
                MemoryDisk disk;
                FaultDisk faulty(disk);
                faulty.setPlan({.failAt = n, .onwards = true, .halfWrite = true});
                const bool done = codeOf([&] { makeFile(faulty, kFile, "ab"); }) == kNoError;
                const auto crashed = disk.crashed([&] { return random() % 2 == 0; });
                std::string word;
                const Errc code = codeOf([&] { word = wordOf(*crashed, kFile); });
                QVERIFY(word == "ab" || (!done && (code == Errc::NotADatabase || code == Errc::FileNotFound)));
                if (!faulty.failed())
                    return;
            }
        }
    }

    void againstAModel_data() {
        addColumns<uint, int>("key", "cachePages");
        addRow("everything cached", 0U, 8192);
        addRow("hardly any cache", 0U, 1);
        addRow("encrypted, hardly any cache", 0xA7E0C0FEU, 40);
    }

    // Random edits, extensions, rollbacks and reopenings, compared with a plain list of pages.
    void againstAModel() {
        QFETCH(uint, key);
        QFETCH(int, cachePages);
        std::mt19937 random(4);
        MemoryDisk disk;
        std::string committed(120, 'a');
        makeFile(disk, kFile, committed, key);
        const Pager::Options options{.cachePages = static_cast<std::size_t>(cachePages)};
        auto pager = Pager::open(disk, kFile, options);
        for (int round = 0; round < 100; ++round) {
            std::string word = committed;
            pager->begin();
            for (auto edits = random() % 50; edits > 0; --edits) {
                const auto letter = static_cast<char>('a' + random() % 26);
                if (random() % 20 == 0) {
                    fill(pager->edit(pager->extend()), letter);
                    word += letter;
                    continue;
                }
                const auto at = random() % word.size();
                fill(pager->edit(static_cast<PageNo>(at + 1)), letter);
                word[at] = letter;
                const auto other = random() % word.size();
                QCOMPARE(pager->read(static_cast<PageNo>(other + 1))->bytes[5], word[other]);
            }
            if (random() % 4 == 0) {
                pager->rollback();
            } else {
                pager->commit();
                committed = word;
            }
            if (random() % 10 == 0) {
                pager.reset();
                pager = Pager::open(disk, kFile, options);
            }
            if (random() % 10 == 0)
                QCOMPARE(wordOf(*pager), committed);
        }
        QCOMPARE(wordOf(*pager), committed);
        pager.reset();
        QCOMPARE(wordOf(disk, kFile), committed);
    }

 private:
    std::string at(const char* name) const {
        return m_folder->filePath(QString::fromUtf8(name)).toStdString();
    }

    std::unique_ptr<QTemporaryDir> m_folder;
    Disk& m_disk = realDisk();
};

QTEST_GUILESS_MAIN(tst_disk)
#include "tst_disk.moc"
