// SPDX-License-Identifier: MIT
#include "jet/rows/long_value.h"

#include <QTest>
#include <random>

#include "jet/bare_file.h"
#include "jet/values/bytes.h"
#include "rows.h"

using namespace jet;

namespace {

struct ColumnFile : BareFile {
    LongValueMaps maps;

    explicit ColumnFile(bool withFreeSpace = true) {
        maps.owned = space.newMapRow();
        if (withFreeSpace)
            maps.freeSpace = space.newMapRow(maps.owned.page);
    }
    LongValueStore store() { return {*pager, space, maps}; }
    [[nodiscard]] std::vector<PageNo> owned() const { return UsageMap(*pager, maps.owned).pages(); }
    [[nodiscard]] std::vector<PageNo> offered() const { return UsageMap(*pager, *maps.freeSpace).pages(); }
};

Bytes valueOf(std::size_t length, unsigned seed = 0) {
    Bytes value(length);
    for (std::size_t i = 0; i < length; ++i)
        value[i] = static_cast<std::uint8_t>(i * 31 + i / 251 + seed);
    return value;
}

}  // namespace

class tst_long_value : public QObject {
    Q_OBJECT

 private slots:
    void sizes_data() {
        addColumns<int, bool, int, int>("length", "withFreeSpace", "kind", "pages");
        addRow("empty", 0, true, 0x80, 0);
        addRow("longest inline", 32, true, 0x80, 0);
        addRow("shortest row", 33, true, 0x40, 1);
        addRow("longest row", 1731, true, 0x40, 1);
        addRow("shortest chain", 1732, true, 0x00, 1);
        addRow("chain of one full page", 2032, true, 0x00, 1);
        addRow("chain of one page and a byte", 2033, true, 0x00, 2);
        addRow("long chain", 100000, true, 0x00, 50);
        addRow("no map of room: still inline", 32, false, 0x80, 0);
        addRow("no map of room: a chain at once", 33, false, 0x00, 1);
    }
    void sizes() {
        QFETCH(int, length);
        QFETCH(bool, withFreeSpace);
        QFETCH(int, kind);
        QFETCH(int, pages);
        ColumnFile file(withFreeSpace);
        const Bytes value = valueOf(static_cast<std::size_t>(length));
        const Bytes field = file.store().write(value);
        QCOMPARE(int{field[3]}, kind);
        QCOMPARE(LongValueStore::length(field), value.size());
        QCOMPARE(LongValueStore::isInline(field), kind == 0x80);
        QCOMPARE(file.store().read(field), value);
        QCOMPARE(file.owned().size(), static_cast<std::size_t>(pages));
        if (kind == 0x00 && withFreeSpace)
            QVERIFY(file.offered().empty());
        const std::vector<PageNo> before = file.owned();
        file.store().erase(field);
        QVERIFY(file.owned().empty());
        for (const PageNo page : before)
            QVERIFY(file.space.isFree(page));
    }

    void bytesOfTheThreeForms() {
        ColumnFile file;
        QCOMPARE(hex(file.store().write(Bytes{'a', 'b'})), "02 00 00 80 00 00 00 00 00 00 00 00 61 62");
        QCOMPARE(hex(file.store().write({})), "00 00 00 80 00 00 00 00 00 00 00 00");
        QCOMPARE(hex(file.store().write(valueOf(43))), "2b 00 00 40 00 03 00 00 00 00 00 00");
        const PageRef row = file.pager->read(3);
        QCOMPARE(hex(row->view(), 0, 12), "01 01 c9 07 4c 56 41 4c 01 00 d5 07");
        QCOMPARE(hex(row->view(), 0x7D5), hex(valueOf(43)));

        const Bytes value = valueOf(2032 + 7);
        QCOMPARE(hex(file.store().write(value)), "f7 07 00 00 00 04 00 00 00 00 00 00");
        const PageRef first = file.pager->read(4);
        QCOMPARE(hex(first->view(), 0, 16), "01 01 00 00 4c 56 41 4c 01 00 0c 00 00 05 00 00");
        QCOMPARE(hex(first->view(), 16), hex(value, 0, 2032));
        const PageRef last = file.pager->read(5);
        QCOMPARE(hex(last->view(), 0, 12), "01 01 e9 07 4c 56 41 4c 01 00 f5 07");
        QCOMPARE(hex(last->view(), 0x7F5), "00 00 00 00 " + hex(value, 2032));
    }

    void roomIsUsedAgain() {
        ColumnFile file;
        std::vector<Bytes> fields;
        for (unsigned i = 0; i < 100; ++i)
            fields.push_back(file.store().write(valueOf(1000, i)));
        const std::vector<PageNo> before = file.owned();
        for (std::size_t i = 0; i < 100; i += 2)
            file.store().erase(fields[i]);
        QCOMPARE(file.owned(), before);
        QVERIFY(file.offered().size() <= 16);  // few, so that a write looks at few
        for (unsigned i = 0; i < 16; ++i)
            QVERIFY(before.back() >= fromPointer(getU32(file.store().write(valueOf(1000, i)), 4)).page);
    }

    void tooLong() {
        ColumnFile file;
        QVERIFY(throwsError(Errc::TooLong, [&] { (void)file.store().write(Bytes(1U << 24U)); }));
        QVERIFY(file.owned().empty());
    }

    void randomOperations() {
        std::mt19937 random(17);
        ColumnFile file;
        std::vector<std::pair<Bytes, Bytes>> model;  // field, value
        for (int step = 0; step < 2000; ++step) {
            if (model.size() < 5 || random() % 9 < 5) {
                const std::size_t limit = std::array<std::size_t, 4>{40, 300, 1800, 9000}[random() % 4];
                const Bytes value = valueOf(random() % limit, static_cast<unsigned>(random()));
                model.emplace_back(file.store().write(value), value);
            } else {
                const std::size_t i = random() % model.size();
                file.store().erase(model[i].first);
                model[i] = model.back();
                model.pop_back();
            }
            const auto& probe = model[random() % model.size()];
            QCOMPARE(file.store().read(probe.first), probe.second);
        }
        // Every row serves one value, every page has one, the offered pages are among the owned.
        std::size_t rows = 0;
        for (const auto& [field, value] : model) {
            QCOMPARE(file.store().read(field), value);
            rows += field[3] == 0x80 ? 0 : field[3] == 0x40 ? 1 : (value.size() + 2031) / 2032;
        }
        const std::vector<PageNo> owned = file.owned();
        std::size_t stored = 0;
        for (const PageNo page : owned) {
            const PageRef ref = file.pager->read(page);
            const std::size_t live = DataPageView(ref->view(), page).liveSlots();
            QVERIFY(live > 0);
            stored += live;
        }
        QCOMPARE(stored, rows);
        for (const PageNo page : file.offered())
            QVERIFY(std::ranges::binary_search(owned, page));
        for (const auto& [field, value] : model)
            file.store().erase(field);
        QVERIFY(file.owned().empty() && file.offered().empty());
    }

    void damaged_data() {
        addColumns<QByteArray>("field");
        addRow("no header", QByteArray("2b 00 00 40 00 03"));
        addRow("unknown kind", QByteArray("2b 00 00 c0 00 03 00 00 00 00 00 00"));
        addRow("inline, too short", QByteArray("05 00 00 80 00 00 00 00 00 00 00 00 61"));
        addRow("longer than its row", QByteArray("2c 00 00 40 00 03 00 00 00 00 00 00"));
        addRow("no such row", QByteArray("2b 00 00 40 05 03 00 00 00 00 00 00"));
        addRow("a page of maps", QByteArray("2b 00 00 40 00 02 00 00 00 00 00 00"));
        addRow("outside the file", QByteArray("2b 00 00 40 00 ff ff ff 00 00 00 00"));
        addRow("a chain that is too short", QByteArray("f8 07 00 00 00 04 00 00 00 00 00 00"));
        addRow("a chain that is too long", QByteArray("f6 07 00 00 00 04 00 00 00 00 00 00"));
        addRow("a gigabyte", QByteArray("ff ff ff 3f 00 04 00 00 00 00 00 00"));
    }
    void damaged() {
        QFETCH(QByteArray, field);
        ColumnFile file;
        (void)file.store().write(valueOf(43));
        (void)file.store().write(valueOf(2032 + 7));
        QVERIFY(throwsError(Errc::Corrupt, [&] { (void)file.store().read(fromHex(field.constData())); }));
    }

    void flippedBytes() {
        ColumnFile file;
        const Bytes field = file.store().write(valueOf(5000));
        const std::vector<PageNo> pages = file.owned();
        file.pager->commit();
        // A chain that goes round in a circle, and every bit of the headers of its pages.
        file.pager->begin();
        putU32(file.pager->edit(pages[1]).span(), 12, toPointer({pages[0], 0}));
        QVERIFY(throwsError(Errc::Corrupt, [&] { (void)file.store().read(field); }));
        QVERIFY(throwsError(Errc::Corrupt, [&] { file.store().erase(field); }));
        file.pager->rollback();
        for (const PageNo page : pages) {
            for (std::size_t bit = 0; bit < 16 * 8; ++bit) {
                file.pager->begin();
                auto& byte = file.pager->edit(page).bytes[bit / 8];
                byte = static_cast<std::uint8_t>(byte ^ 1U << bit % 8);
                for (const bool erase : {false, true}) {
                    try {
                        if (erase)
                            file.store().erase(field);
                        else
                            QCOMPARE(file.store().read(field).size(), 5000U);
                    } catch (const Error& e) {
                        QCOMPARE(e.code(), Errc::Corrupt);
                    }
                }
                file.pager->rollback();
            }
        }
        QCOMPARE(file.store().read(field), valueOf(5000));
    }
};

QTEST_APPLESS_MAIN(tst_long_value)
#include "tst_long_value.moc"
