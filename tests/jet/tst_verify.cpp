// SPDX-License-Identifier: MIT
#include "jet/verify.h"

#include <QtTest>
#include <functional>
#include <random>

#include "jet/btree.h"
#include "jet/bytes.h"
#include "jet/data_page.h"
#include "jet/made_database.h"
#include "jet/usage_map.h"

using namespace made;

namespace {

// Two levels of index, equal keys, Nulls, a moved row, long values of all three kinds, a relation.
DatabaseSpec spec() {
    DatabaseSpec s;
    s.tables = {
        table("parents", {text("name", 40), column("limit", ColumnType::Currency)}, {primary({"name"})}),
        table("parrots", {column("id", ColumnType::Long)}),
        table("children",
              {counter("id"), text("parent", 40), memo("note"), column("when", ColumnType::DateTime),
               column("done", ColumnType::Boolean)},
              {primary({"id"}), index("parent", {{"parent", true}}), index("when", {{"when", false}})}),
    };
    s.relationships = {relation("family", "children", "parents", {{"parent", "name"}}, kCascadeUpdate)};
    return s;
}

Bytes goodFile() {
    MadeDatabase file(spec());
    file.change([&] {
        Table& parents = file["parents"];
        for (const char* name : {"Ann", "Bob", "Cloe"}) {
            Row row = {std::string(name), Currency{5}};
            parents.insert(row);
        }
        Table& children = file["children"];
        for (int i = 0; i < 600; ++i) {
            Row row = {Null(), std::string(i % 2 == 0 ? "Ann" : "Bob"), Null(), Date{i / 3.0}, i % 5 == 0};
            if (i == 10)
                row[1] = row[3] = Null();
            if (i % 100 == 1)
                row[2] = std::string(static_cast<std::size_t>(5 + 8 * i), 'n');
            children.insert(row);
        }
    });
    const RowId first = file.find("children", "id", std::int32_t{1});
    file.set("children", first, "parent", std::string("Cloe"));
    file.set("children", first, "note", std::string("long enough not to stay in the row itself"));
    const RowId moving = file.find("children", "id", std::int32_t{3});
    file.set("children", moving, "note", std::string("32 bytes at most stay in the row"));
    file.set("children", moving, "parent", std::string("Cloe"));
    file.db.reset();
    return file.disk.content(kPath);
}

std::unique_ptr<Pager> opened(MemoryDisk& disk, const Bytes& bytes) {
    disk.setContent(kPath, bytes);
    return Pager::open(disk, kPath, {});
}

// A file open as pages, with words for the places that damage is done to.
struct Patient {
    explicit Patient(const Bytes& bytes) : pager(opened(disk, bytes)) {
        pager->begin();
        for (PageNo page = 20; page < pager->pageCount(); ++page) {
            if (getU32(pager->read(page)->view(), 0) != 0x43560102)
                continue;
            const TableDef def = TableDef::load(*pager, page);
            const std::size_t columns = def.columns.size();
            defs.emplace(columns == 1 ? "parrots" : columns == 2 ? "parents" : "children", def);
        }
    }

    [[nodiscard]] const TableDef& def(const char* name) const { return defs.at(name); }
    [[nodiscard]] std::size_t real(const char* table, const char* index) const {
        for (const LogicalIndex& logical : defs.at(table).logicalIndexes) {
            if (logical.name == index)
                return logical.real;
        }
        return 99;
    }
    [[nodiscard]] PageNo root(const char* table, const char* index) const {
        return defs.at(table).realIndexes[real(table, index)].root;
    }
    // The first leaf of a tree of two levels.
    [[nodiscard]] PageNo leaf(const char* table, const char* index) const {
        const PageNo page = root(table, index);
        const PageRef ref = pager->read(page);
        return IndexPageView(ref->view(), page, defs.at(table).page).child(0);
    }
    [[nodiscard]] BTree tree(const char* table, const char* index) {
        const RealIndex& index_ = defs.at(table).realIndexes[real(table, index)];
        return {*pager, space, defs.at(table).page, index_.root, index_.map};
    }
    [[nodiscard]] UsageMap map(RowId row) const { return {*pager, row}; }
    [[nodiscard]] PageNo dataPage(const char* table, std::size_t i = 0) const {
        return map(defs.at(table).ownedMap).pages().at(i);
    }
    Page& edit(PageNo page) const { return pager->edit(page); }
    [[nodiscard]] DataPageEditor rows(PageNo page) const { return {edit(page), page}; }
    // The slot of the first row of that kind.
    [[nodiscard]] RowId slot(const char* table, SlotKind kind) const {
        for (const PageNo page : map(defs.at(table).ownedMap).pages()) {
            const PageRef ref = pager->read(page);
            const DataPageView view(ref->view(), page);
            for (std::size_t i = 0; i < view.slotCount(); ++i) {
                if (view.kind(i) == kind)
                    return {page, static_cast<std::uint8_t>(i)};
            }
        }
        return {};
    }
    // The bytes of a row, for changing.
    [[nodiscard]] std::span<std::uint8_t> row(RowId id) const {
        Page& page = edit(id.page);
        const ByteView bytes = DataPageView(page.view(), id.page).row(id.row);
        return page.span().subspan(static_cast<std::size_t>(bytes.data() - page.bytes.data()), bytes.size());
    }
    [[nodiscard]] PageNo longValuePage(std::size_t i) const {
        return map(defs.at("children").longValues.at(0).owned).pages().at(i);
    }

    MemoryDisk disk;
    std::unique_ptr<Pager> pager;
    PageSpace space{*pager};
    std::map<std::string, TableDef> defs;
};

struct Damage {
    const char* name;
    std::function<void(Patient&)> doIt;
    const char* expected;  // part of one of the problems
};

void put(Page& page, std::size_t at, int byte) {
    page.bytes[at] = static_cast<std::uint8_t>(byte);
}
void add(Page& page, std::size_t at, int difference) {
    put(page, at, page.bytes[at] + difference);
}

// Changes the definition of a table.
template <typename Change>
std::function<void(Patient&)> defined(const char* table, Change change) {
    return [=](Patient& p) {
        TableDef def = p.def(table);
        change(def);
        def.store(*p.pager);
    };
}

const std::vector<Damage>& damages() {
    static const std::vector<Damage> all = {
        // header and maps
        {"reserved byte of the header", [](Patient& p) { put(p.edit(0), 0x100, 1); }, "header: reserved bytes"},
        {"masked reserved byte", [](Patient& p) { add(p.edit(0), 0x60, 1); }, "header: reserved bytes"},
        {"system table elsewhere", [](Patient& p) { add(p.edit(0), 0x24, 1); }, "header: system table 1"},
        {"password with a tail", [](Patient& p) { add(p.edit(0), 0x50, 1); }, "end of the password"},
        {"code page of the file", [](Patient& p) { add(p.edit(0), 0x3C, 1); }, "header: code page"},
        {"reserved pages",
         [](Patient& p) {
             p.map({1, 1}).add(8, p.space);
         },
         "second global map is not empty: it names page 8"},
        {"used page marked free",
         [](Patient& p) {
             p.map({1, 0}).add(p.dataPage("children"), p.space);
         },
         "is free and belongs to table children"},
        {"page past the end not marked free",
         [](Patient& p) {
             p.map({1, 0}).remove(p.pager->pageCount() + 3);
         },
         "past the end of the file, is not marked free"},
        {"short map of free pages", [](Patient& p) { p.rows(1).replace(0, Bytes(9), SlotKind::Row); },
         "map of free pages covers 32 of"},
        {"page of nobody", [](Patient& p) { p.map(p.def("children").ownedMap).remove(p.dataPage("children", 1)); },
         "is neither owned nor free"},
        {"page of two tables",
         [](Patient& p) { p.map(p.def("parrots").ownedMap).add(p.dataPage("children"), p.space); },
         "belongs to table parrots and to table children"},
        {"page outside the file", [](Patient& p) { p.map(p.def("parrots").ownedMap).add(900, p.space); },
         "page 900 of table parrots is outside the file"},
        {"free space of others", [](Patient& p) { p.map(p.def("parrots").freeSpaceMap).add(18, p.space); },
         "table parrots (free space): the map lists page 18 of another owner"},
        {"map row for two", defined("parrots", [](TableDef& d) { d.freeSpaceMap = d.ownedMap; }),
         "serves table parrots and table parrots (free space)"},
        {"map row for none", [](Patient& p) { (void)p.space.newMapRow(p.def("parrots").ownedMap.page); },
         "is used by nobody"},
        {"map that is none", [](Patient& p) { put(p.edit(0), 0, 0), p.row(p.def("children").ownedMap)[0] = 7; },
         "table children: file is damaged"},
        {"map that starts within a byte", [](Patient& p) { p.row(p.def("parrots").ownedMap)[1] = 4; },
         "starts at page 4, which is not a multiple of 8"},

        // data pages and rows
        {"free space of a page", [](Patient& p) { add(p.edit(p.dataPage("children")), 2, 1); },
         "bytes free, its header says"},
        {"owner of a page", [](Patient& p) { put(p.edit(p.dataPage("children")), 4, 2); }, "has the owner 2, not"},
        {"type of a page", [](Patient& p) { put(p.edit(p.dataPage("children")), 0, 9); },
         "is of type 9, not a data page"},
        {"row past the page", [](Patient& p) { put(p.edit(p.dataPage("children")), 13, 9); }, "lies from byte"},
        {"unknown flags of a row", [](Patient& p) { add(p.edit(p.dataPage("children")), 11, 0x20); },
         "has unknown flags"},
        {"deleted row with bytes", [](Patient& p) { add(p.edit(p.dataPage("parents")), 11, 0xC0); },
         "is deleted but has"},
        {"pointer to a plain row", [](Patient& p) { p.row(p.slot("children", SlotKind::Pointer))[0] = 1; },
         "which is not a moved row"},
        {"pointer lost",
         [](Patient& p) {
             const RowId id = p.slot("children", SlotKind::Pointer);
             p.rows(id.page).erase(id.row);
         },
         "nothing leads to the moved row"},
        {"more columns than the table",
         [](Patient& p) {
             p.row({p.dataPage("children"), 5})[0] = 6;
         },
         "6 columns, the table has 5"},
        {"end of the data",
         [](Patient& p) {
             p.row({p.dataPage("children"), 5}).last(5)[0] = 99;
         },
         "its offset table begins at"},
        {"Null with data",
         [](Patient& p) {
             p.row({p.dataPage("children"), 5}).back() &= 0xFDU;
         },
         "column parent is Null but has data"},
        {"value longer than its column", defined("children", [](TableDef& d) { d.columns[1].length = 2; }),
         "column parent has 3 bytes"},
        {"row count", defined("children", [](TableDef& d) { ++d.rowCount; }),
         "table children: 600 rows, the definition says 601"},
        {"counter", defined("children", [](TableDef& d) { d.lastAutoNumber = 599; }),
         "autonumber counter 599 is below 600"},
        {"counter without a column", defined("parents", [](TableDef& d) { d.lastAutoNumber = 1; }),
         "there is no such column"},

        // long values
        {"length of a long value", [](Patient& p) { p.rows(p.longValuePage(0)).replace(0, Bytes(3), SlotKind::Row); },
         "column note, row"},
        {"long value of nobody", [](Patient& p) { p.rows(p.longValuePage(0)).append(Bytes(3)); },
         "nothing leads to the long value"},
        {"circle of long values",
         [](Patient& p) {
             const PageNo last = p.map(p.def("children").longValues.at(0).owned).pages().back();
             putU32(p.row({last, 0}), 0, toPointer({last, 0}));
         },
         "which is used already"},
        {"long value of another column",
         [](Patient& p) {
             const PageNo page = p.longValuePage(0);
             p.map(p.def("children").longValues.at(0).owned).remove(page);
         },
         "which is not in the map of the column"},
        {"deleted long value", [](Patient& p) { p.rows(p.longValuePage(0)).erase(0); }, "is deleted"},

        // definitions
        {"length of a definition", [](Patient& p) { add(p.edit(p.def("children").page), 8, 2); },
         "bytes, its header says"},
        {"two columns of one name", defined("children", [](TableDef& d) { d.columns[0].name = "NOTE"; }),
         "two columns have the same name"},
        {"variable index", defined("children", [](TableDef& d) { d.columns[3].variableIndex = 1; }),
         "variable index 1, not 2"},
        {"fixed offset", defined("children", [](TableDef& d) { d.columns[3].fixedOffset = 5; }), "offset 5, not 4"},
        {"number of variable columns", defined("children", [](TableDef& d) { d.variableColumns = 3; }),
         "2 variable columns, the header says 3"},
        {"language of a column", defined("parents", [](TableDef& d) { d.columns[1].language = 0x41F; }),
         "another sort order"},
        {"length of a number", defined("parents", [](TableDef& d) { d.columns[1].length = 4; }),
         "column limit: length 4"},
        {"system table elsewhere", defined("parrots", [](TableDef& d) { d.system = true; }),
         "a definition of type S on page"},
        {"number of an index",
         defined("children", [](TableDef& d) { d.logicalIndexes[0].number = d.logicalIndexes[1].number; }),
         "index parent: number"},
        {"index on no column", defined("children", [](TableDef& d) { d.realIndexes[0].columns[0].column = 9; }),
         "there is no column number 9"},
        {"unknown flags of an index", defined("children", [](TableDef& d) { d.realIndexes[0].flags |= 0x40U; }),
         "flags 73"},
        {"plain index with cascades",
         defined(
             "children",
             [](TableDef& d) { std::ranges::find(d.logicalIndexes, "when", &LogicalIndex::name)->cascadeDelete = 1; }),
         "a plain index with the fields of a relation"},
        {"definition that is none", [](Patient& p) { put(p.edit(p.def("children").page), 0, 1); },
         "not a table definition"},

        // trees
        {"free space of a leaf", [](Patient& p) { add(p.edit(p.leaf("children", "when")), 2, 1); },
         "bytes free, its header says"},
        {"owner of a leaf", [](Patient& p) { add(p.edit(p.leaf("children", "when")), 4, 1); },
         "belongs to the table on page"},
        {"mask of a leaf", [](Patient& p) { add(p.edit(p.leaf("children", "when")), 22, 4); }, "index when: page"},
        {"byte of a key", [](Patient& p) { add(p.edit(p.root("parents", "PrimaryKey")), 250, 1); },
         "the key of row 32:0 is 7F60717000, not 7F60707000"},
        {"row of an entry", [](Patient& p) { add(p.edit(p.root("parents", "PrimaryKey")), 248 + 8, 77); },
         "there is an entry for row"},
        {"entries out of order", [](Patient& p) { put(p.edit(p.leaf("children", "when")), 250, 0xFF); },
         "does not come after"},
        {"previous leaf", [](Patient& p) { put(p.edit(p.leaf("children", "PrimaryKey")), 8, 1); },
         "has the neighbours 1 and"},
        {"next leaf", [](Patient& p) { put(p.edit(p.leaf("children", "PrimaryKey")), 12, 0); }, "and 0, not 0 and"},
        {"level of a leaf", [](Patient& p) { put(p.edit(p.leaf("children", "when")), 21, 1); },
         "has the level 1, not 0"},
        {"tail of a leaf", [](Patient& p) { put(p.edit(p.leaf("children", "when")), 16, 9); }, "is a leaf with a tail"},
        {"no tail", [](Patient& p) { putU32(p.edit(p.root("children", "when")).span(), 16, 0); }, "has no tail"},
        {"entry of a node", [](Patient& p) { add(p.edit(p.root("children", "PrimaryKey")), 248 + 8, 1); },
         "the highest entry there is"},
        {"child of two",
         [](Patient& p) { putU32(p.edit(p.root("children", "when")).span(), 16, p.leaf("children", "when")); },
         "occurs twice in the trees"},
        {"prefix of a node", [](Patient& p) { put(p.edit(p.root("children", "when")), 20, 1); },
         "has the prefix length 1"},
        {"page of a tree not in its map",
         [](Patient& p) {
             const RealIndex& index = p.def("children").realIndexes[p.real("children", "when")];
             p.map(index.map).remove(p.leaf("children", "when"));
         },
         "is not in the map of the index"},
        {"page in the map of no tree",
         [](Patient& p) {
             const RealIndex& index = p.def("children").realIndexes[p.real("children", "when")];
             p.map(index.map).add(p.space.allocate(), p.space);
         },
         "but not in the tree"},
        {"entry missing",
         [](Patient& p) {
             BTree tree = p.tree("children", "when");
             const auto cursor = tree.first();
             tree.erase(cursor.key(), cursor.row());
         },
         "index when: there is no entry for row"},
        {"entry too many",
         [](Patient& p) {
             p.tree("children", "when").insert(Bytes{0x90}, {99, 9});
         },
         "index when: there is an entry for row 99:9 that should not be there"},
        {"second entry of a row",
         [](Patient& p) {
             BTree tree = p.tree("children", "when");
             tree.insert(Bytes{0x90}, tree.first().row());
         },
         "that should not be there"},
        {"equal keys in a unique index",
         [](Patient& p) {
             defined("children", [&](TableDef& d) { d.realIndexes[p.real("children", "parent")].flags = 1; })(p);
         },
         "have the same key"},
        {"Null where none may be",
         [](Patient& p) {
             defined("children", [&](TableDef& d) { d.realIndexes[p.real("children", "when")].flags = 8; })(p);
         },
         "index when: Null in row"},

        // catalog and relationships
        {"two tables of one name",
         [](Patient& p) {
             Page& page = p.edit(18);
             const auto at =
                 std::ranges::search(page.bytes, std::string_view("parrots"), {}, [](auto c) { return char(c); });
             std::ranges::copy(std::string_view("PARENTS"), at.begin());
         },
         "two tables are named PARENTS"},
        {"row without a parent",
         [](Patient& p) {
             const auto cursor = p.tree("parents", "PrimaryKey").first();
             p.rows(cursor.row().page).erase(cursor.row().row);
         },
         "of table children has no parent in parents"},
        {"cascade of one side", defined("parents", [](TableDef& d) { d.logicalIndexes[0].cascadeUpdate = 0; }),
         "the cascades of index .rB are not those of the relationship"},
        {"side that leads elsewhere", defined("parents", [](TableDef& d) { d.logicalIndexes[0].partnerNumber = 0; }),
         "relationship family: its two indexes do not lead to each other"},
        {"name of a side",
         defined(
             "children",
             [](TableDef& d) { std::ranges::find(d.logicalIndexes, "family", &LogicalIndex::name)->name = "friend"; }),
         "index friend: there is no enforced relationship for it"},
        {"relation on another column",
         [](Patient& p) {
             Page& page = p.edit(p.map(TableDef::load(*p.pager, 5).ownedMap).pages().front());
             const auto at =
                 std::ranges::search(page.bytes, std::string_view("parent"), {}, [](auto c) { return char(c); });
             std::ranges::copy(std::string_view("nobody"), at.begin());
         },
         "relationship family: there is no column nobody"},
    };
    return all;
}

}  // namespace

class tst_verify : public QObject {
    Q_OBJECT

 private slots:
    void initTestCase() { m_good = goodFile(); }
    void soundFile();
    void damaged_data();
    void damaged();
    void limit();
    void remarks();
    void anyByteWrong();

 private:
    Bytes m_good;
};

void tst_verify::soundFile() {
    const MadeDatabase empty{DatabaseSpec()};
    QCOMPARE(verify(*empty.db), std::vector<std::string>());
    Patient p(m_good);
    QCOMPARE(verify(*p.pager), std::vector<std::string>());
    // The tests below need what they damage.
    QVERIFY(p.leaf("children", "PrimaryKey") != 0);
    QVERIFY(p.slot("children", SlotKind::Pointer).page != 0);
    QVERIFY(p.map(p.def("children").longValues.at(0).owned).pages().size() > 4);
}

void tst_verify::damaged_data() {
    QTest::addColumn<int>("index");
    int i = 0;
    for (const Damage& damage : damages())
        QTest::newRow(damage.name) << i++;
}

void tst_verify::damaged() {
    QFETCH(int, index);
    const Damage& damage = damages().at(static_cast<std::size_t>(index));
    Patient p(m_good);
    damage.doIt(p);
    const std::vector<std::string> problems = verify(*p.pager);
    QStringList lines;
    for (const std::string& problem : problems)
        lines += QString::fromStdString(problem);
    QVERIFY2(lines.join('\n').contains(damage.expected), qPrintable("\n" + lines.join('\n')));
}

void tst_verify::limit() {
    Patient p(m_good);
    BTree::formatRoot(p.edit(p.root("children", "when")), p.def("children").page);
    QVERIFY(verify(*p.pager).size() > 500);
    QCOMPARE(verify(*p.pager, 7).size(), 7U);
}

void tst_verify::remarks() {
    Patient p(m_good);
    std::vector<std::string> remarks;
    QCOMPARE(verify(*p.pager, 10, &remarks), std::vector<std::string>());
    QCOMPARE(remarks, std::vector<std::string>());
    const PageNo page = p.space.allocate();
    p.map(p.def("parrots").ownedMap).add(page, p.space);
    p.rows(page).format(p.def("parrots").page);
    QCOMPARE(verify(*p.pager, 10, &remarks), std::vector<std::string>());
    QCOMPARE(remarks, (std::vector<std::string>{"table parrots: page " + std::to_string(page) + " has no rows"}));
}

void tst_verify::anyByteWrong() {
    std::mt19937 random(17);
    Patient p(m_good);
    int found = 0;
    for (int i = 0; i < 250; ++i) {
        const auto page = static_cast<PageNo>(random() % p.pager->pageCount());
        Page& bytes = p.edit(page);
        const Page before = bytes;
        for (unsigned flips = 0; flips < 1 + i % 3U; ++flips)
            bytes.bytes[random() % (random() % 2 == 0 ? 64 : kPageSize)] = static_cast<std::uint8_t>(random());
        found += verify(*p.pager, 20).empty() ? 0 : 1;
        p.edit(page) = before;
    }
    QVERIFY(found > 100);
    QCOMPARE(verify(*p.pager), std::vector<std::string>());
}

QTEST_APPLESS_MAIN(tst_verify)
#include "tst_verify.moc"
