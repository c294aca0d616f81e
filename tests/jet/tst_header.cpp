// SPDX-License-Identifier: MIT
#include "jet/disk/header.h"

#include <QTest>

#include "jet/values/bytes.h"
#include "rows.h"

using namespace jet;

namespace {

QByteArray hexAt(const Page& page, int offset, int length) {
    return QByteArray(reinterpret_cast<const char*>(page.bytes.data()) + offset, length).toHex(' ').toUpper();
}

Page written(const Header& header) {
    Page page;
    header.writeTo(page);
    return page;
}

}  // namespace

class tst_header : public QObject {
    Q_OBJECT

 private slots:
    void bytesWritten() {
        const Page page = written({});
        QCOMPARE(hexAt(page, 0, 24), "00 01 00 00 53 74 61 6E 64 61 72 64 20 4A 65 74 20 44 42 00 00 00 00 00");
        QCOMPARE(hexAt(page, 0x18, 24), "B5 6E 03 62 60 09 C2 55 E9 A9 67 72 40 3F 00 9C 7E 9F 90 FF 85 9A 31 C5");
        QCOMPARE(hexAt(page, 0x38, 10), "63 D9 ED C7 9F 46 FB 8A BC 4E");
        QCOMPARE(hexAt(page, 0x88, 16), "CF 65 ED FF 07 C7 46 A1 78 16 0C ED E9 2D 00 00");
        QCOMPARE(hexAt(page, 0x5FE, 6), "00 00 00 01 00 01");
        QCOMPARE(hexAt(page, 0x7FC, 4), "00 01 00 01");
    }

    void passwordBytes_data() {
        addColumns<QString, QByteArray>("password", "stored");
        addRow("none", "", QByteArray("86 FB EC 37 5D 44 9C FA C6 5E 28 E6 13 B6 8A 60 54 94 7B 36"));
        addRow("three", "abc", QByteArray("E7 99 8F 37 5D 44 9C FA C6 5E 28 E6 13 B6 8A 60 54 94 7B 36"));
        addRow("seven", "kqlmz47", QByteArray("ED 8A 80 5A 27 70 AB FA C6 5E 28 E6 13 B6 8A 60 54 94 7B 36"));
        addRow("accented, in the code page", QStringLiteral("\u00E9\u20AC"),
               QByteArray("6F 7B EC 37 5D 44 9C FA C6 5E 28 E6 13 B6 8A 60 54 94 7B 36"));
    }
    void passwordBytes() {
        QFETCH(QString, password);
        QFETCH(QByteArray, stored);
        Header header;
        header.password = password.toStdString();
        const Page page = written(header);
        QCOMPARE(hexAt(page, 0x42, 20), stored);
        QCOMPARE(Header::parse(page.view()).password, password.toStdString());
    }

    void roundTrip() {
        const Header header{1, 0x041F, 0, 0xA7E0C0FE, "twenty characters ok", 4513};
        const Header back = Header::parse(written(header).view());
        QCOMPARE(back.engineGeneration, header.engineGeneration);
        QCOMPARE(back.language, header.language);
        QCOMPARE(back.codePage, header.codePage);
        QCOMPARE(back.encryptionKey, header.encryptionKey);
        QCOMPARE(back.password, header.password);
        QCOMPARE(back.build, header.build);
    }

    void refused_data() {
        addColumns<int, QByteArray, int>("offset", "bytes", "code");
        const auto row = [](const char* name, int offset, const QByteArray& bytes, Errc code) {
            addRow(name, offset, bytes, static_cast<int>(code));
        };
        row("first byte", 0, "\x01", Errc::NotADatabase);
        row("mark", 4, "Sandstorm", Errc::NotADatabase);
        row("mark not ended", 0x13, "x", Errc::NotADatabase);
        row("next generation", 0x14, "\x01", Errc::UnsupportedVersion);
        row("mark of a later generation", 4, QByteArray("Standard ACE DB\0\x02", 17), Errc::UnsupportedVersion);
        row("free-page map elsewhere", 0x18, "\x07", Errc::Corrupt);
        row("second map elsewhere", 0x1C, "\x07", Errc::Corrupt);
        row("catalog elsewhere", 0x20, "\x07", Errc::Corrupt);
    }
    void refused() {
        QFETCH(int, offset);
        QFETCH(QByteArray, bytes);
        QFETCH(int, code);
        Page page = written({});
        std::copy(bytes.begin(), bytes.end(), page.bytes.begin() + offset);
        try {
            Header::parse(page.view());
            QFAIL("accepted");
        } catch (const Error& e) {
            QCOMPARE(static_cast<int>(e.code()), code);
        }
        QVERIFY_EXCEPTION_THROWN(Header::parse(page.view().first(100)), Error);
    }

    void pageEncryption() {
        // The mask of page 0 is the key stream of another key, so it proves the cipher against known bytes.
        Page page;
        cryptPage(page.span(), 0x6B39DAC7 ^ 5, 5);
        QCOMPARE(hexAt(page, 0, 16), "B5 6F 03 62 61 08 C2 55 EB A9 67 72 43 3F 00 9C");
        cryptPage(page.span(), 0x6B39DAC7, 0);
        QVERIFY(page.bytes == Page{}.bytes);
    }
};

QTEST_GUILESS_MAIN(tst_header)
#include "tst_header.moc"
