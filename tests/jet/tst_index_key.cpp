// SPDX-License-Identifier: MIT
#include "jet/indexes/index_key.h"
#include "rows.h"

#include <QTest>

using namespace jet;

namespace {

Bytes fromHex(const char* hex) {
    const QByteArray bytes = QByteArray::fromHex(hex);
    return {bytes.begin(), bytes.end()};
}

QByteArray toHex(const Bytes& bytes) {
    return QByteArray(reinterpret_cast<const char*>(bytes.data()), static_cast<int>(bytes.size())).toHex(' ').toUpper();
}

ColumnDef column(ColumnType type) {
    ColumnDef def;
    def.name = std::string("c");
    def.type = type;
    return def;
}

template <typename T>
Bytes keyOf(ColumnType type, T value, bool ascending = true) {
    Bytes stored(sizeof value);
    std::memcpy(stored.data(), &value, sizeof value);
    Bytes key;
    appendKey(column(type), ascending, stored, key);
    return key;
}

}  // namespace

class tst_index_key : public QObject {
    Q_OBJECT

 private slots:
    void keys_data() {
        addColumns<int, QByteArray, QByteArray, QByteArray>("type", "stored", "ascending", "descending");
        const auto row = [](const char* name, ColumnType type, const char* stored, const char* up, const char* down) {
            addRow(name, static_cast<int>(type), QByteArray(stored), QByteArray(up), QByteArray(down));
        };
        row("true", ColumnType::Boolean, "01", "7F 00", "80 FF");
        row("false", ColumnType::Boolean, "00", "7F FF", "80 00");
        row("byte", ColumnType::Byte, "07", "7F 07", "80 F8");
        row("integer -2", ColumnType::Integer, "FEFF", "7F 7F FE", "80 80 01");
        row("long 1", ColumnType::Long, "01000000", "7F 80 00 00 01", "80 7F FF FF FE");
        row("long -1", ColumnType::Long, "FFFFFFFF", "7F 7F FF FF FF", "80 80 00 00 00");
        row("currency 3.5", ColumnType::Currency, "B888000000000000", "7F 80 00 00 00 00 00 88 B8",
            "80 7F FF FF FF FF FF 77 47");
        row("single -1.5", ColumnType::Single, "0000C0BF", "7F 40 3F FF FF", "80 BF C0 00 00");
        row("double 1.5", ColumnType::Double, "000000000000F83F", "7F BF F8 00 00 00 00 00 00",
            "80 40 07 FF FF FF FF FF FF");
        row("double -1.5", ColumnType::Double, "000000000000F8BF", "7F 40 07 FF FF FF FF FF FF",
            "80 BF F8 00 00 00 00 00 00");
        row("date 0", ColumnType::DateTime, "0000000000000000", "7F 80 00 00 00 00 00 00 00",
            "80 7F FF FF FF FF FF FF FF");
        row("text with an accent", ColumnType::Text, "4BF66C6E", "7F 6C 72 6D 70 06 00", "80 93 8D 92 8F F9 FF");
        row("empty text", ColumnType::Text, "", "7F 00", "80 FF");
        row("four bytes", ColumnType::Binary, "00000001", "7F 00 00 00 01 00 00 00 00 04",
            "80 FF FF FF FE FF FF FF FF FB");
        row("eight bytes", ColumnType::Binary, "0102030405060708", "7F 01 02 03 04 05 06 07 08 08",
            "80 FE FD FC FB FA F9 F8 F7 F7");
        row("nine bytes", ColumnType::Binary, "010203040506070809",
            "7F 01 02 03 04 05 06 07 08 09 09 00 00 00 00 00 00 00 01",
            "80 FE FD FC FB FA F9 F8 F7 09 F6 FF FF FF FF FF FF FF FE");
        row("no bytes", ColumnType::Binary, "", "7F", "80");
        row("GUID", ColumnType::Guid, "6A27398EA8BCC44A891E49911D8438DD",
            "7F 8E 39 27 6A BC A8 4A C4 09 89 1E 49 91 1D 84 38 DD 08",
            "80 71 C6 D8 95 43 57 B5 3B 09 76 E1 B6 6E E2 7B C7 22 F7");
    }
    void keys() {
        QFETCH(int, type);
        QFETCH(QByteArray, stored);
        const Bytes bytes = fromHex(stored);
        const ColumnDef def = column(static_cast<ColumnType>(type));
        Bytes up;
        appendKey(def, true, bytes, up);
        QTEST(toHex(up), "ascending");
        Bytes down;
        appendKey(def, false, bytes, down);
        QTEST(toHex(down), "descending");
    }

    void numbersKeepTheirOrder() {
        const auto check = [](ColumnType type, const auto& ascendingValues) {
            for (std::size_t i = 1; i < std::size(ascendingValues); ++i) {
                QVERIFY(keyOf(type, ascendingValues[i - 1]) < keyOf(type, ascendingValues[i]));
                QVERIFY(keyOf(type, ascendingValues[i - 1], false) > keyOf(type, ascendingValues[i], false));
            }
        };
        check(ColumnType::Byte, std::array<std::uint8_t, 3>{0, 127, 255});
        check(ColumnType::Integer, std::array<std::int16_t, 5>{INT16_MIN, -256, -1, 0, INT16_MAX});
        check(ColumnType::Long, std::array<std::int32_t, 5>{INT32_MIN, -1, 0, 256, INT32_MAX});
        check(ColumnType::Currency, std::array<std::int64_t, 5>{INT64_MIN, -1, 0, 1, INT64_MAX});
        check(ColumnType::Single, std::array<float, 5>{-3e38F, -1e-30F, 0, 1e-30F, 3e38F});
        check(ColumnType::Double, std::array<double, 6>{-1e300, -2, -1e-300, 0, 1e-300, 1e300});
        check(ColumnType::DateTime, std::array<double, 4>{-1.25, 0, 36526, 36526.5});
    }

    void severalColumns() {
        TableDef def;
        def.columns = {column(ColumnType::Long), column(ColumnType::Byte), column(ColumnType::Text)};
        def.columns[0].number = 0;
        def.columns[1].number = 4;  // columns 1 to 3 were dropped
        def.columns[2].number = 5;
        RealIndex index;
        index.columns = {{5, true}, {4, false}};
        const Bytes text = {'A'};
        const Bytes byte = {7};
        using Field = std::optional<ByteView>;
        const auto key = [&](Field ofText, Field ofByte) {
            return makeKey(def, index, [&](std::size_t position) { return position == 2 ? ofText : ofByte; });
        };
        QCOMPARE(toHex(key(text, byte).bytes), QByteArray("7F 60 00 80 F8"));
        QVERIFY(!key(text, byte).anyNull);
        QCOMPARE(toHex(key(std::nullopt, byte).bytes), QByteArray("00 80 F8"));
        QVERIFY(key(std::nullopt, byte).anyNull && !key(std::nullopt, byte).allNull);
        QCOMPARE(toHex(key(std::nullopt, std::nullopt).bytes), QByteArray("00 FF"));
        QVERIFY(key(std::nullopt, std::nullopt).allNull);
        index.columns.push_back({2, true});
        QVERIFY_EXCEPTION_THROWN(key(text, byte), Error);
    }

    void refused() {
        const auto codeOf = [](const ColumnDef& def, const Bytes& stored) {
            Bytes key;
            try {
                appendKey(def, true, stored, key);
            } catch (const Error& e) {
                return e.code();
            }
            return Errc::Io;
        };
        ColumnDef turkish = column(ColumnType::Text);
        turkish.language = 0x041F;
        ColumnDef otherPage = column(ColumnType::Text);
        otherPage.codePage = 1254;
        QCOMPARE(codeOf(turkish, {'a'}), Errc::UnsupportedSortOrder);
        QCOMPARE(codeOf(otherPage, {'a'}), Errc::UnsupportedSortOrder);
        QCOMPARE(codeOf(column(ColumnType::Memo), {'a'}), Errc::Corrupt);
        QCOMPARE(codeOf(column(ColumnType::Long), {1, 2, 3}), Errc::Corrupt);
        QCOMPARE(codeOf(column(ColumnType::Guid), {1}), Errc::Corrupt);
        QCOMPARE(codeOf(column(ColumnType::Boolean), {}), Errc::Corrupt);
        // Numbers have keys in every language.
        turkish.type = ColumnType::Byte;
        QCOMPARE(codeOf(turkish, {1}), Errc::Io);
    }
};

QTEST_APPLESS_MAIN(tst_index_key)
#include "tst_index_key.moc"
