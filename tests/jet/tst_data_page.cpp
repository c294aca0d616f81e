// SPDX-License-Identifier: MIT
#include "jet/pages/data_page.h"

#include <QTest>
#include <random>

#include "jet/bare_file.h"
#include "rows.h"

using namespace jet;

namespace {

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

}  // namespace

class tst_data_page : public QObject {
    Q_OBJECT

 private slots:
    void bytesOfFourRows() {
        QCOMPARE(hex(pageOf({}).view(), 0, 12), "01 01 f6 07 25 00 00 00 00 00 00 00");
        const Page page = pageOf({30, 41, 22, 35});
        QCOMPARE(hex(page.view(), 0, 18), "01 01 6e 07 25 00 00 00 04 00 e2 07 b9 07 a3 07 80 07");
        QCOMPARE(hex(page.view(), 0x7B8, 3), "a2 a1 a1");  // the third row ends where the second starts
        QCOMPARE(DataPageView(page.view(), 7).owner(), 0x25U);
    }

    void eraseClosesTheGap() {
        Page page = pageOf({30, 41, 22, 35});
        DataPageEditor editor(page, 7);
        editor.erase(1);
        // The slot stays, empty, at the place of the row before it; the rows after it move up by 41 bytes.
        QCOMPARE(hex(page.view(), 0, 18), "01 01 97 07 25 00 00 00 04 00 e2 07 e2 c7 cc 07 a9 07");
        QCOMPARE(hex(editor.view().row(2)), hex(rowOf(22, 0xA2)));
        QCOMPARE(hex(editor.view().row(3)), hex(rowOf(35, 0xA3)));
        editor.erase(0);
        QCOMPARE(hex(page.view(), 10, 4), "00 c8 00 c8");
        QCOMPARE(editor.view().liveSlots(), 2U);
        QVERIFY(throwsError(Errc::Corrupt, [&] { editor.erase(0); }));
        QCOMPARE(dump(page), "D0 D0 R22 R35 free 1973");
    }

    void replace() {
        Page page = pageOf({900, 20, 1000});
        DataPageEditor editor(page, 7);
        const Page before = page;
        QVERIFY(!editor.replace(1, rowOf(20 + 2038 - 1926 + 1, 0xBB), SlotKind::Row));
        QCOMPARE(page.bytes, before.bytes);
        QVERIFY(editor.replace(1, rowOf(4, 0xBB), SlotKind::Pointer));
        QCOMPARE(dump(page), "R900 P4 R1000 free 128");
        QVERIFY(editor.replace(1, rowOf(132, 0xCC), SlotKind::Moved));
        QCOMPARE(dump(page), "R900 M132 R1000 free 0");
        QCOMPARE(hex(editor.view().row(1)), hex(rowOf(132, 0xCC)));
        QCOMPARE(hex(editor.view().row(2)), hex(rowOf(1000, 0xA2)));
    }

    void fullPages() {
        Page page = pageOf({kMaxRowOnPage});
        QCOMPARE(dump(page), "R2036 free 0");
        page = pageOf({});
        DataPageEditor editor(page, 7);
        QVERIFY(!editor.view().hasRoom(kMaxRowOnPage + 1));
        while (editor.view().hasRoom(1))
            (void)editor.append(rowOf(1, 1));
        QCOMPARE(editor.view().slotCount(), kMaxSlots);
        QVERIFY(editor.view().freeSpace() > 3);
    }

    void damaged_data() {
        addColumns<int, int>("offset", "value");
        addRow("another type of page", 0, 0x0105);
        addRow("type of an emptied page", 0, 0x0109);
        addRow("more slots than a page can number", 8, 256);
        addRow("a row past the end of the page", 10, 0x0801);
        addRow("a row in the directory", 14, 0x000A);
        addRow("a row that ends before it starts", 12, 0x07FF);
        addRow("a pointer of five bytes", 14, (2048 - 10 - 10 - 5) + 0x4000);
    }
    void damaged() {
        QFETCH(int, offset);
        QFETCH(int, value);
        Page page = pageOf({10, 10, 10});
        page.bytes[static_cast<std::size_t>(offset)] = static_cast<std::uint8_t>(value);
        page.bytes[static_cast<std::size_t>(offset) + 1] = static_cast<std::uint8_t>(value >> 8);
        const Page before = page;
        QVERIFY(throwsError(Errc::Corrupt, [&] {
            const DataPageView view(page.view(), 7);
            for (std::size_t slot = 0; slot < view.slotCount(); ++slot)
                (void)view.row(slot);
        }));
        QVERIFY(throwsError(Errc::Corrupt, [&] { (void)DataPageEditor(page, 7).erase(0); }));
        QCOMPARE(page.bytes, before.bytes);
    }

    // Appending, replacing and erasing at random against a list of rows; after every step the page is as the list says.
    void randomOperations() {
        std::mt19937 random(3);
        for (int round = 0; round < 20; ++round) {
            Page page;
            DataPageEditor editor(page, 7);
            editor.format(7);
            std::vector<std::optional<Bytes>> model;
            const std::size_t longest = round % 2 == 0 ? 30 : 600;
            for (int step = 0; step < 500; ++step) {
                const Bytes row = rowOf(1 + random() % longest, static_cast<std::uint8_t>(random()));
                const std::size_t slot = model.empty() ? 0 : random() % model.size();
                if (random() % 3 == 0 && editor.view().hasRoom(row.size())) {
                    QCOMPARE(std::size_t{editor.append(row)}, model.size());
                    model.emplace_back(row);
                } else if (!model.empty() && model[slot] && random() % 3 == 0) {
                    editor.erase(slot);
                    model[slot].reset();
                } else if (!model.empty() && model[slot]) {
                    if (editor.replace(slot, row, SlotKind::Row))
                        model[slot] = row;
                }
                std::size_t used = 10 + 2 * model.size();
                for (std::size_t i = 0; i < model.size(); ++i) {
                    const ByteView stored = editor.view().row(i);
                    QCOMPARE(editor.view().kind(i), model[i] ? SlotKind::Row : SlotKind::Deleted);
                    QVERIFY(std::ranges::equal(stored, model[i].value_or(Bytes{})));
                    used += stored.size();
                }
                QCOMPARE(editor.view().freeSpace(), kPageSize - used);
                QCOMPARE(std::size_t{page.bytes[2]} + 256U * page.bytes[3], kPageSize - used);
            }
        }
    }
};

QTEST_APPLESS_MAIN(tst_data_page)
#include "tst_data_page.moc"
