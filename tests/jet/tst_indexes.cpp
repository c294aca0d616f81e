// SPDX-License-Identifier: MIT
#include <QTest>
#include <map>
#include <random>
#include <set>

#include "jet/bare_file.h"
#include "jet/indexes/btree.h"
#include "jet/indexes/index_key.h"
#include "jet/values/bytes.h"
#include "rows.h"

using namespace jet;

namespace {

ColumnDef column(ColumnType type) {
    ColumnDef def;
    def.name = "c";
    def.type = type;
    return def;
}

constexpr PageNo kTable = 0x25;

Bytes longKey(std::uint32_t value) {
    value ^= 0x80000000U;
    Bytes key = {0x7F};
    for (const unsigned shift : {24U, 16U, 8U, 0U})
        key.push_back(static_cast<std::uint8_t>(value >> shift));
    return key;
}

Bytes textOf(ByteView key, RowId row) {
    Bytes text(key.begin(), key.end());
    for (const unsigned shift : {24U, 16U, 8U, 0U})
        text.push_back(static_cast<std::uint8_t>(toPointer(row) >> shift));
    return text;
}

// A tree in a file of its own.
struct Tree {
    BareFile file;
    RowId map = file.space.newMapRow();
    PageNo root = makeRoot();
    BTree tree{*file.pager, file.space, kTable, root, map};

    PageNo makeRoot() {
        UsageMap pages(*file.pager, map);
        const PageNo page = file.space.allocate(pages);
        BTree::formatRoot(file.pager->edit(page), kTable);
        return page;
    }
    [[nodiscard]] std::vector<PageNo> mapped() const { return UsageMap(*file.pager, map).pages(); }
};

// Reads a whole tree by the rules of the format, without the code under test. `problem` names the first breach.
struct Reader {
    explicit Reader(const Tree& tree) : pager(*tree.file.pager), root(tree.root) {
        visit(root, -1, true);
        for (std::size_t i = 0; i < leaves.size(); ++i) {
            const PageRef page = pager.read(leaves[i]);
            expect(getU32(page->view(), 8) == (i == 0 ? 0 : leaves[i - 1]), leaves[i], "previous leaf");
            expect(getU32(page->view(), 12) == (i + 1 == leaves.size() ? 0 : leaves[i + 1]), leaves[i], "next leaf");
        }
        expect(std::is_sorted(entries.begin(), entries.end(), std::less_equal<>()), root, "order of all entries");
        const std::vector<PageNo> mapped = tree.mapped();
        expect(pages == std::set<PageNo>(mapped.begin(), mapped.end()), root, "pages of the map");
        for (PageNo page = 2; page < pager.pageCount(); ++page)
            expect(tree.file.space.isFree(page) == (page != tree.map.page && !pages.contains(page)), page, "free page");
    }

    Pager& pager;
    PageNo root;
    std::set<PageNo> pages;
    std::vector<PageNo> leaves;
    std::vector<std::size_t> leafSizes;  // in entries
    std::vector<Bytes> entries;
    int height = 0;
    QString problem;

    void expect(bool good, PageNo page, const char* what) {
        if (!good && problem.isEmpty())
            problem = QStringLiteral("page %1: %2").arg(page).arg(what);
    }

    // Returns the highest entry.
    Bytes visit(PageNo number, int level, bool rightMost) {
        const PageRef ref = pager.read(number);
        const ByteView page = ref->view();
        const bool leaf = page[0] == 4;
        expect((leaf || page[0] == 3) && page[1] == 1, number, "type");
        expect(getU32(page, 4) == kTable, number, "owner");
        expect(level < 0 || page[21] == level, number, "level");
        expect((page[21] == 0) == leaf, number, "level and type");
        expect(pages.insert(number).second, number, "reached twice");
        if (number == root) {
            height = page[21] + 1;
            expect(getU32(page, 8) == 0 && getU32(page, 12) == 0, number, "neighbour of the root");
        }
        const std::size_t prefix = page[20];
        std::vector<Bytes> own;
        std::size_t start = 0;
        std::size_t whole = 0;
        for (std::size_t bit = 0; bit < 226 * 8; ++bit) {
            if ((page[22 + bit / 8] >> bit % 8 & 1) == 0)
                continue;
            expect(bit <= 1800, number, "mask past the end");
            Bytes entry;
            if (!own.empty())
                entry.assign(own.front().begin(), own.front().begin() + static_cast<std::ptrdiff_t>(prefix));
            const ByteView stored = page.subspan(248 + start, bit - start);
            entry.insert(entry.end(), stored.begin(), stored.end());
            expect(entry.size() >= prefix, number, "prefix longer than an entry");
            own.push_back(entry);
            whole += entry.size();
            start = bit;
        }
        expect(getU16(page, 2) == 1800 - start, number, "free field");
        expect(prefix == 0 || leaf, number, "prefix of a node");
        expect(prefix == 0 || !own.empty(), number, "prefix without entries");
        expect(std::is_sorted(own.begin(), own.end(), std::less_equal<>()), number, "order");
        expect(!own.empty() || (leaf && number == root), number, "no entries");
        expect((getU32(page, 16) == 0) == leaf, number, "tail");
        if (leaf) {
            leaves.push_back(number);
            leafSizes.push_back(own.size());
            entries.insert(entries.end(), own.begin(), own.end());
            return own.empty() ? Bytes() : own.back();
        }
        for (const Bytes& entry : own) {
            const Bytes text(entry.begin(), entry.end() - 4);
            const ByteView child = ByteView(entry).last(4);
            const PageNo childPage =
                PageNo{child[0]} << 24U | PageNo{child[1]} << 16U | PageNo{child[2]} << 8U | child[3];
            expect(visit(childPage, page[21] - 1, false) == text, number, "entry is not the highest of its child");
        }
        return visit(getU32(page, 16), page[21] - 1, rightMost);
    }
};

#define CHECK_TREE(t, model)                                                                        \
    do {                                                                                            \
        const Reader reader(t);                                                                     \
        QVERIFY2(reader.problem.isEmpty(), qPrintable(reader.problem));                             \
        QVERIFY(reader.entries == std::vector<Bytes>((model).begin(), (model).end()));              \
        const std::vector<PageNo> pages = (t).tree.pages();                                         \
        QVERIFY(pages.front() == (t).root && std::set(pages.begin(), pages.end()) == reader.pages); \
    } while (false)

enum KeyKind { Numbers, ShortTexts, LongTexts, AllLengths };

Bytes randomKey(KeyKind kind, std::mt19937& random) {
    Bytes key;
    const auto fill = [&](std::size_t length, unsigned letters) {
        while (key.size() < length)
            key.push_back(static_cast<std::uint8_t>(0x60 + random() % letters));
    };
    switch (kind) {
        case Numbers:
            return longKey(static_cast<std::uint32_t>(random() % 5000));
        case ShortTexts:
            fill(1 + random() % 30, 3);
            break;
        case LongTexts:
            fill(20, 1);
            fill(150, 20);
            break;
        case AllLengths:
            fill(random() % 4 == 0 ? 400 + random() % 493 : 1 + random() % 60, 2);
            break;
    }
    return key;
}

RowId randomRow(std::mt19937& random) {
    return {static_cast<PageNo>(random() % 0x400), static_cast<std::uint8_t>(random())};
}

}  // namespace

class tst_indexes : public QObject {
    Q_OBJECT

 private slots:
    void keys_data() {
        addColumns<int, QByteArray, QByteArray>("type", "stored", "key");
        const auto row = [](const char* name, ColumnType type, const char* stored, const char* key) {
            addRow(name, static_cast<int>(type), QByteArray(stored), QByteArray(key));
        };
        row("true", ColumnType::Boolean, "01", "7f 00");
        row("false", ColumnType::Boolean, "00", "7f ff");
        row("byte", ColumnType::Byte, "07", "7f 07");
        row("integer -2", ColumnType::Integer, "FEFF", "7f 7f fe");
        row("long 1", ColumnType::Long, "01000000", "7f 80 00 00 01");
        row("long -1", ColumnType::Long, "FFFFFFFF", "7f 7f ff ff ff");
        row("currency 3.5", ColumnType::Currency, "B888000000000000", "7f 80 00 00 00 00 00 88 b8");
        row("currency -1", ColumnType::Currency, "F0D8FFFFFFFFFFFF", "7f 7f ff ff ff ff ff d8 f0");
        row("single 1.5", ColumnType::Single, "0000C03F", "7f bf c0 00 00");
        row("single -1.5", ColumnType::Single, "0000C0BF", "7f 40 3f ff ff");
        row("double 1.5", ColumnType::Double, "000000000000F83F", "7f bf f8 00 00 00 00 00 00");
        row("double -1.5", ColumnType::Double, "000000000000F8BF", "7f 40 07 ff ff ff ff ff ff");
        row("date 0", ColumnType::DateTime, "0000000000000000", "7f 80 00 00 00 00 00 00 00");
        row("text with an accent", ColumnType::Text, "4BF66C6E", "7f 6c 72 6d 70 06 00");
        row("empty text", ColumnType::Text, "", "7f 00");
        row("four bytes", ColumnType::Binary, "00000001", "7f 00 00 00 01 00 00 00 00 04");
        row("eight bytes", ColumnType::Binary, "0102030405060708", "7f 01 02 03 04 05 06 07 08 08");
        row("nine bytes", ColumnType::Binary, "010203040506070809",
            "7f 01 02 03 04 05 06 07 08 09 09 00 00 00 00 00 00 00 01");
        row("no bytes", ColumnType::Binary, "", "7f");
        row("GUID", ColumnType::Guid, "6A27398EA8BCC44A891E49911D8438DD",
            "7f 8e 39 27 6a bc a8 4a c4 09 89 1e 49 91 1d 84 38 dd 08");
    }
    void keys() {
        QFETCH(int, type);
        QFETCH(QByteArray, stored);
        const ColumnDef def = column(static_cast<ColumnType>(type));
        Bytes key;
        appendKey(def, true, fromHex(stored), key);
        QTEST(hex(key), "key");
        Bytes descending;
        appendKey(def, false, fromHex(stored), descending);
        for (std::size_t i = 0; i < key.size(); ++i) {
            // Where bytes go on in another group there is a 9, in either direction.
            const bool goesOn =
                def.type >= ColumnType::Binary && def.type != ColumnType::Text && i == 9 && key.size() > 10;
            key[i] = goesOn ? key[i] : static_cast<std::uint8_t>(~key[i]);
        }
        QCOMPARE(hex(descending), hex(key));
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
        QCOMPARE(hex(key(text, byte).bytes), QByteArray("7f 60 00 80 f8"));
        QVERIFY(!key(text, byte).anyNull);
        QCOMPARE(hex(key(std::nullopt, byte).bytes), QByteArray("00 80 f8"));
        QVERIFY(key(std::nullopt, byte).anyNull && !key(std::nullopt, byte).allNull);
        QCOMPARE(hex(key(std::nullopt, std::nullopt).bytes), QByteArray("00 ff"));
        QVERIFY(key(std::nullopt, std::nullopt).allNull);
        index.columns.push_back({2, true});
        QVERIFY_EXCEPTION_THROWN(key(text, byte), Error);
    }

    void refusedKeys() {
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
    void bytesOfALeaf() {
        Tree t;
        for (const std::uint32_t n : {2U, 0U, 3U, 1U})
            t.tree.insert(longKey(n), {0x1B, static_cast<std::uint8_t>(n)});
        const PageRef page = t.file.pager->read(t.root);
        QCOMPARE(hex(page->view(), 0, 22),
                 QByteArray("04 01 e4 06 25 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00"));
        QCOMPARE(hex(page->view(), 22, 8), QByteArray("00 02 04 08 10 00 00 00"));
        QCOMPARE(hex(page->view(), 248, 36), QByteArray("7f 80 00 00 00 00 00 1b 00 7f 80 00 00 01 00 00 1b 01 "
                                                        "7f 80 00 00 02 00 00 1b 02 7f 80 00 00 03 00 00 1b 03"));
        t.tree.erase(longKey(0), {0x1B, 0});
        t.tree.erase(longKey(3), {0x1B, 3});
        const PageRef after = t.file.pager->read(t.root);
        QCOMPARE(hex(after->view(), 0, 4), QByteArray("04 01 f6 06"));
        QCOMPARE(hex(after->view(), 22, 8), QByteArray("00 02 04 00 00 00 00 00"));
        QCOMPARE(hex(after->view(), 248, 18), QByteArray("7f 80 00 00 01 00 00 1b 01 7f 80 00 00 02 00 00 1b 02"));
    }

    void bytesOfANode() {
        Tree t;
        std::vector<BTree::Entry> entries;
        for (std::uint32_t n = 0; n < 900; ++n)
            entries.push_back({longKey(n), {0x20, static_cast<std::uint8_t>(n)}});
        t.tree.build(entries);
        const PageRef page = t.file.pager->read(t.root);
        // 9 bytes, then 6 bytes each: 299 entries a page. The leaves follow the root in the file.
        QCOMPARE(t.root, 3U);
        QCOMPARE(hex(page->view(), 0, 22),
                 QByteArray("03 01 e1 06 25 00 00 00 00 00 00 00 00 00 00 00 07 00 00 00 00 01"));
        QCOMPARE(hex(page->view(), 22, 6), QByteArray("00 20 00 04 80 00"));
        QCOMPARE(hex(page->view(), 248, 39), QByteArray("7f 80 00 01 2a 00 00 20 2a 00 00 00 04 "
                                                        "7f 80 00 02 55 00 00 20 55 00 00 00 05 "
                                                        "7f 80 00 03 80 00 00 20 80 00 00 00 06"));
        const PageRef leaf = t.file.pager->read(5);
        QCOMPARE(hex(leaf->view(), 0, 22),
                 QByteArray("04 01 03 00 25 00 00 00 04 00 00 00 06 00 00 00 00 00 00 00 03 00"));
        QCOMPARE(hex(leaf->view(), 248, 15), QByteArray("7f 80 00 01 2b 00 00 20 2b 01 2c 00 00 20 2c"));
    }

    void ascendingKeysFillPages() {
        Tree t;
        for (std::uint32_t n = 1; n <= 900; ++n)
            t.tree.insert(longKey(n), {0x20, static_cast<std::uint8_t>(n)});
        // A compressed page takes what shares its prefix; the next key opens a page.
        const Reader reader(t);
        QVERIFY2(reader.problem.isEmpty(), qPrintable(reader.problem));
        QCOMPARE(reader.leafSizes, (std::vector<std::size_t>{255, 256, 256, 133}));
        QCOMPARE(t.file.pager->read(reader.leaves[1])->bytes[20], std::uint8_t{4});
        QCOMPARE(t.file.pager->read(reader.leaves[3])->bytes[20], std::uint8_t{0});
    }

    void randomChanges_data() {
        addColumns<int, int>("kind", "minimumHeight");
        addRow("numbers, many equal", int{Numbers}, 2);
        addRow("short texts", int{ShortTexts}, 2);
        addRow("long texts", int{LongTexts}, 4);
        addRow("all lengths", int{AllLengths}, 4);
    }
    void randomChanges() {
        QFETCH(int, kind);
        QFETCH(int, minimumHeight);
        Tree t;
        std::mt19937 random(11);
        std::set<Bytes> model;
        std::vector<std::pair<Bytes, RowId>> live;
        int height = 0;
        for (int i = 0; i < 30'000; ++i) {
            // Growing, shrinking to almost nothing, growing again.
            const unsigned inserts = i < 12'000 ? 80 : i < 22'000 ? 15 : 60;
            if (live.empty() || random() % 100 < inserts) {
                const Bytes key = randomKey(static_cast<KeyKind>(kind), random);
                const RowId row = randomRow(random);
                if (!model.insert(textOf(key, row)).second)
                    continue;
                t.tree.insert(key, row);
                live.emplace_back(key, row);
            } else {
                std::swap(live[random() % live.size()], live.back());
                t.tree.erase(live.back().first, live.back().second);
                model.erase(textOf(live.back().first, live.back().second));
                live.pop_back();
            }
            if (i % 3'000 == 2'999) {
                CHECK_TREE(t, model);
                height = std::max(height, Reader(t).height);
            }
        }
        QVERIFY2(height >= minimumHeight, qPrintable(QString::number(height)));
    }

    void build_data() {
        addColumns<int, int>("kind", "count");
        addRow("nothing", int{Numbers}, 0);
        addRow("one entry", int{Numbers}, 1);
        addRow("numbers", int{Numbers}, 20'000);
        addRow("long texts", int{LongTexts}, 3'000);
        for (int count = 20; count < 30; ++count)
            QTest::addRow("all lengths, %d", count) << int{AllLengths} << count;
        addRow("all lengths", int{AllLengths}, 5'000);
    }
    void build() {
        QFETCH(int, kind);
        QFETCH(int, count);
        std::mt19937 random(5);
        std::map<Bytes, BTree::Entry> sorted;
        for (int i = 0; i < count; ++i) {
            const BTree::Entry entry{randomKey(static_cast<KeyKind>(kind), random), randomRow(random)};
            sorted.emplace(textOf(entry.key, entry.row), entry);
        }
        std::vector<BTree::Entry> entries;
        std::set<Bytes> model;
        for (const auto& [text, entry] : sorted) {
            entries.push_back(entry);
            model.insert(text);
        }
        Tree t;
        t.tree.build(entries);
        CHECK_TREE(t, model);
        // What was built can be changed: take every third entry out and put it back.
        for (const bool in : {false, true}) {
            for (std::size_t i = 0; i < entries.size(); i += 3)
                in ? t.tree.insert(entries[i].key, entries[i].row) : t.tree.erase(entries[i].key, entries[i].row);
        }
        CHECK_TREE(t, model);
    }

    void cursor() {
        Tree t;
        QVERIFY(!t.tree.first().valid() && !t.tree.last().valid() && !t.tree.lowerBound(longKey(0)).valid());
        // Every even number three times.
        for (std::uint32_t n = 0; n < 2'000; n += 2) {
            for (std::uint8_t row = 0; row < 3; ++row)
                t.tree.insert(longKey(n), {n + 1, row});
        }
        std::uint32_t seen = 0;
        for (auto c = t.tree.first(); c.valid(); c.next(), ++seen) {
            QCOMPARE(Bytes(c.key().begin(), c.key().end()), longKey(seen / 3 * 2));
            QCOMPARE(c.row(), (RowId{seen / 3 * 2 + 1, static_cast<std::uint8_t>(seen % 3)}));
        }
        QCOMPARE(seen, 3'000U);
        for (auto c = t.tree.last(); c.valid(); c.previous())
            QCOMPARE(c.row().row, static_cast<std::uint8_t>(--seen % 3));
        QCOMPARE(seen, 0U);

        for (std::uint32_t n = 0; n < 1'999; ++n)
            QCOMPARE(t.tree.lowerBound(longKey(n)).row(), (RowId{(n + 1) / 2 * 2 + 1, 0}));
        QVERIFY(!t.tree.lowerBound(longKey(1'999)).valid());
        QCOMPARE(t.tree.lowerBound(Bytes{0x7F, 0x80, 0x00, 0x04}).row().page, 1025U);  // the start of a key
        QCOMPARE(t.tree.lowerBound({}).row().page, 1U);
        auto c = t.tree.lowerBound(longKey(1'000));
        c.previous();
        QCOMPARE(c.row(), (RowId{999, 2}));

        QVERIFY(t.tree.contains(longKey(10)) && !t.tree.contains(longKey(11)));
        QVERIFY(!t.tree.contains(Bytes{0x7F, 0x80}));
        t.tree.erase(longKey(10), {11, 0});
        t.tree.erase(longKey(10), {11, 2});
        QVERIFY(t.tree.contains(longKey(10)) && t.tree.contains(longKey(10), RowId{11, 2}));
        QVERIFY(!t.tree.contains(longKey(10), RowId{11, 1}));
    }

    void refusedEntries() {
        Tree t;
        const Bytes longest(892, 1);
        t.tree.insert(longest, {1, 1});
        t.tree.insert(longKey(1), {1, 1});
        QVERIFY(throwsError(Errc::Corrupt, [&] { t.tree.insert(longKey(1), {1, 1}); }));
        QVERIFY(throwsError(Errc::Corrupt, [&] { t.tree.erase(longKey(1), {1, 2}); }));
        QVERIFY(throwsError(Errc::Corrupt, [&] { t.tree.erase(longKey(2), {1, 1}); }));
        QVERIFY(throwsError(Errc::UnsupportedFeature, [&] { t.tree.insert(Bytes(893, 1), {1, 1}); }));
        QCOMPARE(Reader(t).entries.size(), 2U);
        BTree otherTable(*t.file.pager, t.file.space, kTable + 1, t.root, t.map);
        QVERIFY(throwsError(Errc::Corrupt, [&] { (void)otherTable.first(); }));
        BTree noTree(*t.file.pager, t.file.space, kTable, 1, t.map);
        QVERIFY(throwsError(Errc::Corrupt, [&] { (void)noTree.first(); }));
        Tree damaged;
        damaged.tree.insert(longKey(1), {1, 1});
        damaged.file.pager->edit(damaged.root).bytes[20] = 14;  // a prefix longer than the first entry
        QVERIFY(throwsError(Errc::Corrupt, [&] { (void)damaged.tree.first(); }));
    }

    // A half of a split page may keep a prefix that is shorter than it could be, and be compressed without need.
    void prefixOfOtherWriters() {
        Tree t;
        Page& page = t.file.pager->edit(t.root);
        IndexPageEditor::format(page, kTable, 0);
        page.bytes[20] = 2;
        const Bytes stored = fromHex(
            "7F80000010000020 00"  // whole
            "00001100002000"       // without 7F 80
            "00001200002000");
        std::copy(stored.begin(), stored.end(), page.bytes.begin() + 248);
        for (const std::size_t bit : {9U, 16U, 23U})
            page.bytes[22 + bit / 8] |= static_cast<std::uint8_t>(1U << bit % 8);
        putU16(page.span(), 2, 1800 - 23);
        std::set<Bytes> model;
        for (const std::uint32_t n : {0x10U, 0x11U, 0x12U})
            model.insert(textOf(longKey(n), {0x20, 0}));
        CHECK_TREE(t, model);
        // A new first entry takes over the shared bytes, and so does the second when it goes.
        t.tree.insert(longKey(0x0F), {0x20, 0});
        model.insert(textOf(longKey(0x0F), {0x20, 0}));
        CHECK_TREE(t, model);
        QCOMPARE(t.file.pager->read(t.root)->bytes[20], std::uint8_t{2});
        t.tree.erase(longKey(0x0F), {0x20, 0});
        t.tree.erase(longKey(0x10), {0x20, 0});
        model.erase(model.begin(), std::next(model.begin(), 2));
        CHECK_TREE(t, model);
        // What does not share the prefix makes the page whole again.
        t.tree.insert(Bytes{0x00}, {0x20, 1});
        model.insert(textOf(Bytes{0x00}, {0x20, 1}));
        CHECK_TREE(t, model);
        QCOMPARE(t.file.pager->read(t.root)->bytes[20], std::uint8_t{0});
    }
};

QTEST_APPLESS_MAIN(tst_indexes)
#include "tst_indexes.moc"
