// SPDX-License-Identifier: MIT
#include "jet/disk/log.h"

#include <QTest>

#include "jet/bare_file.h"
#include "jet/disk/fault_disk.h"
#include "jet/paged_file.h"
#include "jet/values/bytes.h"
#include "rows.h"

using namespace jet;

namespace {

const std::string kFile = "budget";
const std::string kLog = "budget-log";
const std::string kOld = "budget-log.old";
const std::string kReplaced = "budget.old";

// The disk with nothing of what was not flushed.
std::unique_ptr<MemoryDisk> powerCut(const MemoryDisk& disk) {
    return disk.crashed([] { return false; });
}

std::unique_ptr<MemoryDisk> crashedAtRandom(const MemoryDisk& disk, std::mt19937& random) {
    return disk.crashed([&] { return random() % 2 == 0; });
}

const std::vector<std::string> kWords = {"abc", "Abc", "ABcd", "ABCd", "ABCDef"};

// A file that is open and went through some of these words.
struct Opened {
    MemoryDisk disk;
    FaultDisk faulty{disk};
    std::unique_ptr<Pager> pager;

    explicit Opened(const std::vector<std::string>& words, std::size_t cachePages = 8192, std::uint32_t key = 0) {
        makeFile(disk, kFile, words.front(), key);
        pager = Pager::open(faulty, kFile, {.cachePages = cachePages});
        for (std::size_t i = 1; i < words.size(); ++i)
            change(*pager, words[i]);
    }
};

}  // namespace

class tst_log : public QObject {
    Q_OBJECT

 private slots:
    // Stops a run at every operation, then lets a power cut keep any part of what was not flushed: every commit that
    // returned must be there, and the one under way wholly or not at all.
    void powerCutAtEveryOperation() {
        std::mt19937 random(1);
        for (std::uint64_t n = 1;; ++n) {
            for (int i = 0; i < 8; ++i) {
                MemoryDisk disk;
                makeFile(disk, kFile, kWords[0]);
                FaultDisk faulty(disk);
                faulty.setPlan({.failAt = n, .onwards = true, .halfWrite = true});
                std::size_t done = 0;
                std::unique_ptr<Pager> pager;
                try {
                    pager = Pager::open(faulty, kFile, {});
                    for (; done + 1 < kWords.size(); ++done)
                        change(*pager, kWords[done + 1]);
                    pager->close();
                } catch (const Error& e) {
                    QVERIFY(e.code() == Errc::Io || e.code() == Errc::Unfinished);
                }
                const auto crashed = crashedAtRandom(disk, random);
                const std::string word = wordOf(*crashed, kFile);
                if (word != kWords[done])
                    QCOMPARE(word, kWords[done + 1]);
                QVERIFY(!crashed->exists(kOld));
                if (!faulty.failed() && i == 7)
                    return;
            }
        }
    }

    void faultAtEveryOperation_data() {
        addColumns<bool, bool, int>("onwards", "halfWrite", "code");
        addRow("once", false, false, int(Errc::Io));
        addRow("once, half written", false, true, int(Errc::DiskFull));
        addRow("from then on", true, false, int(Errc::DiskFull));
        addRow("from then on, half written", true, true, int(Errc::Io));
    }
    void faultAtEveryOperation() {
        QFETCH(bool, onwards);
        QFETCH(bool, halfWrite);
        QFETCH(int, code);
        for (std::uint64_t n = 1;; ++n) {
            MemoryDisk disk;
            makeFile(disk, kFile, kWords[0]);
            FaultDisk faulty(disk);
            auto pager = Pager::open(faulty, kFile, {.cachePages = 1});
            faulty.setPlan({.failAt = n,
                            .onwards = onwards,
                            .halfWrite = halfWrite,
                            .error = static_cast<Errc>(code),
                            .onFailedFlush = [&](const std::string& path) { disk.loseUnflushed(path); }});
            std::vector<std::string> allowed = {kWords[0]};
            for (std::size_t i = 1; i < kWords.size(); ++i) {
                try {
                    change(*pager, kWords[i]);
                    allowed = {kWords[i]};
                } catch (const Error& e) {
                    QCOMPARE(int(e.code()), code);
                    QVERIFY(!pager->inTransaction());
                    // On a disk that takes nothing any more the record cannot be taken back either.
                    if (onwards && allowed.size() == 1)
                        allowed.push_back(kWords[i]);
                }
                if (!onwards) {
                    QCOMPARE(wordOf(*pager), allowed[0]);
                    QCOMPARE(wordOf(*killed(disk), kFile), allowed[0]);
                    QCOMPARE(wordOf(*powerCut(disk), kFile), allowed[0]);
                }
            }
            const auto beforeClosing = killed(disk);
            QVERIFY(std::ranges::count(allowed, wordOf(*beforeClosing, kFile)) == 1);
            QVERIFY(!beforeClosing->exists(kOld));
            pager.reset();
            QVERIFY(std::ranges::count(allowed, wordOf(disk, kFile)) == 1);
            QVERIFY(!disk.exists(kOld) && !disk.exists(kLog));
            if (!faulty.failed())
                return;
        }
    }

    // Cut short in the middle, at every operation, and again.
    void crashWhileReplaying_data() {
        addColumns<uint>("key");
        addRow("plain", 0U);
        addRow("encrypted", 0xA7E0C0FEU);
    }
    void crashWhileReplaying() {
        QFETCH(uint, key);
        const Opened file({"abc", "ABc", "XBcde"}, 8192, key);
        for (const auto& name : {kFile, kLog}) {
            const Bytes bytes = file.disk.content(name);
            for (const std::uint8_t letter : {'A', 'B', 'X'})
                QCOMPARE(std::ranges::search(bytes, Bytes(8, letter)).empty(),
                         key != 0 || (name == kFile && letter == 'A'));
        }
        std::mt19937 random(2);
        for (std::uint64_t n = 1;; ++n) {
            for (int i = 0; i < 10; ++i) {
                const auto first = crashedAtRandom(file.disk, random);
                FaultDisk faulty(*first);
                faulty.setPlan({.failAt = n, .onwards = true, .halfWrite = true});
                std::unique_ptr<Pager> stopped;
                try {
                    stopped = Pager::open(faulty, kFile, {});
                } catch (const Error&) {
                }
                const auto second = crashedAtRandom(*first, random);
                QCOMPARE(wordOf(*second, kFile), "XBcde");
                QVERIFY(!second->exists(kOld));
                if (!faulty.failed())
                    return;
            }
        }
    }

    void foundBesideTheFile_data() {
        // What is done to file and log after a kill that followed "abc" -> "Abc" -> "ABcd".
        using Damage = std::function<void(Bytes & file, Bytes & log)>;
        addColumns<Damage, QString, bool>("damage", "word", "setAside");
        const auto row = [](const char* name, const char* word, bool setAside, const Damage& damage) {
            addRow(name, damage, QString(word), setAside);
        };
        const Bytes backup = Opened({"abc"}).disk.content(kFile);
        const Bytes otherLog = Opened({"abc", "xbc"}).disk.content(kLog);
        const std::size_t secondRecord = 2 * Log::kSectorSize + kPageSize;

        row("untouched", "ABcd", false, [](Bytes&, Bytes&) {});
        row("a backup of before put back", "abc", true, [=](Bytes& file, Bytes&) { file = backup; });
        row("log of another file of the same content", "ABcd", true, [=](Bytes&, Bytes& log) { log = otherLog; });
        row("a logged page changed by someone else", "A?cd", true,
            [](Bytes& file, Bytes&) { file[2 * 2048 + 700] ^= 1; });
        row("a page appended by someone else", "ABcdz", true,
            [](Bytes& file, Bytes&) { file.resize(file.size() + 2048, 'z'); });
        row("room taken for a commit that never came", "ABcd", false,
            [](Bytes& file, Bytes&) { file.resize(file.size() + 2048 + 512); });
        row("file cut below its size at the start of the log", "AB", true,
            [](Bytes& file, Bytes&) { file.resize(3 * 2048); });
        row("file cut within a page that the log adds", "ABcd", false,
            [](Bytes& file, Bytes&) { file.resize(4 * 2048 + 512); });
        row("no log", "ABcd", false, [](Bytes&, Bytes& log) { log.clear(); });
        row("log of zeros", "ABcd", false, [](Bytes&, Bytes& log) { log.assign(5000, 0); });
        row("log of something else", "ABcd", true, [](Bytes&, Bytes& log) { log.assign(5000, 'x'); });
        row("short log of something else", "ABcd", true, [](Bytes&, Bytes& log) { log = {'h', 'i'}; });
        row("header damaged", "ABcd", true, [](Bytes&, Bytes& log) { log[12] ^= 1; });
        row("header alone", "ABcd", false, [](Bytes&, Bytes& log) { log.resize(512); });
        row("first record damaged", "ABcd", false, [](Bytes&, Bytes& log) { log[512 + 30] ^= 1; });
        // A file that the second commit never reached, with that record cut or damaged in turn.
        const auto cut = [=](std::size_t offset) {
            return [=](Bytes& file, Bytes& log) {
                file.resize(4 * 2048);
                std::fill_n(file.begin() + 2 * 2048, 2048, 'b');
                log.resize(secondRecord + offset);
            };
        };
        const auto flip = [=](std::size_t offset) {
            return [=](Bytes& file, Bytes& log) {
                cut(512 + 2 * 2048)(file, log);
                log[secondRecord + offset] ^= 0x40;
            };
        };
        row("tail whole", "ABcd", false, cut(512 + 2 * 2048));
        row("tail cut by a byte", "Abc", false, cut(512 + 2 * 2048 - 1));
        row("tail cut within the head", "Abc", false, cut(40));
        row("tail with a wrong image", "Abc", false, flip(512 + 2048 + 5));
        row("tail with a wrong sum", "Abc", false, flip(0x18 + 20));
        row("tail with another number", "Abc", false, flip(4));
        row("tail with another token", "Abc", false, flip(8));
        row("tail with a vast number of pages", "Abc", false, flip(0x17));
    }
    void foundBesideTheFile() {
        using Damage = std::function<void(Bytes & file, Bytes & log)>;
        QFETCH(Damage, damage);
        QFETCH(QString, word);
        QFETCH(bool, setAside);
        const auto crashed = killed(Opened({"abc", "Abc", "ABcd"}).disk);
        Bytes file = crashed->content(kFile);
        Bytes log = crashed->content(kLog);
        damage(file, log);
        crashed->setContent(kFile, file);
        crashed->setContent(kLog, log);

        QCOMPARE(wordOf(*crashed, kFile, true), word.toStdString());
        QCOMPARE(crashed->content(kFile), file);
        QCOMPARE(crashed->content(kLog), log);

        QCOMPARE(wordOf(*crashed, kFile), word.toStdString());
        QVERIFY(!crashed->exists(kLog));
        QCOMPARE(crashed->exists(kOld), setAside);
        if (setAside) {
            QCOMPARE(crashed->content(kOld), log);
            QCOMPARE(crashed->content(kFile), file);
        }
        // What replaying has overwritten is kept.
        Bytes before = file;
        before.resize(crashed->content(kFile).size());
        const bool replaced = crashed->content(kFile) != before;
        QCOMPARE(crashed->exists(kReplaced), replaced);
        if (replaced)
            QCOMPARE(crashed->content(kReplaced), file);
    }

    // A copy made through the engine has what the file may still lack, and put back after a crash it stays what it is.
    void copyOfAnOpenFile() {
        Opened file({"abc", "Abc"}, 1, 0xA7E0C0FE);
        auto& [disk, faulty, pager] = file;
        faulty.setPlan({.failAt = 3, .onwards = true, .only = kFile});
        change(*pager, "ABCd");
        faulty.setPlan({});
        pager->begin();
        fill(pager->edit(3), 'x');
        pager->copyTo(disk, "copy");
        pager->rollback();
        QCOMPARE(wordOf(disk, "copy"), "ABCd");
        change(*pager, "ABCde");

        const auto crashed = killed(disk);
        crashed->rename("copy", kFile);
        QCOMPARE(wordOf(*crashed, kFile), "ABCd");
        QVERIFY(crashed->exists(kOld) && !crashed->exists(kReplaced));

        // The full disk leaves no piece of a copy behind.
        faulty.setPlan({.full = true});
        QCOMPARE(codeOf([&] { pager->copyTo(faulty, "other"); }), Errc::DiskFull);
        QVERIFY(!disk.exists("other"));
    }

    // A copy that another program made of the open file looks like a file whose last writes did not arrive. It is
    // brought up to the last commit, but stays at hand, also when the first attempt is cut short.
    void foreignCopyPutBack() {
        Opened file({"abc", "Abc"});
        const Bytes copy = file.disk.content(kFile);
        change(*file.pager, "ABcd");
        for (std::uint64_t n = 1;; ++n) {
            const auto crashed = killed(file.disk);
            crashed->setContent(kFile, copy);
            crashed->setContent(kReplaced, Bytes(4096, 'x'));  // of an earlier time
            FaultDisk faulty(*crashed);
            faulty.setPlan({.failAt = n, .onwards = true, .halfWrite = true});
            (void)codeOf([&] { Pager::open(faulty, kFile, {}); });
            if (const auto cut = powerCut(*crashed); cut->content(kFile) != copy)
                QCOMPARE(cut->content(kReplaced), copy);
            QCOMPARE(wordOf(*crashed, kFile), "ABcd");
            QCOMPARE(crashed->content(kReplaced), copy);
            if (!faulty.failed())
                return;
        }
    }

    // What other programs do to the file while it is open, after "abc" -> "Abc" -> "ABcd".
    void displaced_data() {
        using Deed = std::function<void(MemoryDisk&, const Bytes& backup)>;
        addColumns<Deed, bool>("deed", "anothersLog");
        const auto row = [](const char* name, const Deed& deed, bool anothersLog = false) {
            addRow(name, deed, anothersLog);
        };
        const auto overwrite = [](MemoryDisk& disk, const Bytes& bytes) {
            disk.open(kFile, OpenMode::CreateNew)->write(0, bytes);
        };
        row("deleted", [](MemoryDisk& disk, const Bytes&) { disk.remove(kFile); });
        row("deleted with its log", [](MemoryDisk& disk, const Bytes&) { disk.remove(kFile), disk.remove(kLog); });
        row("moved away", [](MemoryDisk& disk, const Bytes&) { disk.rename(kFile, "moved"); });
        row("moved away and back", [](MemoryDisk& disk, const Bytes&) { disk.rename(kFile, "moved and back"); });
        row("replaced", [](MemoryDisk& disk, const Bytes& backup) { disk.setContent(kFile, backup); });
        row(
            "replaced and opened by another",
            [](MemoryDisk& disk, const Bytes& backup) {
                disk.setContent(kFile, backup), disk.setContent(kLog, Bytes(600, 'z'));
            },
            true);
        row("overwritten with a backup", overwrite);
        row("overwritten with something else",
            [=](MemoryDisk& disk, const Bytes&) { overwrite(disk, Bytes(9000, 'q')); });
        row("emptied", [=](MemoryDisk& disk, const Bytes&) { overwrite(disk, {}); });
        row("lengthened", [](MemoryDisk& disk, const Bytes&) {
            disk.open(kFile, OpenMode::ReadWrite)->write(5 * kPageSize, Bytes(kPageSize, 'q'));
        });
    }
    void displaced() {
        using Deed = std::function<void(MemoryDisk&, const Bytes& backup)>;
        QFETCH(Deed, deed);
        QFETCH(bool, anothersLog);
        Opened file({"abc", "Abc", "ABcd"});
        auto& [disk, faulty, pager] = file;
        deed(disk, Opened({"abc"}).disk.content(kFile));
        const Bytes stranger = disk.content(kFile);
        const Bytes log = disk.content(kLog);

        QCOMPARE(codeOf([&] { change(*pager, "XBcde"); }), Errc::Displaced);
        QCOMPARE(wordOf(*pager), "ABcd");
        QCOMPARE(disk.content(kLog), log);
        pager->copyTo(disk, "copy");
        QCOMPARE(wordOf(disk, "copy"), "ABcd");
        if (disk.exists("moved and back")) {
            disk.rename("moved and back", kFile);
            change(*pager, "ABCd");
            pager->close();
            QCOMPARE(wordOf(disk, kFile), "ABCd");
            return;
        }
        QCOMPARE(codeOf([&] { pager->close(); }), Errc::Rescued);
        QCOMPARE(wordOf(disk, kFile + " (rescued)"), "ABcd");
        QCOMPARE(disk.content(kFile), stranger);
        QCOMPARE(disk.exists(kLog), anothersLog);
        if (disk.exists("moved"))
            QCOMPARE(wordOf(disk, "moved"), "ABcd");
    }

    // Opened where nothing can be put in order, the file shows everything and takes nothing; later it is put in order.
    void unrepaired_data() {
        addColumns<FaultDisk::Plan>("plan");
        addRow("the disk is full", FaultDisk::Plan{.full = true});
        addRow("the file cannot be written", FaultDisk::Plan{.failAt = 9, .onwards = true, .only = kFile});
        addRow("the file is write-protected", FaultDisk::Plan{});
    }
    void unrepaired() {
        QFETCH(FaultDisk::Plan, plan);
        const auto crashed = powerCut(Opened({"abc", "Abc", "ABcd"}).disk);
        const Bytes file = crashed->content(kFile);
        FaultDisk faulty(*crashed);
        crashed->setWriteProtected(kFile, !plan.full && plan.failAt == 0);
        faulty.setPlan(plan);
        {
            const auto reader = Pager::open(faulty, kFile, {});
            faulty.setPlan({});
            QVERIFY(reader->unrepaired());
            QCOMPARE(wordOf(*reader), "ABcd");
            QCOMPARE(codeOf([&] { change(*reader, "xxxx"); }), Errc::ReadOnly);
            reader->copyTo(*crashed, "copy");
            QCOMPARE(wordOf(*crashed, "copy"), "ABcd");
            reader->close();
        }
        QVERIFY(crashed->exists(kLog));
        QCOMPARE(crashed->content(kFile), file);
        crashed->setWriteProtected(kFile, false);
        const auto writer = Pager::open(*crashed, kFile, {});
        QVERIFY(!writer->unrepaired() && !writer->readOnly());
        QCOMPARE(wordOf(*writer), "ABcd");
    }

    // Closing says so when the file could not be finished.
    void unfinished() {
        Opened file({"abc", "Abc"});
        file.faulty.setPlan({.failAt = 2, .onwards = true, .only = kFile});
        QCOMPARE(codeOf([&] { file.pager->close(); }), Errc::Unfinished);
        file.pager.reset();
        QVERIFY(file.disk.exists(kLog));
        QCOMPARE(wordOf(*powerCut(file.disk), kFile), "Abc");
    }

    // The example of docs/log.md, byte by byte.
    void bytesAsDocumented() {
        const auto sector = [](const char* digits) {
            Bytes result = fromHex(digits);
            result.resize(512);
            return result;
        };
        Bytes log = sector(
            "4A 65 74 4C 6F 67 0D 0A 01 00 00 00 03 00 00 00"
            "01 77 66 55 44 33 22 11 9C C4 7C 38");
        const Bytes record = sector(
            "63 6F 72 64 01 00 00 00 01 77 66 55 44 33 22 11"
            "03 00 00 00 01 00 00 00 02 00 00 00 D8 A4 81 AA"
            "D8 A4 81 AA D8 A4 81 AA D8 A4 81 AA 7D CB C2 35"
            "7D CB C2 35 7D CB C2 35 7D CB C2 35 C6 97 2C F8");
        log.insert(log.end(), record.begin(), record.end());
        log.resize(log.size() + kPageSize, 'B');

        MemoryDisk disk;
        makeFile(disk, kFile, "ab");
        Bytes file = disk.content(kFile);
        putLe<std::uint64_t>(file, 0x7F8, 0x1122334455667701);
        disk.setContent(kFile, file);
        // A log of a later version is not touched.
        Bytes later = log;
        later[8] = 2;
        disk.setContent(kLog, later);
        QCOMPARE(codeOf([&] { Pager::open(disk, kFile, {}); }), Errc::UnsupportedVersion);
        QCOMPARE(disk.content(kLog), later);
        disk.setContent(kLog, log);
        QCOMPARE(wordOf(disk, kFile), "aB");
        QVERIFY(!disk.exists(kOld));
    }

    void emptiedWhenLong() {
        Opened file({std::string(600, 'a')});
        auto& [disk, faulty, pager] = file;
        int timesEmptied = 0;
        for (const char letter : std::string("bcdefg")) {
            change(*pager, std::string(600, letter));
            timesEmptied += disk.content(kLog)[0] == 0 ? 1 : 0;
            QVERIFY(disk.content(kLog).size() < 6'000'000);
            QCOMPARE(wordOf(*killed(disk), kFile), std::string(600, letter));
            QCOMPARE(wordOf(*powerCut(disk), kFile), std::string(600, letter));
        }
        QCOMPARE(timesEmptied, 1);
        // The log starts anew over records of before, which do not come back.
        std::string word(600, 'g');
        for (const char letter : std::string("hijk")) {
            word[300] = letter;
            change(*pager, word);
            QCOMPARE(wordOf(*killed(disk), kFile), word);
            QCOMPARE(wordOf(*powerCut(disk), kFile), word);
        }
        pager->close();
        QVERIFY(!disk.exists(kLog));
    }

    // A full disk refuses a commit that lengthens the file, wherever it strikes, and takes nothing from the file; one
    // that fits is written into the file, so that the file alone is a complete copy.
    void fullDisk() {
        Opened file({"abc"});
        auto& [disk, faulty, pager] = file;
        faulty.setPlan({.full = true});
        QCOMPARE(codeOf([&] { change(*pager, "Abc"); }), Errc::DiskFull);  // there is no log yet
        faulty.setPlan({});
        change(*pager, "Abc");
        faulty.setPlan({.full = true, .only = kFile});
        QCOMPARE(codeOf([&] { change(*pager, "ABcd"); }), Errc::DiskFull);
        QCOMPARE(wordOf(*pager), "Abc");
        change(*pager, "ABc");
        faulty.setPlan({.full = true, .only = kLog});  // the file has room, the log has not
        std::string word;
        for (int i = 0; i < 300; ++i) {  // more than fits, so the log starts anew where it is
            word = std::string(3 + i / 10, static_cast<char>('a' + i % 26));
            change(*pager, word);
            QCOMPARE(wordOf(*powerCut(disk), kFile), word);
        }
        QCOMPARE(codeOf([&] { change(*pager, std::string(500, 'y')); }), Errc::DiskFull);
        QCOMPARE(disk.content(kFile).size(), (word.size() + 1) * kPageSize);
        QCOMPARE(wordOf(*killed(disk), kFile), word);
        // Of the last room on the disk the file gets nearly all: the log gives back what it has.
        faulty.setPlan({.full = true, .room = 400'000});
        while (codeOf([&] { change(*pager, word + 'y'); }) == kNoError)
            word += 'y';
        QVERIFY(disk.content(kFile).size() > 500'000);
        QCOMPARE(wordOf(*powerCut(disk), kFile), word);
        const Bytes alone = disk.content(kFile);
        pager.reset();
        QCOMPARE(disk.content(kFile), alone);
        QCOMPARE(wordOf(disk, kFile), word);
    }

    // The disk takes the log but nothing in the file: the commit counts all the same, and is read back from the log.
    // The next ones are refused until the file has caught up.
    void fileBehindItsLog() {
        Opened file({std::string(200, 'a'), std::string(200, 'b') + 'c'}, 1);
        auto& [disk, faulty, pager] = file;
        const std::string wanted = std::string(201, 'x') + 'y';
        pager->begin();
        for (PageNo page = 1; page <= 201; ++page)
            fill(pager->edit(page), 'x');
        fill(pager->edit(pager->extend()), 'y');
        faulty.setPlan({.failAt = 3, .onwards = true, .only = kFile});
        pager->commit();
        QVERIFY(faulty.failed());
        QCOMPARE(wordOf(*pager), wanted);
        QCOMPARE(wordOf(*killed(disk), kFile), wanted);
        QCOMPARE(codeOf([&] { change(*pager, std::string(202, 'c')); }), Errc::Io);
        QCOMPARE(wordOf(*pager), wanted);
        faulty.setPlan({});
        change(*pager, std::string(202, 'c'));
        pager.reset();
        QCOMPARE(wordOf(disk, kFile), std::string(202, 'c'));
    }
};

QTEST_GUILESS_MAIN(tst_log)
#include "tst_log.moc"
