// SPDX-License-Identifier: MIT
#include "jet/rows/row_codec.h"

#include <QTest>
#include <random>

#include "jet/bare_file.h"
#include "rows.h"

using namespace jet;

namespace {

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
        const bool variable = type == ColumnType::Text || type == ColumnType::Memo || type == ColumnType::Ole ||
                              (type == ColumnType::Binary && !fixed) || !fixed;
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

// One column of each type, with a value and its bytes.
struct TypeCase {
    const char* name;
    ColumnType type;
    std::uint16_t length;
    Value value;
    const char* bytes;
};

const std::vector<TypeCase>& typeCases() {
    static const std::vector<TypeCase> cases{
        {"true", ColumnType::Boolean, 1, true, "01"},
        {"false", ColumnType::Boolean, 1, false, "00"},
        {"byte", ColumnType::Byte, 1, std::uint8_t{200}, "C8"},
        {"integer", ColumnType::Integer, 2, std::int16_t{-2}, "FEFF"},
        {"long", ColumnType::Long, 4, std::int32_t{-123456789}, "EB32A4F8"},
        {"currency", ColumnType::Currency, 8, Currency{35000}, "B888000000000000"},
        {"single", ColumnType::Single, 4, -1.5F, "0000C0BF"},
        {"double", ColumnType::Double, 8, 1.5, "000000000000F83F"},
        {"date", ColumnType::DateTime, 8, Date{-1.25}, "000000000000F4BF"},
        {"binary", ColumnType::Binary, 10, Bytes{0, 255, 7}, "00FF07"},
        {"text", ColumnType::Text, 10, std::string("Köln€"), "4BF66C6E80"},
        {"empty text", ColumnType::Text, 10, std::string(), ""},
        {"memo as stored", ColumnType::Memo, 0, Bytes{1, 0, 0, 128, 0, 0, 0, 0, 0, 0, 0, 0, 65},
         "010000800000000000000000 41"},
        {"guid", ColumnType::Guid, 16, Guid{{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16}},
         "0102030405060708090A0B0C0D0E0F10"}};
    return cases;
}

}  // namespace

class tst_row_codec : public QObject {
    Q_OBJECT

 private slots:
    void bytesOfARow() {
        const TableDef def = TableMaker()
                                 .add(ColumnType::Long, 4)
                                 .add(ColumnType::Long, 4)
                                 .add(ColumnType::Long, 4)
                                 .add(ColumnType::Text, 50)
                                 .add(ColumnType::Long, 4)
                                 .def;
        const Bytes row = fromHex("05 02000000 01000000 0B000000 00000000 72656E74202D37 1811 01 1F");
        const Fields fields{Bytes{2, 0, 0, 0}, Bytes{1, 0, 0, 0}, Bytes{11, 0, 0, 0}, text("rent -7"), Bytes(4)};
        QCOMPARE(hex(encodeRow(def, fields, "t")), hex(row));
        QCOMPARE(fieldsOf(def, row), fields);
        const Fields nulls{Bytes{2, 0, 0, 0}, std::nullopt, Bytes{11, 0, 0, 0}, std::nullopt, std::nullopt};
        const Bytes withNulls = encodeRow(def, nulls, "t");
        QCOMPARE(hex(withNulls), hex(fromHex("05 02000000 00000000 0B000000 00000000 1111 01 05")));
        QCOMPARE(fieldsOf(def, withNulls), nulls);
        const Fields empty{Bytes{2, 0, 0, 0}, std::nullopt, std::nullopt, Bytes(), std::nullopt};
        QCOMPARE(fieldsOf(def, encodeRow(def, empty, "t")), empty);  // empty text is not Null
    }

    void fixedColumnsOnly() {
        TableMaker maker;
        maker.add(ColumnType::Boolean, 1).add(ColumnType::Byte, 1).add(ColumnType::Boolean, 1);
        const Bytes row = encodeRow(maker.def, Fields{Bytes{1}, Bytes{9}, Bytes{0}}, "t");
        QCOMPARE(hex(row), "03 09 03");
        QCOMPARE(fieldsOf(maker.def, row), (Fields{Bytes{1}, Bytes{9}, Bytes{0}}));
    }

    // Offsets 45, 51, 60, 80, 246, 256, 273, 283, 455, 459: the sixth, of exactly 256, is the first that counts as
    // reached.
    void realJump() {
        TableMaker maker;
        for (int i = 0; i < 11; ++i)
            maker.add(ColumnType::Long, 4);
        const std::vector<std::size_t> lengths{6, 9, 20, 166, 10, 17, 10, 172, 4};
        for (std::size_t i = 0; i < lengths.size(); ++i)
            maker.add(ColumnType::Text, 255);
        Fields fields(11, Bytes(4));
        for (const std::size_t length : lengths)
            fields.emplace_back(Bytes(length, 'x'));
        const Bytes row = encodeRow(maker.def, fields, "t");
        QCOMPARE(row.size(), 474U);
        QCOMPARE(hex(row, 459), "cb c7 1b 11 00 f6 50 3c 33 2d 05 09 ff ff 0f");
        QCOMPARE(fieldsOf(maker.def, row), fields);
    }

    // The data ends at 255: only the tail of the row crosses 256, no offset reaches the jump.
    void dummyJump() {
        TableMaker maker;
        for (int i = 0; i < 36; ++i)
            maker.add(ColumnType::Long, 4);
        for (int i = 0; i < 22; ++i)
            maker.add(ColumnType::Text, 255);
        Fields fields(36, Bytes(4));
        fields.emplace_back(Bytes(255 - 145, 'x'));
        fields.resize(58);
        const Bytes row = encodeRow(maker.def, fields, "t");
        QCOMPARE(row.size(), 255U + 23 + 1 + 1 + 8);
        QCOMPARE(hex(row, 255, 2), "ff ff");
        QCOMPARE(hex(row, 276), "ff 91 ff 16 ff ff ff ff 1f 00 00 00");
        QCOMPARE(fieldsOf(maker.def, row), fields);
    }

    void twoJumpsAndADummy() {
        TableMaker maker;
        for (int i = 0; i < 4; ++i)
            maker.add(ColumnType::Binary, 255, false);
        const Fields fields{Bytes(255, 'a'), Bytes(250, 'b'), Bytes(250, 'c'), Bytes(4, 'd')};
        const Bytes row = encodeRow(maker.def, fields, "t");
        // Offsets 1, 256, 506, 756, 760; then four jumps would need 1,024: there are three for 760 + 5 + 3 + 1 + 1
        // bytes.
        QCOMPARE(row.size(), 770U);
        QCOMPARE(hex(row, 760), "f8 f4 fa 00 01 ff 03 01 04 0f");
        QCOMPARE(fieldsOf(maker.def, row), fields);
    }

    void fewerColumnsThanTheTable() {
        const TableDef def = TableMaker()
                                 .add(ColumnType::Long, 4)
                                 .add(ColumnType::Text, 10)
                                 .add(ColumnType::Memo)
                                 .add(ColumnType::Boolean)
                                 .def;
        const Bytes row = fromHex("02 07000000 7A37 0705 01 03");
        QCOMPARE(fieldsOf(def, row), (Fields{Bytes{7, 0, 0, 0}, text("z7"), std::nullopt, Bytes{0}}));
    }

    // Such a row has no variable part at all, not an empty one.
    void rowOlderThanTheFirstVariableColumn() {
        const TableDef def = TableMaker().add(ColumnType::Long, 4).add(ColumnType::Text, 10).def;
        QCOMPARE(fieldsOf(def, fromHex("01 07000000 01")), (Fields{Bytes{7, 0, 0, 0}, std::nullopt}));
    }

    void droppedColumns() {
        TableMaker maker;
        maker.add(ColumnType::Long, 4).add(ColumnType::Text, 10).add(ColumnType::Long, 4).add(ColumnType::Text, 10);
        const Fields before{Bytes{1, 0, 0, 0}, text("one"), Bytes{2, 0, 0, 0}, text("two")};
        const Bytes old = encodeRow(maker.def, before, "t");
        TableDef now = maker.def;
        now.columns.erase(now.columns.begin() + 1);
        now.columns.erase(now.columns.begin());
        const Fields left{Bytes{2, 0, 0, 0}, text("two")};
        QCOMPARE(fieldsOf(now, old), left);
        const Bytes fresh = encodeRow(now, left, "t");
        QCOMPARE(hex(fresh), hex(fromHex("04 00000000 02000000 74776F 0C0909 02 0C")));
        QCOMPARE(fieldsOf(now, fresh), left);
    }

    void fixedTypeInTheVariableArea() {
        const TableDef def = TableMaker().add(ColumnType::Long, 4, false).add(ColumnType::Binary, 3, true).def;
        const Fields fields{Bytes{1, 2, 3, 4}, Bytes{7, 8, 9}};
        const Bytes row = encodeRow(def, fields, "t");
        QCOMPARE(hex(row), "02 07 08 09 01 02 03 04 08 04 01 03");
        QCOMPARE(fieldsOf(def, row), fields);
        // Fixed binary is filled up with zeros.
        QCOMPARE(*encodeField(def.columns[1], Bytes{5}, "t"), (Bytes{5, 0, 0}));
    }

    void types_data() {
        addColumns<int>("at");
        for (std::size_t i = 0; i < typeCases().size(); ++i)
            addRow(typeCases()[i].name, static_cast<int>(i));
    }
    void types() {
        QFETCH(int, at);
        const TypeCase& c = typeCases()[static_cast<std::size_t>(at)];
        TableMaker maker;
        const ColumnDef column = maker.add(c.type, c.length, c.type != ColumnType::Binary).def.columns[0];
        const Bytes stored = fromHex(c.bytes);
        QCOMPARE(encodeField(column, c.value, "t"), std::optional(stored));
        QCOMPARE(encodeField(column, Null{}, "t"), std::nullopt);
        Value out = std::string("left over");
        for (int twice = 0; twice < 2; ++twice) {
            decodeField(column, stored, out);
            QVERIFY2(out == c.value, toDebugString(out).c_str());
        }
        const bool anyLength = c.type == ColumnType::Text || c.type == ColumnType::Binary || c.type == ColumnType::Memo;
        if (!anyLength)
            QVERIFY(throwsError(Errc::Corrupt, [&] { decodeField(column, fromHex("010203"), out); }));
    }

    void refusedValues() {
        const Value longText = std::string("eleven char");
        const Value number = std::int32_t{7};
        const std::tuple<ColumnType, Value, Errc> cases[] = {
            {ColumnType::Text, longText, Errc::TooLong},
            {ColumnType::Text, std::string("Łódź"), Errc::NotRepresentable},
            {ColumnType::Text, number, Errc::TypeMismatch},
            {ColumnType::Integer, number, Errc::TypeMismatch},
            {ColumnType::Double, longText, Errc::TypeMismatch},
            {ColumnType::Binary, Bytes(11), Errc::TooLong},
            {ColumnType::Memo, longText, Errc::TypeMismatch}};
        for (const auto& [type, value, error] : cases) {
            TableMaker maker;
            const ColumnDef column = maker.add(type, 10, false).def.columns[0];
            QVERIFY2(throwsError(error, [&] { (void)encodeField(column, value, "t"); }), toDebugString(value).c_str());
        }
    }

    void longestRow() {
        TableMaker maker;
        for (int i = 0; i < 8; ++i)
            maker.add(ColumnType::Text, 255);
        Fields fields(8, Bytes(251, 'x'));
        fields[7] = Bytes(2036 - 7 * 251 - (1 + 9 + 7 + 1 + 1), 'x');
        QCOMPARE(encodeRow(maker.def, fields, "t").size(), 2036U);
        QCOMPARE(fieldsOf(maker.def, encodeRow(maker.def, fields, "t")), fields);
        fields[0]->push_back('x');
        QVERIFY(throwsError(Errc::RowTooLarge, [&] { (void)encodeRow(maker.def, fields, "t"); }));
    }

    void randomRows() {
        std::mt19937 random(5);
        const std::array types{ColumnType::Boolean, ColumnType::Byte, ColumnType::Long,   ColumnType::Double,
                               ColumnType::Text,    ColumnType::Text, ColumnType::Binary, ColumnType::Guid};
        for (int round = 0; round < 3000; ++round) {
            TableMaker maker;
            const std::size_t columns = 1 + random() % 40;
            for (std::size_t i = 0; i < columns; ++i)
                maker.add(types[random() % types.size()], 255, random() % 4 != 0);
            Fields fields;
            std::size_t left = 1500;
            for (const ColumnDef& c : maker.def.columns) {
                const bool sized = c.type == ColumnType::Text || c.type == ColumnType::Binary;
                std::size_t length = sized ? (c.isFixed() ? 255U : random() % 120) : c.storedSize();
                if (c.type == ColumnType::Boolean) {
                    fields.emplace_back(Bytes{static_cast<std::uint8_t>(random() % 2)});
                } else if (random() % 5 == 0 || length > left) {
                    fields.emplace_back();
                } else {
                    fields.emplace_back(Bytes(length, static_cast<std::uint8_t>(random())));
                    left -= length;
                }
            }
            try {
                QCOMPARE(fieldsOf(maker.def, encodeRow(maker.def, fields, "t")), fields);
            } catch (const Error& e) {
                QCOMPARE(e.code(), Errc::RowTooLarge);  // many fixed binary columns
            }
        }
    }

    void flippedBytes() {
        TableMaker maker;
        maker.add(ColumnType::Long, 4).add(ColumnType::Text, 255).add(ColumnType::Boolean).add(ColumnType::Memo);
        maker.add(ColumnType::Text, 255).add(ColumnType::Double, 8);
        const Fields fields{Bytes(4, 1), Bytes(200, 'x'), Bytes{1}, Bytes(20, 2), Bytes(100, 'y'), Bytes(8, 3)};
        const Bytes row = encodeRow(maker.def, fields, "t");
        int refused = 0;
        for (std::size_t at = 0; at < row.size(); ++at) {
            for (int value = 0; value < 256; ++value) {
                Bytes damaged = row;
                damaged[at] = static_cast<std::uint8_t>(value);
                try {
                    (void)fieldsOf(maker.def, damaged);
                } catch (const Error& e) {
                    QCOMPARE(e.code(), Errc::Corrupt);
                    ++refused;
                }
            }
            const Bytes cut(row.begin(), row.begin() + static_cast<std::ptrdiff_t>(at));
            QVERIFY(throwsError(Errc::Corrupt, [&] { (void)fieldsOf(maker.def, cut); }) || at > 6);
        }
        QVERIFY(refused > 500);
    }
};

QTEST_APPLESS_MAIN(tst_row_codec)
#include "tst_row_codec.moc"
