// SPDX-License-Identifier: MIT
#include <QList>
#include <QTest>
#include <set>

#include "jet/bare_file.h"
#include "jet/values/bytes.h"
#include "rows.h"

using namespace jet;

namespace {

constexpr RowId kFreePages{1, 0};
constexpr PageNo kBitsPerMapPage = 16352;

Bytes rowOf(std::size_t length, std::uint8_t fill) {
    return Bytes(length, fill);
}

// "R3 P4 M5 D0": kind and length of each slot.
QByteArray dump(const Page& page) {
    const DataPageView view(page.view(), 7);
    QByteArray text;
    for (std::size_t slot = 0; slot < view.slotCount(); ++slot) {
        text += "RPMD"[static_cast<int>(view.kind(slot))];
        text += QByteArray::number(static_cast<qulonglong>(view.row(slot).size())) + ' ';
    }
    return text + "free " + QByteArray::number(static_cast<qulonglong>(view.freeSpace()));
}

Page pageOf(std::initializer_list<std::size_t> lengths) {
    Page page;
    DataPageEditor editor(page, 7);
    editor.format(0x25);
    std::uint8_t fill = 0xA0;
    for (const std::size_t length : lengths)
        (void)editor.append(rowOf(length, fill++));
    return page;
}

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

class tst_pages : public QObject {
    Q_OBJECT

 private slots:
    void bytesOfRows() {
        QCOMPARE(hex(pageOf({}).view(), 0, 12), "01 01 f6 07 25 00 00 00 00 00 00 00");
        Page page = pageOf({30, 41, 22, 35});
        QCOMPARE(hex(page.view(), 0, 18), "01 01 6e 07 25 00 00 00 04 00 e2 07 b9 07 a3 07 80 07");
        QCOMPARE(hex(page.view(), 0x7B8, 3), "a2 a1 a1");  // the third row ends where the second starts
        QCOMPARE(DataPageView(page.view(), 7).owner(), 0x25U);
        DataPageEditor editor(page, 7);
        editor.erase(1);
        // The slot stays, empty, at the place of the row before it; the rows after it move up by 41 bytes.
        QCOMPARE(hex(page.view(), 0, 18), "01 01 97 07 25 00 00 00 04 00 e2 07 e2 c7 cc 07 a9 07");
        QCOMPARE(hex(editor.view().row(2)), hex(rowOf(22, 0xA2)));
        editor.erase(0);
        QCOMPARE(hex(page.view(), 10, 4), "00 c8 00 c8");
        QCOMPARE(editor.view().liveSlots(), 2U);
        QVERIFY(throwsError(Errc::Corrupt, [&] { editor.erase(0); }));
        QCOMPARE(dump(page), "D0 D0 R22 R35 free 1973");
    }

    void fullPages() {
        Page page = pageOf({900, 20, 1000});
        DataPageEditor editor(page, 7);
        const Page before = page;
        QVERIFY(!editor.replace(1, rowOf(133, 0xBB), SlotKind::Row));
        QCOMPARE(page.bytes, before.bytes);
        QVERIFY(editor.replace(1, rowOf(4, 0xBB), SlotKind::Pointer));
        QCOMPARE(dump(page), "R900 P4 R1000 free 128");
        QVERIFY(editor.replace(1, rowOf(132, 0xCC), SlotKind::Moved));
        QCOMPARE(dump(page), "R900 M132 R1000 free 0");

        QCOMPARE(dump(pageOf({kMaxRowOnPage})), "R2036 free 0");
        page = pageOf({});
        QVERIFY(!editor.view().hasRoom(kMaxRowOnPage + 1));
        while (editor.view().hasRoom(1))
            (void)editor.append(rowOf(1, 1));
        QCOMPARE(editor.view().slotCount(), kMaxSlots);
        QVERIFY(editor.view().freeSpace() > 3);
    }

    void damagedRows_data() {
        addColumns<int, int>("offset", "value");
        addRow("another type of page", 0, 0x0105);
        addRow("type of an emptied page", 0, 0x0109);
        addRow("more slots than a page can number", 8, 256);
        addRow("a row past the end of the page", 10, 0x0801);
        addRow("a row in the directory", 14, 0x000A);
        addRow("a row that ends before it starts", 12, 0x07FF);
        addRow("a pointer of five bytes", 14, (2048 - 10 - 10 - 5) + 0x4000);
    }
    void damagedRows() {
        QFETCH(int, offset);
        QFETCH(int, value);
        Page page = pageOf({10, 10, 10});
        putU16(page.span(), static_cast<std::size_t>(offset), static_cast<std::uint16_t>(value));
        const Page before = page;
        QVERIFY(throwsError(Errc::Corrupt, [&] { (void)dump(page); }));
        QVERIFY(throwsError(Errc::Corrupt, [&] { (void)DataPageEditor(page, 7).erase(0); }));
        QCOMPARE(page.bytes, before.bytes);
    }

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
        for (const PageNo page : {22U, 8U, 9U})
            map.remove(page);
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
        BareFile file;
        growTo(file, 2300);
        UsageMap map(*file.pager, file.space.newMapRow());
        const RowId neighbour = file.space.newMapRow(map.row().page);
        std::set<PageNo> expected;
        for (const int page : pages) {
            map.add(static_cast<PageNo>(page), file.space);
            expected.insert(static_cast<PageNo>(page));
        }
        QTEST(static_cast<int>(getU32(file.row(map.row()), 1)), "start");
        QTEST(static_cast<int>(file.row(map.row()).size()), "size");
        QCOMPARE(map.pages(), std::vector<PageNo>(expected.begin(), expected.end()));
        QCOMPARE(file.row(neighbour), UsageMap::freshRow());
    }

    void allocateAndFree() {
        BareFile file;
        UsageMap owner(*file.pager, file.space.newMapRow());
        QCOMPARE(owner.row(), (RowId{2, 0}));
        QCOMPARE(hex(file.pager->read(2)->view(), 0, 12), "01 01 6f 07 00 00 00 00 01 00 7b 07");
        // Page 1 has room, but holds the global maps alone.
        QCOMPARE(file.space.newMapRow(1), (RowId{3, 0}));
        for (PageNo expected = 4; expected < 10; ++expected)
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
        QCOMPARE(owner.pages(), (std::vector<PageNo>{4, 5, 6, 8, 9}));
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
        checkFreePages(file, 0);
        const std::vector<PageNo> bitmaps = UsageMap(*file.pager, kFreePages).mapPages();
        QCOMPARE(bitmaps.size(), 4U);
        QCOMPARE(hex(file.row(kFreePages), 0, 1) + hex(file.pager->read(bitmaps[0])->view(), 0, 4), "0105 01 00 00");
        QCOMPARE(getU32(file.row(kFreePages), 1), bitmaps[0]);
        QCOMPARE(owner.mapPages().size(), 4U);
        // Every page is owned once: header, page 1, the map row's page, bitmaps of both maps, the rest by the owner.
        QCOMPARE(owner.pages().size() + bitmaps.size() + owner.mapPages().size() + 3, file.pager->pageCount());
        for (const PageNo page : {49990U, 17000U, 20U}) {
            owner.remove(page);
            file.space.free(page);
        }
        checkFreePages(file, 3);
        for (const PageNo page : {20U, 17000U, 49990U, file.pager->pageCount()})
            QCOMPARE(file.space.allocate(), page);
    }

    void damagedMap_data() {
        addColumns<int, uint>("offset", "value");  // from the start of the row
        addRow("unknown type", 0, 2U);
        addRow("starts past every file", 1, 0xFFFFFFF8U);
        addRow("starts past this file", 1, 4096U);
        addRow("a bitmap page that is none", 0, 0x00000101U);
        addRow("a bitmap page outside the file", 0, 0x12345601U);
    }
    void damagedMap() {
        QFETCH(int, offset);
        QFETCH(uint, value);
        BareFile file;
        growTo(file, 30);
        UsageMap map(*file.pager, file.space.newMapRow());
        map.add(22, file.space);
        putU32(file.pager->edit(map.row().page).span(), kPageSize - 133 + static_cast<std::size_t>(offset), value);
        QVERIFY(throwsError(Errc::Corrupt, [&] { (void)map.pages(); }));
        QVERIFY(throwsError(Errc::Corrupt, [&] { map.add(23, file.space); }));
        for (const RowId row : {RowId{5, 0}, RowId{1, 2}, RowId{999, 0}})  // an empty page, no such row, no such page
            QVERIFY(throwsError(Errc::Corrupt, [&] { (void)UsageMap(*file.pager, row).next(0); }));
    }
};

QTEST_APPLESS_MAIN(tst_pages)
#include "tst_pages.moc"
