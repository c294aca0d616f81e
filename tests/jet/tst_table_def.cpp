// SPDX-License-Identifier: MIT
#include "jet/rows/table_def.h"

#include <QTest>

#include "jet/bare_file.h"
#include "jet/values/bytes.h"
#include "rows.h"

using namespace jet;

namespace {

// Two columns, an AutoNumber that is the primary key and text with a descending index; another table refers to the key.
const char* const kTwoColumns =
    "02 01 56 43 00 00 00 00  09 01 00 00  05 00 00 00  0C 00 00 00  4E 02 00 01 00 02 00"
    "03 00 00 00 02 00 00 00  00 46 00 00 01 46 00 00"
    "00 00 00 00 05 00 00 00  02 00 00 00 04 00 00 00"
    "04 00 00 00 00 00 00 00 00 09 04 E4 04 07 00 00 04 00"
    "0A 01 00 00 00 01 00 00 00 09 04 E4 04 02 34 12 28 00"
    "02 6E 6F  05 70 61 79 65 65"
    "00 00 01 FF FF 00 FF FF 00 FF FF 00 FF FF 00 FF FF 00 FF FF 00 FF FF 00 FF FF 00 FF FF 00"
    "02 46 00 00 47 00 00 00 09"
    "01 00 00 FF FF 00 FF FF 00 FF FF 00 FF FF 00 FF FF 00 FF FF 00 FF FF 00 FF FF 00 FF FF 00"
    "03 46 00 00 48 00 00 00 00"
    "01 00 00 00 00 00 00 00 01 04 00 00 00 33 00 00 00 01 00 02"
    "02 00 00 00 01 00 00 00 00 FF FF FF FF 00 00 00 00 04 04 00"
    "00 00 00 00 00 00 00 00 00 FF FF FF FF 00 00 00 00 04 04 01"
    "03 2E 72 42  05 70 61 79 65 65  0A 50 72 69 6D 61 72 79 4B 65 79"
    "FF FF";

// Puts a byte string of one page on page 2 of a file.
void putDefinition(BareFile& file, const Bytes& bytes) {
    Page& page = file.pager->edit(file.space.allocate());
    std::ranges::copy(bytes, page.bytes.begin());
}

// A definition that needs `pages` pages.
TableDef wideTable(BareFile& file, std::size_t columns) {
    TableDef def;
    for (std::size_t i = 0; i < columns; ++i) {
        ColumnDef c;
        c.name = "column with a rather long name " + std::to_string(i);
        c.number = static_cast<std::uint16_t>(i);
        c.variableIndex = c.number;
        c.length = 20;
        c.type = i % 50 == 7 ? ColumnType::Memo : ColumnType::Text;
        if (c.isLongValue())
            def.longValues.push_back({c.number, {9, static_cast<std::uint8_t>(i)}, std::nullopt});
        def.columns.push_back(c);
    }
    def.maxColumns = def.variableColumns = static_cast<std::uint16_t>(columns);
    RealIndex index;
    index.columns.resize(10);
    def.realIndexes.push_back(index);
    LogicalIndex logical;
    logical.name = "Überall";
    def.logicalIndexes.push_back(logical);
    for (std::size_t i = 0; i < TableDef::pagesFor(def.encode().size()); ++i)
        def.pages.push_back(file.space.allocate());
    def.page = def.pages.front();
    def.store(*file.pager);
    return def;
}

}  // namespace

class tst_table_def : public QObject {
    Q_OBJECT

 private slots:
    void twoColumns() {
        BareFile file;
        const Bytes bytes = fromHex(kTwoColumns);
        QCOMPARE(bytes.size(), 265U);
        putDefinition(file, bytes);
        const TableDef def = TableDef::load(*file.pager, 2);
        QCOMPARE(def.pages, std::vector<PageNo>{2});
        QCOMPARE(def.rowCount, 5U);
        QCOMPARE(def.lastAutoNumber, 12U);
        QVERIFY(!def.system);
        QCOMPARE(def.ownedMap, (RowId{70, 0}));
        QCOMPARE(def.columns[1].name, "payee");
        QVERIFY(def.columns[1].type == ColumnType::Text && !def.columns[1].isFixed() && def.columns[0].isFixed());
        QVERIFY(def.columns[0].isAutoNumber());
        QCOMPARE(int{def.columns[1].length}, 40);
        QCOMPARE(int{def.realIndexes[0].flags}, RealIndex::kUnique | RealIndex::kRequired);
        QCOMPARE(def.realIndexes[1].root, 72U);
        QCOMPARE(def.realIndexes[1].columns.size(), 1U);
        QVERIFY(def.realIndexes[0].columns[0].ascending && !def.realIndexes[1].columns[0].ascending);
        QCOMPARE(def.logicalIndexes[0].name, ".rB");
        QVERIFY(def.logicalIndexes[0].side == LogicalIndex::Side::Referenced);
        QCOMPARE(def.logicalIndexes[0].partnerTable, 51U);
        QCOMPARE(int{def.logicalIndexes[0].cascadeUpdate}, 1);
        QVERIFY(def.logicalIndexes[2].kind == LogicalIndex::Kind::Primary);
        QCOMPARE(def.columnByName("PAYEE"), std::optional<std::size_t>(1));
        QCOMPARE(def.columnByName("paye"), std::nullopt);
        QVERIFY(def.generalOrder());
        QCOMPARE(hex(def.encode()), hex(bytes));
    }

    void severalPages() {
        BareFile file;
        const TableDef def = wideTable(file, 200);
        QVERIFY(def.pages.size() >= 5);
        const TableDef loaded = TableDef::load(*file.pager, def.page);
        QCOMPARE(loaded.pages, def.pages);
        QCOMPARE(hex(loaded.encode()), hex(def.encode()));
        QCOMPARE(loaded.columns[157].name, "column with a rather long name 157");
        QCOMPARE(loaded.logicalIndexes[0].name, "Überall");
        QCOMPARE(loaded.realIndexes[0].columns.size(), 10U);
        QCOMPARE(loaded.longValues.size(), 4U);
        QCOMPARE(hex(file.pager->read(def.pages[1])->view(), 0, 4), "02 01 56 43");
        QCOMPARE(getU32(file.pager->read(def.pages[1])->view(), 4), def.pages[2]);
        QCOMPARE(getU32(file.pager->read(def.pages.back())->view(), 4), 0U);
    }

    void pagesFor() {
        QCOMPARE(TableDef::pagesFor(2048), 1U);
        QCOMPARE(TableDef::pagesFor(2049), 2U);
        QCOMPARE(TableDef::pagesFor(4088), 2U);
        QCOMPARE(TableDef::pagesFor(4089), 3U);
    }

    void counters() {
        BareFile file;
        Bytes bytes = fromHex(kTwoColumns);
        putDefinition(file, bytes);
        TableDef def = TableDef::load(*file.pager, 2);
        def.rowCount = 0x01020304;
        def.lastAutoNumber = 0x11121314;
        def.realIndexes[1].rowsAtBuild = 0x21222324;
        def.realIndexes[1].distinctKeys = 0x31323334;
        def.storeRowCount(*file.pager);
        def.storeAutoNumber(*file.pager);
        def.storeStatistics(*file.pager, 1);
        putU32(bytes, 0x0C, 0x01020304);
        putU32(bytes, 0x10, 0x11121314);
        putU32(bytes, 0x33, 0x21222324);
        putU32(bytes, 0x37, 0x31323334);
        QCOMPARE(hex(file.pager->read(2)->view(), 0, bytes.size()), hex(bytes));
    }

    void droppedColumns() {
        BareFile file;
        TableDef def = wideTable(file, 12);
        def.columns.erase(def.columns.begin() + 3);
        def.columns.erase(def.columns.begin());
        def.store(*file.pager);
        const TableDef loaded = TableDef::load(*file.pager, def.page);
        QCOMPARE(int{loaded.maxColumns}, 12);
        QCOMPARE(loaded.columnByNumber(0), std::nullopt);
        QCOMPARE(loaded.columnByNumber(1), std::optional<std::size_t>(0));
        QCOMPARE(loaded.columnByNumber(2), std::optional<std::size_t>(1));
        QCOMPARE(loaded.columnByNumber(3), std::nullopt);
        QCOMPARE(loaded.columnByNumber(11), std::optional<std::size_t>(9));
        QCOMPARE(loaded.columnByNumber(12), std::nullopt);
    }

    void refused_data() {
        addColumns<int, uint>("offset", "value");
        addRow("another type of page", 0, 0x43560101U);
        addRow("goes on at itself", 4, 2U);
        addRow("goes on at a page it does not need", 4, 3U);
        addRow("goes on outside the file", 4, 0x7FFFFFFFU);
        addRow("longer than its pages", 8, 0x7FFFFFFFU);
        addRow("shorter than its parts", 8, 0x108U);
        addRow("unknown kind", 0x14, 0x0100024FU);
        addRow("fewer column numbers than columns", 0x15, 0x00010001U);
        addRow("more columns than a row can have", 0x15, 0x00010100U);
        addRow("more columns than bytes", 0x19, 0x0003FFFFU);
        addRow("more logical indexes than bytes", 0x1B, 50U);
        addRow("more logical indexes than a table can have", 0x1B, 0xFFFFFFFFU);
        addRow("more real indexes than bytes", 0x1F, 50U);
        addRow("more real indexes than a table can have", 0x1F, 0x40000000U);
        addRow("unknown type of column", 0x3B, 0x0000000DU);
        addRow("two columns of one number", 0x3C, 0x00000001U);
        addRow("a memo without its maps", 0x4D, 0x0000010CU);
        addRow("a fixed column past the end of every row", 0x49, 0x000407FCU);
        addRow("a variable column past its count", 0x50, 0x00010001U);
        addRow("an index without its tree", 0xBA, 2U);
        addRow("an index of an unknown side", 0xBE, 3U);
    }
    void refused() {
        QFETCH(int, offset);
        QFETCH(uint, value);
        BareFile file;
        Bytes bytes = fromHex(kTwoColumns);
        putU32(bytes, static_cast<std::size_t>(offset), value);
        putDefinition(file, bytes);
        std::ranges::copy(fromHex(kTwoColumns), file.pager->edit(file.space.allocate()).bytes.begin());
        QVERIFY(throwsError(Errc::Corrupt, [&] { (void)TableDef::load(*file.pager, 2); }));
    }

    void flippedBytes() {
        BareFile file;
        const Bytes bytes = fromHex(kTwoColumns);
        putDefinition(file, bytes);
        int accepted = 0;
        for (std::size_t at = 0; at < bytes.size(); ++at) {
            for (const unsigned flip : {0x01U, 0x80U, 0xFFU}) {
                file.pager->edit(2).bytes[at] = static_cast<std::uint8_t>(bytes[at] ^ flip);
                try {
                    const TableDef def = TableDef::load(*file.pager, 2);
                    ++accepted;
                    QVERIFY(def.encode().size() <= kPageSize);
                } catch (const Error& e) {
                    QCOMPARE(e.code(), Errc::Corrupt);
                }
            }
            file.pager->edit(2).bytes[at] = bytes[at];
        }
        QVERIFY(accepted > 300);  // most bytes are numbers that may be anything
    }
};

QTEST_APPLESS_MAIN(tst_table_def)
#include "tst_table_def.moc"
