// SPDX-License-Identifier: MIT
#include "jet/pages/usage_map.h"

#include <QList>
#include <QTest>
#include <random>
#include <set>

#include "jet/bare_file.h"
#include "jet/values/bytes.h"
#include "rows.h"

using namespace jet;

namespace {

constexpr RowId kFreePages{1, 0};
constexpr PageNo kBitsPerMapPage = 16352;

void growTo(BareFile& file, PageNo pages) {
    while (file.pager->pageCount() < pages)
        (void)file.space.allocate();
}

// The rules of the free-page map: it covers the file, its own pages are in use, pages past the end count as free.
void checkFreePages(const BareFile& file, std::size_t expectedFree) {
    const UsageMap map(*file.pager, kFreePages);
    const PageNo end = file.pager->pageCount();
    std::size_t inside = 0;
    PageNo expected = end;
    for (const PageNo page : map.pages(true)) {
        if (page < end)
            ++inside;
        else
            QCOMPARE(page, expected++);
    }
    QCOMPARE(inside, expectedFree);
    const std::size_t rowSize = file.row(kFreePages).size();
    const std::vector<PageNo> mapPages = map.mapPages();
    const std::size_t capacity = mapPages.empty() ? (rowSize - 5) * 8 : (rowSize - 1) / 4 * kBitsPerMapPage;
    QVERIFY(capacity >= end);
    QCOMPARE(std::size_t{expected}, std::max<std::size_t>(capacity, end));
    for (const PageNo page : mapPages)
        QVERIFY(!map.contains(page));
}

}  // namespace

class tst_usage_map : public QObject {
    Q_OBJECT

 private slots:
    void bytesOfAMap() {
        BareFile file;
        QCOMPARE(hex(file.pager->read(1)->view(), 0, 14), "01 01 e8 06 01 00 00 00 02 00 7b 07 f6 06");
        growTo(file, 30);
        UsageMap map(*file.pager, file.space.newMapRow());
        map.add(22, file.space);
        QCOMPARE(hex(file.row(map.row()), 0, 10), "00 00 00 00 00 00 00 40 00 00");
        QVERIFY(map.contains(22) && !map.contains(21) && !map.contains(4000000));
        map.add(8, file.space);
        QCOMPARE(map.pages(), (std::vector<PageNo>{8, 22}));
        QCOMPARE(map.next(9), std::optional<PageNo>(22));
        QCOMPARE(map.next(23), std::nullopt);
        map.remove(22);
        map.remove(8);
        map.remove(9);
        QVERIFY(map.empty());
        QCOMPARE(file.row(map.row()), UsageMap::freshRow());
    }

    void growth_data() {
        addColumns<QList<int>, int, int>("pages", "start", "size");
        addRow("just within", QList<int>{20, 1023}, 0, 133);
        addRow("just enough for the highest page", QList<int>{20, 1112}, 0, 145);
        addRow("twice", QList<int>{20, 1024, 1471}, 0, 189);
        addRow("an empty map moves", QList<int>{1112}, 1112, 133);
        addRow("moved, then onward", QList<int>{1117, 2135}, 1112, 133);
        addRow("moved, then back", QList<int>{1117, 900}, 896, 133);
        addRow("moved, then far back", QList<int>{1117, 5}, 0, 145);
    }
    void growth() {
        QFETCH(QList<int>, pages);
        QFETCH(int, start);
        QFETCH(int, size);
        BareFile file;
        growTo(file, 2300);
        UsageMap map(*file.pager, file.space.newMapRow());
        const RowId neighbour = file.space.newMapRow(map.row().page);
        std::set<PageNo> expected;
        for (const int page : pages) {
            map.add(static_cast<PageNo>(page), file.space);
            expected.insert(static_cast<PageNo>(page));
        }
        QCOMPARE(getU32(file.row(map.row()), 1), static_cast<PageNo>(start));
        QCOMPARE(file.row(map.row()).size(), static_cast<std::size_t>(size));
        QCOMPARE(map.pages(), std::vector<PageNo>(expected.begin(), expected.end()));
        QCOMPARE(file.row(neighbour), UsageMap::freshRow());
    }

    void becomesAList() {
        BareFile file;
        growTo(file, 20000);
        const RowId first = file.space.newMapRow();
        for (int i = 1; i < 15; ++i)
            QCOMPARE(file.space.newMapRow(first.page), (RowId{first.page, static_cast<std::uint8_t>(i)}));
        QVERIFY(file.space.newMapRow(first.page).page != first.page);  // fifteen rows fill a page

        UsageMap map(*file.pager, first);
        map.add(3, file.space);
        map.add(1100, file.space);  // 12 bytes more still fit
        QVERIFY(map.mapPages().empty());
        const PageNo bitmap = file.pager->pageCount();
        map.add(1200, file.space);
        QCOMPARE(map.mapPages(), std::vector<PageNo>{bitmap});
        QCOMPARE(hex(file.row(first), 0, 9), QByteArray("01 ") + hex(file.row(first), 1, 4) + " 00 00 00 00");
        QCOMPARE(getU32(file.row(first), 1), bitmap);
        QCOMPARE(hex(file.pager->read(bitmap)->view(), 0, 6), "05 01 00 00 08 00");
        map.add(19999, file.space);
        QCOMPARE(map.mapPages(), (std::vector<PageNo>{bitmap, bitmap + 1}));
        QCOMPARE(map.pages(), (std::vector<PageNo>{3, 1100, 1200, 19999}));
        QCOMPARE(map.next(1201), std::optional<PageNo>(19999));
        map.remove(1100);
        QCOMPARE(map.next(4), std::optional<PageNo>(1200));
        QVERIFY(!file.space.isFree(bitmap));
        checkFreePages(file, 0);
    }

    void allocateAndFree() {
        BareFile file;
        UsageMap owner(*file.pager, file.space.newMapRow());
        for (PageNo expected = 3; expected < 10; ++expected)
            QCOMPARE(file.space.allocate(owner), expected);
        DataPageEditor(file.pager->edit(5), 5).format(9);
        for (const PageNo page : {7U, 5U}) {
            owner.remove(page);
            file.space.free(page);
            QVERIFY(file.space.isFree(page));
        }
        QCOMPARE(int{file.pager->read(5)->bytes[0]}, 0x09);
        checkFreePages(file, 2);
        QCOMPARE(file.space.allocate(owner), 5U);  // the lowest first, zeroed
        QCOMPARE(file.pager->read(5)->bytes, Page{}.bytes);
        QCOMPARE(file.space.allocate(), 7U);
        QCOMPARE(file.space.allocate(), 10U);
        QCOMPARE(owner.pages(), (std::vector<PageNo>{3, 4, 5, 6, 8, 9}));
        QVERIFY(throwsError(Errc::Corrupt, [&] { file.space.free(11); }));
        QVERIFY(throwsError(Errc::Corrupt, [&] { file.space.free(1); }));
    }

    // A file grows through both forms of the free-page map: a longer and longer row, then a list of bitmap pages that
    // lie in the very space they manage.
    void bigFile() {
        BareFile file;
        UsageMap owner(*file.pager, file.space.newMapRow());
        PageNo previous = 2;
        bool wasList = false;
        while (file.pager->pageCount() < 50000) {
            const PageNo page = file.space.allocate(owner);
            QVERIFY(page > previous);
            previous = page;
            const bool list = wasList || (page % 64 == 0 && file.row(kFreePages)[0] == 1);
            if (page % 5000 == 0 || list != wasList)
                checkFreePages(file, 0);
            wasList = list;
        }
        QVERIFY(wasList);
        checkFreePages(file, 0);
        const std::vector<PageNo> bitmaps = UsageMap(*file.pager, kFreePages).mapPages();
        QCOMPARE(bitmaps.size(), 4U);
        QCOMPARE(owner.mapPages().size(), 4U);
        // Every page is owned once: header, page 1, the map row's page, bitmaps of both maps, the rest by the owner.
        QCOMPARE(owner.pages().size() + bitmaps.size() + owner.mapPages().size() + 3, file.pager->pageCount());
        for (const PageNo page : bitmaps)
            QVERIFY(!owner.contains(page));

        for (const PageNo page : {49990U, 17000U, 20U}) {
            owner.remove(page);
            file.space.free(page);
        }
        checkFreePages(file, 3);
        QCOMPARE(file.space.allocate(owner), 20U);
        QCOMPARE(file.space.allocate(owner), 17000U);
        QCOMPARE(file.space.allocate(owner), 49990U);
        const PageNo end = file.pager->pageCount();
        QCOMPARE(file.space.allocate(), end);
    }

    void mapRows() {
        BareFile file;
        const RowId row = file.space.newMapRow();
        QCOMPARE(row, (RowId{2, 0}));
        QCOMPARE(hex(file.pager->read(2)->view(), 0, 12), "01 01 6f 07 00 00 00 00 01 00 7b 07");
        QCOMPARE(file.space.newMapRow(2), (RowId{2, 1}));
        QCOMPARE(file.space.newMapRow(), (RowId{3, 0}));
        // Page 1 has room, but holds the global maps alone.
        QCOMPARE(file.space.newMapRow(1), (RowId{4, 0}));
    }

    void randomOperations() {
        std::mt19937 random(11);
        for (const PageNo reach : {1500U, 40000U}) {
            BareFile file;
            growTo(file, reach);
            const RowId first = file.space.newMapRow();
            std::vector<UsageMap> maps{{*file.pager, first}};
            for (int i = 1; i < 4; ++i)
                maps.emplace_back(*file.pager, file.space.newMapRow(first.page));
            std::vector<std::set<PageNo>> model(maps.size());
            for (int step = 0; step < 3000; ++step) {
                const std::size_t i = random() % maps.size();
                const auto page = static_cast<PageNo>(random() % reach);
                if (random() % 3 != 0) {
                    maps[i].add(page, file.space);
                    model[i].insert(page);
                } else if (const auto next = maps[i].next(page)) {
                    QCOMPARE(*next, *model[i].lower_bound(page));
                    maps[i].remove(*next);
                    model[i].erase(*next);
                } else {
                    QVERIFY(model[i].lower_bound(page) == model[i].end());
                }
                QCOMPARE(maps[i].contains(page), model[i].contains(page));
            }
            for (std::size_t i = 0; i < maps.size(); ++i)
                QCOMPARE(maps[i].pages(), std::vector<PageNo>(model[i].begin(), model[i].end()));
            checkFreePages(file, 0);
        }
    }

    void damaged_data() {
        addColumns<int>("offset");  // from the start of the row
        addColumns<uint>("value");
        addRow("unknown type", 0, 2U);
        addRow("starts past every file", 1, 0xFFFFFFF8U);
        addRow("starts past this file", 1, 4096U);
        addRow("a bitmap page that is none", 0, 0x00000101U);
        addRow("a bitmap page outside the file", 0, 0x12345601U);
    }
    void damaged() {
        QFETCH(int, offset);
        QFETCH(uint, value);
        BareFile file;
        growTo(file, 30);
        UsageMap map(*file.pager, file.space.newMapRow());
        map.add(22, file.space);
        putU32(file.pager->edit(map.row().page).span(), kPageSize - 133 + static_cast<std::size_t>(offset), value);
        QVERIFY(throwsError(Errc::Corrupt, [&] { (void)map.pages(); }));
        QVERIFY(throwsError(Errc::Corrupt, [&] { map.add(23, file.space); }));
        QVERIFY(throwsError(Errc::Corrupt, [&] { (void)UsageMap(*file.pager, {5, 0}).next(0); }));  // an empty page
        QVERIFY(throwsError(Errc::Corrupt, [&] { (void)UsageMap(*file.pager, {1, 2}).next(0); }));  // no such row
        QVERIFY(throwsError(Errc::Corrupt, [&] { (void)UsageMap(*file.pager, {999, 0}).next(0); }));
    }
};

QTEST_APPLESS_MAIN(tst_usage_map)
#include "tst_usage_map.moc"
