// SPDX-License-Identifier: MIT
// The parts of a table, as bytes: its definition, its rows, their long values, its properties.
#include <QTest>
#include <random>

#include "jet/bare_file.h"
#include "jet/rows/long_value.h"
#include "jet/rows/properties.h"
#include "jet/rows/row_codec.h"
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

// Puts a byte string of one page on the next page of a file, page 2 of a new one.
void putDefinition(BareFile& file, const Bytes& bytes) {
    std::ranges::copy(bytes, file.pager->edit(file.space.allocate()).bytes.begin());
}

// A definition that needs several pages.
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
    def.realIndexes.emplace_back().columns.resize(10);
    def.logicalIndexes.emplace_back().name = "Überall";
    for (std::size_t i = 0; i < TableDef::pagesFor(def.encode().size()); ++i)
        def.pages.push_back(file.space.allocate());
    def.page = def.pages.front();
    def.store(*file.pager);
    return def;
}

using Fields = std::vector<std::optional<Bytes>>;

// Adds columns as a definition would number them: fixed ones side by side, variable ones counted.
struct TableMaker {
    TableDef def;
    std::uint16_t fixedEnd = 0;

    TableMaker& add(ColumnType type, std::uint16_t length = 0, bool fixed = true) {
        ColumnDef c;
        c.name = "c" + std::to_string(def.columns.size());
        c.type = type;
        c.length = length;
        c.number = def.maxColumns++;
        c.variableIndex = def.variableColumns;
        const bool variable = !fixed || type == ColumnType::Text || type == ColumnType::Memo || type == ColumnType::Ole;
        c.flags = variable ? 0x02 : 0x03;
        if (variable) {
            ++def.variableColumns;
        } else if (type != ColumnType::Boolean) {
            c.fixedOffset = fixedEnd;
            fixedEnd = static_cast<std::uint16_t>(fixedEnd + c.storedSize());
        }
        def.columns.push_back(c);
        return *this;
    }
    TableMaker& add(int count, ColumnType type, std::uint16_t length, bool fixed = true) {
        for (int i = 0; i < count; ++i)
            add(type, length, fixed);
        return *this;
    }
};

Bytes text(const char* s) {
    return Bytes(s, s + std::strlen(s));
}

Fields fieldsOf(const TableDef& def, const Bytes& row) {
    const RowView view(def, row, 9);
    Fields fields;
    for (std::size_t i = 0; i < def.columns.size(); ++i) {
        const auto field = view.field(i);
        fields.push_back(field ? std::optional(Bytes(field->begin(), field->end())) : std::nullopt);
    }
    return fields;
}

// A file with the maps of one column of long values.
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

// Hexadecimal digits and "quoted text", in any mixture.
Bytes bytesOf(const QByteArray& notation) {
    QByteArray hexDigits;
    bool quoted = false;
    for (const QByteArray& part : notation.split('"')) {
        hexDigits += quoted ? part.toHex() : part;
        quoted = !quoted;
    }
    return fromHex(hexDigits);
}

// The properties of a table of two columns, as the engine of the time stores them.
const char* const kTable =
    "4B4B4400 44000000 8000 0B00\"Description\" 0800\"Required\" 0F00\"AllowZeroLength\" 0600\"Format\" "
    "0C00\"DefaultValue\""
    "3C000000 0100 0E000000 0800\"envelope\" 1600 01 0A 0000 0E00\"Envelope name.\" 0900 01 01 0100 0100 00"
    "0900 01 01 0200 0100 01"
    "47000000 0100 0C000000 0600\"budget\" 1600 01 0A 0000 0E00\"Budget amount.\" 0D00 01 0A 0300 0500\"Fixed\""
    "0900 01 0C 0400 0100\"0\" 0900 01 01 0100 0100 00";

// A query: properties of its own, and of an output column.
const char* const kQuery =
    "4B4B4400 27000000 8000 0B00\"ODBCTimeout\" 0A00\"MaxRecords\" 0600\"Format\""
    "22000000 0000 06000000 0000 0A00 01 03 0000 0200 3C00 0C00 01 04 0100 0400 00000000"
    "27000000 0100 11000000 0B00\"new_balance\" 1000 01 0A 0200 0800\"Standard\"";

// Names that nothing uses, out of order; a column before the object; values of an odd length; an empty value.
const char* const kOdd =
    "4B4B4400 1B000000 8000 0700\"Unused\xE9\" 0100\"B\" 0100\"A\" 0400\"Wide\""
    "24000000 0100 0A000000 0400\"K\xF6ln\" 0C00 00 03 0300 0400 FF000000 0800 01 0A 0200 0000"
    "15000000 0000 06000000 0000 0900 81 01 0100 0100 FF";

QString show(const PropertySet& set) {
    QString out;
    for (const auto& block : set.blocks) {
        out += QString("%1 '%2':").arg(block.kind).arg(QString::fromStdString(block.name));
        for (const auto& p : block.properties)
            out += QString(" %1(%2,%3)=%4")
                       .arg(QString::fromStdString(p.name))
                       .arg(p.ddl)
                       .arg(p.type)
                       .arg(QString::fromLatin1(hex(p.value).replace(' ', "")));
        out += '\n';
    }
    return out;
}

}  // namespace

class tst_rows : public QObject {
    Q_OBJECT

 private slots:
    void definition() {
        BareFile file;
        const Bytes bytes = fromHex(kTwoColumns);
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

    void definitionOfSeveralPages() {
        QCOMPARE(TableDef::pagesFor(2048), 1U);
        QCOMPARE(TableDef::pagesFor(2049), 2U);
        QCOMPARE(TableDef::pagesFor(4088), 2U);
        QCOMPARE(TableDef::pagesFor(4089), 3U);
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

    void countersInPlace() {
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
        for (const auto& [at, value] :
             {std::pair(0x0CU, 0x01020304U), {0x10, 0x11121314}, {0x33, 0x21222324}, {0x37, 0x31323334}})
            putU32(bytes, at, value);
        QCOMPARE(hex(file.pager->read(2)->view(), 0, bytes.size()), hex(bytes));
    }

    void damagedDefinition_data() {
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
    void damagedDefinition() {
        QFETCH(int, offset);
        QFETCH(uint, value);
        BareFile file;
        Bytes bytes = fromHex(kTwoColumns);
        putU32(bytes, static_cast<std::size_t>(offset), value);
        putDefinition(file, bytes);
        putDefinition(file, fromHex(kTwoColumns));
        QVERIFY(throwsError(Errc::Corrupt, [&] { (void)TableDef::load(*file.pager, 2); }));
    }

    void bytesOfARow() {
        TableMaker maker;
        maker.add(3, ColumnType::Long, 4).add(ColumnType::Text, 50).add(ColumnType::Long, 4);
        const Fields fields{Bytes{2, 0, 0, 0}, Bytes{1, 0, 0, 0}, Bytes{11, 0, 0, 0}, text("rent -7"), Bytes(4)};
        const Fields nulls{Bytes{2, 0, 0, 0}, std::nullopt, Bytes{11, 0, 0, 0}, std::nullopt, std::nullopt};
        const Fields empty{Bytes{2, 0, 0, 0}, std::nullopt, std::nullopt, Bytes(), std::nullopt};
        QCOMPARE(hex(encodeRow(maker.def, fields, "t")),
                 hex(fromHex("05 02000000 01000000 0B000000 00000000 72656E74202D37 1811 01 1F")));
        QCOMPARE(hex(encodeRow(maker.def, nulls, "t")),
                 hex(fromHex("05 02000000 00000000 0B000000 00000000 1111 01 05")));
        for (const Fields& each : {fields, nulls, empty})  // empty text is not Null
            QCOMPARE(fieldsOf(maker.def, encodeRow(maker.def, each, "t")), each);

        const TableDef fixed =
            TableMaker().add(ColumnType::Boolean, 1).add(ColumnType::Byte, 1).add(ColumnType::Boolean, 1).def;
        QCOMPARE(hex(encodeRow(fixed, Fields{Bytes{1}, Bytes{9}, Bytes{0}}, "t")), "03 09 03");
        QCOMPARE(fieldsOf(fixed, {3, 9, 3}), (Fields{Bytes{1}, Bytes{9}, Bytes{0}}));

        const TableDef odd = TableMaker().add(ColumnType::Long, 4, false).add(ColumnType::Binary, 3, true).def;
        QCOMPARE(hex(encodeRow(odd, Fields{Bytes{1, 2, 3, 4}, Bytes{7, 8, 9}}, "t")),
                 "02 07 08 09 01 02 03 04 08 04 01 03");
        QCOMPARE(*encodeField(odd.columns[1], Bytes{5}, "t"), (Bytes{5, 0, 0}));
    }

    // The bytes that tell how often the offsets of a row pass a multiple of 256.
    void jumps_data() {
        addColumns<int, QList<int>, int, QByteArray>("longs", "texts", "size", "end");
        // Offsets 45, 51, 60, 80, 246, 256, 273, 283, 455, 459: the sixth, of exactly 256, is the first that counts.
        addRow("one", 11, QList<int>{6, 9, 20, 166, 10, 17, 10, 172, 4}, 474,
               QByteArray("cb c7 1b 11 00 f6 50 3c 33 2d 05 09 ff ff 0f"));
        // The data ends at 255: only the tail of the row crosses 256, no offset reaches the jump.
        addRow("one that no offset reaches", 36, QList<int>{110} + QList<int>(21, -1), 288,
               QByteArray("ff ").repeated(22) + "91 ff 16 ff ff ff ff 1f 00 00 00");
        // Offsets 1, 256, 506, 756, 760; four jumps would need 1,024: there are three for 760 + 5 + 3 + 1 + 1 bytes.
        addRow("two and one more", 0, QList<int>{255, 250, 250, 4}, 770, QByteArray("f8 f4 fa 00 01 ff 03 01 04 0f"));
    }
    void jumps() {
        QFETCH(int, longs);
        QFETCH(QList<int>, texts);
        TableMaker maker;
        maker.add(longs, ColumnType::Long, 4).add(static_cast<int>(texts.size()), ColumnType::Text, 255);
        Fields fields(static_cast<std::size_t>(longs), Bytes(4));
        for (const int length : texts)
            fields.push_back(length < 0 ? std::nullopt : std::optional(Bytes(static_cast<std::size_t>(length), 'x')));
        const Bytes row = encodeRow(maker.def, fields, "t");
        QTEST(static_cast<int>(row.size()), "size");
        QFETCH(QByteArray, end);
        QCOMPARE(hex(row).last(end.size()), end);
        QCOMPARE(fieldsOf(maker.def, row), fields);
    }

    void olderRows() {
        const TableDef def = TableMaker()
                                 .add(ColumnType::Long, 4)
                                 .add(ColumnType::Text, 10)
                                 .add(ColumnType::Memo)
                                 .add(ColumnType::Boolean)
                                 .def;
        QCOMPARE(fieldsOf(def, fromHex("02 07000000 7A37 0705 01 03")),
                 (Fields{Bytes{7, 0, 0, 0}, text("z7"), std::nullopt, Bytes{0}}));
        // A row older than the first variable column has no variable part at all, not an empty one.
        QCOMPARE(fieldsOf(def, fromHex("01 07000000 01")),
                 (Fields{Bytes{7, 0, 0, 0}, std::nullopt, std::nullopt, Bytes{0}}));

        TableMaker maker;
        maker.add(ColumnType::Long, 4).add(ColumnType::Text, 10).add(ColumnType::Long, 4).add(ColumnType::Text, 10);
        const Fields before{Bytes{1, 0, 0, 0}, text("one"), Bytes{2, 0, 0, 0}, text("two")};
        TableDef now = maker.def;
        now.columns.erase(now.columns.begin(), now.columns.begin() + 2);
        const Fields left{Bytes{2, 0, 0, 0}, text("two")};
        QCOMPARE(fieldsOf(now, encodeRow(maker.def, before, "t")), left);
        QCOMPARE(hex(encodeRow(now, left, "t")), hex(fromHex("04 00000000 02000000 74776F 0C0909 02 0C")));
    }

    void types_data() {
        addColumns<int, Value, QByteArray>("type", "value", "bytes");
        const auto row = [](const char* name, ColumnType type, const Value& value, const char* bytes) {
            addRow(name, static_cast<int>(type), value, QByteArray(bytes));
        };
        row("true", ColumnType::Boolean, true, "01");
        row("false", ColumnType::Boolean, false, "00");
        row("byte", ColumnType::Byte, std::uint8_t{200}, "C8");
        row("integer", ColumnType::Integer, std::int16_t{-2}, "FEFF");
        row("long", ColumnType::Long, std::int32_t{-123456789}, "EB32A4F8");
        row("currency", ColumnType::Currency, Currency{35000}, "B888000000000000");
        row("single", ColumnType::Single, -1.5F, "0000C0BF");
        row("double", ColumnType::Double, 1.5, "000000000000F83F");
        row("date", ColumnType::DateTime, Date{-1.25}, "000000000000F4BF");
        row("binary", ColumnType::Binary, Bytes{0, 255, 7}, "00FF07");
        row("text", ColumnType::Text, std::string("Köln€"), "4BF66C6E80");
        row("empty text", ColumnType::Text, std::string(), "");
        row("memo as stored", ColumnType::Memo, Bytes{1, 0, 0, 128, 0, 0, 0, 0, 0, 0, 0, 0, 65},
            "010000800000000000000000 41");
        row("guid", ColumnType::Guid, Guid{{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16}},
            "0102030405060708090A0B0C0D0E0F10");
    }
    void types() {
        QFETCH(int, type);
        QFETCH(Value, value);
        QFETCH(QByteArray, bytes);
        const auto columnType = static_cast<ColumnType>(type);
        const ColumnDef column = TableMaker().add(columnType, 10, columnType != ColumnType::Binary).def.columns[0];
        const Bytes stored = fromHex(bytes);
        QCOMPARE(encodeField(column, value, "t"), std::optional(stored));
        QCOMPARE(encodeField(column, Null{}, "t"), std::nullopt);
        Value out = std::string("left over");
        for (int twice = 0; twice < 2; ++twice) {
            decodeField(column, stored, out);
            QVERIFY2(out == value, toDebugString(out).c_str());
        }
        const bool anyLength =
            columnType == ColumnType::Text || columnType == ColumnType::Binary || columnType == ColumnType::Memo;
        QVERIFY(anyLength || throwsError(Errc::Corrupt, [&] { decodeField(column, fromHex("010203"), out); }));
    }

    void longestRow() {
        const TableDef wide = TableMaker().add(8, ColumnType::Text, 255).def;
        Fields fields(8, Bytes(251, 'x'));
        fields[7] = Bytes(2036 - 7 * 251 - (1 + 9 + 7 + 1 + 1), 'x');
        QCOMPARE(encodeRow(wide, fields, "t").size(), 2036U);
        QCOMPARE(fieldsOf(wide, encodeRow(wide, fields, "t")), fields);
        fields[0]->push_back('x');
        QVERIFY(throwsError(Errc::RowTooLarge, [&] { (void)encodeRow(wide, fields, "t"); }));
    }

    // Rows of any columns come back; of a row with any one byte changed, or cut, no field lies outside.
    void anyRow() {
        std::mt19937 random(5);
        const std::array types{ColumnType::Boolean, ColumnType::Byte, ColumnType::Long, ColumnType::Double,
                               ColumnType::Text,    ColumnType::Text, ColumnType::Guid};
        int refused = 0;
        for (int round = 0; round < 3000; ++round) {
            TableMaker maker;
            for (auto columns = 1 + random() % 25; columns > 0; --columns)
                maker.add(types[random() % types.size()], 255, random() % 4 != 0);
            Fields fields;
            for (const ColumnDef& c : maker.def.columns) {
                const std::size_t length = c.type == ColumnType::Text ? random() % 60 : c.storedSize();
                if (c.type == ColumnType::Boolean)
                    fields.emplace_back(Bytes{static_cast<std::uint8_t>(random() % 2)});
                else if (random() % 5 == 0)
                    fields.emplace_back();
                else
                    fields.emplace_back(Bytes(length, static_cast<std::uint8_t>(random())));
            }
            Bytes row = encodeRow(maker.def, fields, "t");
            QCOMPARE(fieldsOf(maker.def, row), fields);
            if (random() % 2 == 0)
                row.resize(random() % row.size());
            else
                row[random() % row.size()] = static_cast<std::uint8_t>(random());
            refused += throwsError(Errc::Corrupt, [&] { (void)fieldsOf(maker.def, row); });
        }
        QVERIFY(refused > 500);
    }

    void longValues_data() {
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
    void longValues() {
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
        const std::vector<PageNo> before = file.owned();
        QCOMPARE(before.size(), static_cast<std::size_t>(pages));
        if (kind == 0x00 && withFreeSpace)
            QVERIFY(file.offered().empty());
        file.store().erase(field);
        QVERIFY(file.owned().empty());
        for (const PageNo page : before)
            QVERIFY(file.space.isFree(page));
    }

    void bytesOfLongValues() {
        ColumnFile file;
        QCOMPARE(hex(file.store().write(valueOf(43))), "2b 00 00 40 00 03 00 00 00 00 00 00");
        QCOMPARE(hex(file.pager->read(3)->view(), 0, 12), "01 01 c9 07 4c 56 41 4c 01 00 d5 07");
        QCOMPARE(hex(file.pager->read(3)->view(), 0x7D5), hex(valueOf(43)));
        const Bytes value = valueOf(2032 + 7);
        QCOMPARE(hex(file.store().write(value)), "f7 07 00 00 00 04 00 00 00 00 00 00");
        QCOMPARE(hex(file.pager->read(4)->view(), 0, 16), "01 01 00 00 4c 56 41 4c 01 00 0c 00 00 05 00 00");
        QCOMPARE(hex(file.pager->read(4)->view(), 16), hex(value, 0, 2032));
        QCOMPARE(hex(file.pager->read(5)->view(), 0, 12), "01 01 e9 07 4c 56 41 4c 01 00 f5 07");
        QCOMPARE(hex(file.pager->read(5)->view(), 0x7F5), "00 00 00 00 " + hex(value, 2032));
        QCOMPARE(LongValueStore::length(file.store().write(Bytes((1U << 24U) - 1))), (std::size_t{1} << 24U) - 1);
        QVERIFY(throwsError(Errc::TooLong, [&] { (void)file.store().write(Bytes(1U << 24U)); }));
    }

    // Values come and go at random; then every page has a row, and the offered pages are among the owned.
    void longValuesComeAndGo() {
        std::mt19937 random(17);
        ColumnFile file;
        std::vector<std::pair<Bytes, Bytes>> model;  // field, value
        for (int step = 0; step < 2000; ++step) {
            if (model.size() < 5 || random() % 9 < 5) {
                const std::size_t limit = std::array<std::size_t, 4>{40, 300, 1800, 9000}[random() % 4];
                const Bytes value = valueOf(random() % limit, static_cast<unsigned>(random()));
                model.emplace_back(file.store().write(value), value);
            } else {
                std::swap(model[random() % model.size()], model.back());
                file.store().erase(model.back().first);
                model.pop_back();
            }
            const auto& probe = model[random() % model.size()];
            QCOMPARE(file.store().read(probe.first), probe.second);
        }
        std::size_t rows = 0;
        for (const auto& [field, value] : model)
            rows += field[3] == 0x80 ? 0 : field[3] == 0x40 ? 1 : (value.size() + 2031) / 2032;
        const std::vector<PageNo> owned = file.owned();
        for (const PageNo page : owned) {
            const std::size_t live = DataPageView(file.pager->read(page)->view(), page).liveSlots();
            QVERIFY(live > 0);
            rows -= live;
        }
        QCOMPARE(rows, 0U);
        QVERIFY(file.offered().size() <= 16);  // few, so that a write looks at few
        for (const PageNo page : file.offered())
            QVERIFY(std::ranges::binary_search(owned, page));
        for (const auto& [field, value] : model) {
            QCOMPARE(file.store().read(field), value);
            file.store().erase(field);
        }
        QVERIFY(file.owned().empty() && file.offered().empty());
    }

    void damagedLongValue_data() {
        addColumns<QString>("field");
        addRow("no header", "2b 00 00 40 00 03");
        addRow("unknown kind", "2b 00 00 c0 00 03 00 00 00 00 00 00");
        addRow("inline, too short", "05 00 00 80 00 00 00 00 00 00 00 00 61");
        addRow("longer than its row", "2c 00 00 40 00 03 00 00 00 00 00 00");
        addRow("no such row", "2b 00 00 40 05 03 00 00 00 00 00 00");
        addRow("a page of maps", "2b 00 00 40 00 02 00 00 00 00 00 00");
        addRow("outside the file", "2b 00 00 40 00 ff ff ff 00 00 00 00");
        addRow("a chain that is too short", "f8 07 00 00 00 04 00 00 00 00 00 00");
        addRow("a chain that is too long", "f6 07 00 00 00 04 00 00 00 00 00 00");
        addRow("a gigabyte", "ff ff ff 3f 00 04 00 00 00 00 00 00");
        addRow("a chain in a circle", "d0 17 00 00 00 06 00 00 00 00 00 00");
    }
    void damagedLongValue() {
        QFETCH(QString, field);
        ColumnFile file;
        for (const std::size_t length : {43, 2032 + 7, 3 * 2032})
            (void)file.store().write(valueOf(length));
        putU32(file.pager->edit(7).span(), 12, toPointer({6, 0}));
        QVERIFY(throwsError(Errc::Corrupt, [&] { (void)file.store().read(fromHex(field.toLatin1())); }));
        if (qstrcmp(QTest::currentDataTag(), "a chain in a circle") == 0)
            QVERIFY(throwsError(Errc::Corrupt, [&] { file.store().erase(fromHex(field.toLatin1())); }));
    }

    void properties_data() {
        addColumns<QByteArray, QString>("blob", "shown");
        addRow("table", QByteArray(kTable),
               "1 'envelope': Description(1,10)=456e76656c6f7065206e616d652e Required(1,1)=00 "
               "AllowZeroLength(1,1)=01\n"
               "1 'budget': Description(1,10)=42756467657420616d6f756e742e Format(1,10)=4669786564 "
               "DefaultValue(1,12)=30 Required(1,1)=00\n");
        addRow("query", QByteArray(kQuery),
               "0 '': ODBCTimeout(1,3)=3c00 MaxRecords(1,4)=00000000\n"
               "1 'new_balance': Format(1,10)=5374616e64617264\n");
        addRow("odd but allowed", QByteArray(kOdd),
               QString::fromUtf8("1 'Köln': Wide(0,3)=ff000000 A(1,10)=\n0 '': B(129,1)=ff\n"));
        addRow("nothing in it", QByteArray("4B4B4400"), QString());
    }
    void properties() {
        QFETCH(QByteArray, blob);
        const Bytes raw = bytesOf(blob);
        const PropertySet set = PropertySet::decode(raw);
        QTEST(show(set), "shown");
        if (raw.size() > 4)
            QCOMPARE(set.encode(), raw);
    }

    void propertiesByName() {
        const PropertySet set = PropertySet::decode(bytesOf(kTable));
        QVERIFY(set.object() == nullptr);
        QVERIFY(set.column("amount") == nullptr);
        const auto* column = set.column("ENVELOPE");
        QVERIFY(column->find("allowzerolength")->truth() && !column->find("Required")->truth());
        QVERIFY(column->find("Format") == nullptr);
        QCOMPARE(column->find("Description")->text(), std::string("Envelope name."));
        const PropertySet odd = PropertySet::decode(bytesOf(kOdd));
        QVERIFY(odd.object()->find("b")->truth());
        QVERIFY(odd.column("köln")->find("Wide")->truth());
    }

    // Cut anywhere but between two blocks, or with a name that it does not have.
    void damagedProperties() {
        const Bytes good = bytesOf(kTable);
        const auto refuses = [](const Bytes& blob) {
            return throwsError(Errc::Corrupt, [&] { (void)PropertySet::decode(blob); });
        };
        for (std::size_t length = 0; length < good.size(); ++length) {
            const bool whole = length == 4 || length == 4 + 0x44 || length == 4 + 0x44 + 0x3C;
            QCOMPARE(refuses(Bytes(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(length))), !whole);
        }
        QVERIFY(refuses(bytesOf(QByteArray(kTable).replace("0A 0000 0E00", "0A 0500 0E00"))));
    }
};

QTEST_APPLESS_MAIN(tst_rows)
#include "tst_rows.moc"
