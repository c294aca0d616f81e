// SPDX-License-Identifier: MIT
#include "jet/rows/properties.h"

#include <QTest>

#include "jet/values/error.h"
#include "rows.h"

using jet::Bytes;
using jet::PropertySet;

namespace {

// Hexadecimal digits and "quoted text", in any mixture.
Bytes bytes(const char* notation) {
    Bytes out;
    QByteArray hex;
    const auto flush = [&] {
        const QByteArray raw = QByteArray::fromHex(hex);
        out.insert(out.end(), raw.begin(), raw.end());
        hex.clear();
    };
    bool quoted = false;
    for (const char* c = notation; *c != '\0'; ++c) {
        if (*c == '"') {
            flush();
            quoted = !quoted;
        } else if (quoted) {
            out.push_back(static_cast<std::uint8_t>(*c));
        } else {
            hex += *c;
        }
    }
    flush();
    return out;
}

// A table of two columns, as the engine of the time stores it.
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
                       .arg(QString::fromLatin1(QByteArray(reinterpret_cast<const char*>(p.value.data()),
                                                           static_cast<qsizetype>(p.value.size()))
                                                    .toHex()));
        out += '\n';
    }
    return out;
}

}  // namespace

class TestProperties : public QObject {
    Q_OBJECT

 private slots:
    void decodes_data() {
        addColumns<QString, QString>("blob", "shown");
        addRow("table", QString::fromLatin1(kTable),
               "1 'envelope': Description(1,10)=456e76656c6f7065206e616d652e Required(1,1)=00 "
               "AllowZeroLength(1,1)=01\n"
               "1 'budget': Description(1,10)=42756467657420616d6f756e742e Format(1,10)=4669786564 "
               "DefaultValue(1,12)=30 Required(1,1)=00\n");
        addRow("query", QString::fromLatin1(kQuery),
               "0 '': ODBCTimeout(1,3)=3c00 MaxRecords(1,4)=00000000\n"
               "1 'new_balance': Format(1,10)=5374616e64617264\n");
        addRow("odd but allowed", QString::fromLatin1(kOdd),
               QString::fromUtf8("1 'Köln': Wide(0,3)=ff000000 A(1,10)=\n0 '': B(129,1)=ff\n"));
        addRow("nothing in it", QString("4B4B4400"), QString());
    }
    void decodes() {
        QFETCH(QString, blob);
        const Bytes raw = bytes(blob.toLatin1().constData());
        const PropertySet set = PropertySet::decode(raw);
        QTEST(show(set), "shown");
        if (raw.size() > 4)
            QCOMPARE(set.encode(), raw);
    }

    void buildsTheSameBytes() {
        PropertySet set;
        set.blocks = {
            {.kind = 1,
             .name = "envelope",
             .properties = {PropertySet::textProperty("Description", "Envelope name."),
                            PropertySet::boolProperty("Required", false),
                            PropertySet::boolProperty("AllowZeroLength", true)}},
            {.kind = 1,
             .name = "budget",
             .properties = {PropertySet::textProperty("Description", "Budget amount."),
                            PropertySet::textProperty("Format", "Fixed"),
                            PropertySet::memoProperty("DefaultValue", "0"),
                            PropertySet::boolProperty("Required", false)}},
        };
        QCOMPARE(set.encode(), bytes(kTable));
        QCOMPARE(set.encode().size(), std::size_t{203});
    }

    void answersQuestions() {
        const PropertySet table = PropertySet::decode(bytes(kTable));
        QVERIFY(table.object() == nullptr);
        QVERIFY(table.column("amount") == nullptr);
        const auto* column = table.column("ENVELOPE");
        QVERIFY(column != nullptr);
        QVERIFY(column->find("allowzerolength")->truth());
        QVERIFY(!column->find("Required")->truth());
        QVERIFY(column->find("Format") == nullptr);
        QCOMPARE(column->find("Description")->text(), std::string("Envelope name."));

        const PropertySet odd = PropertySet::decode(bytes(kOdd));
        QVERIFY(odd.object()->find("b")->truth());
        QVERIFY(odd.column("köln")->find("Wide")->truth());
    }

    // Every cut and every changed byte either still makes sense or is refused; nothing reads past the end.
    void refusesDamage() {
        const Bytes good = bytes(kTable);
        std::size_t refused = 0;
        const auto tryDecode = [&](const Bytes& blob) {
            try {
                const Bytes again = PropertySet::decode(blob).encode();
                QVERIFY(again.size() >= 4);
            } catch (const jet::Error& e) {
                QCOMPARE(e.code(), jet::Errc::Corrupt);
                ++refused;
            }
        };
        for (std::size_t length = 0; length < good.size(); ++length) {
            // Between two blocks a blob may end.
            const bool whole = length == 4 || length == 4 + 0x44 || length == 4 + 0x44 + 0x3C;
            const std::size_t before = refused;
            tryDecode(Bytes(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(length)));
            QCOMPARE(refused - before, std::size_t{whole ? 0U : 1U});
        }
        refused = 0;
        for (std::size_t at = 0; at < good.size(); ++at)
            for (const int value : {0x00, 0x01, 0x7F, 0xFF}) {
                Bytes blob = good;
                blob[at] = static_cast<std::uint8_t>(value);
                tryDecode(blob);
            }
        QVERIFY(refused > 100);
    }
};

QTEST_APPLESS_MAIN(TestProperties)
#include "tst_properties.moc"
