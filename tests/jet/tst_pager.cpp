// SPDX-License-Identifier: MIT
#include "jet/disk/pager.h"

#include <QTest>

#include "jet/disk/fault_disk.h"
#include "jet/paged_file.h"
#include "jet/values/bytes.h"
#include "rows.h"

using namespace jet;

namespace {

const std::string kFile = "budget";

}  // namespace

class tst_pager : public QObject {
    Q_OBJECT

 private slots:
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

    void refused_data() {
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
    void refused() {
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

    void locks() {
        MemoryDisk disk;
        makeFile(disk, kFile, "abc");
        const auto open = [&](bool readOnly) {
            return codeOf([&] { Pager::open(disk, kFile, {.readOnly = readOnly}); });
        };
        {
            const auto writer = Pager::open(disk, kFile, {});
            QCOMPARE(open(false), Errc::Busy);
            QCOMPARE(open(true), Errc::Busy);
            QCOMPARE(codeOf([&] { Pager::create(disk, kFile); }), Errc::Busy);
            QCOMPARE(wordOf(*writer), "abc");
        }
        {
            const auto reader = Pager::open(disk, kFile, {.readOnly = true});
            QCOMPARE(open(false), Errc::Busy);
            QCOMPARE(open(true), kNoError);
        }
        QCOMPARE(open(false), kNoError);
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

    void failedCreation() {
        for (std::uint64_t n = 1;; ++n) {
            MemoryDisk disk;
            FaultDisk faulty(disk);
            faulty.setPlan({.failAt = n, .onwards = true, .halfWrite = true});
            try {
                makeFile(faulty, kFile, "ab");
            } catch (const Error& e) {
                QCOMPARE(e.code(), Errc::Io);
            }
            if (disk.exists(kFile)) {
                std::string word;
                const Errc code = codeOf([&] { word = wordOf(disk, kFile); });
                QVERIFY(code == Errc::NotADatabase || word == "ab");
            }
            if (!faulty.failed())
                return;
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
};

QTEST_GUILESS_MAIN(tst_pager)
#include "tst_pager.moc"
