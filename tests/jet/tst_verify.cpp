// SPDX-License-Identifier: MIT
#include "jet/maintenance/verify.h"

#include <QTest>
#include <functional>

#include "jet/indexes/btree.h"
#include "jet/made_database.h"
#include "jet/pages/data_page.h"
#include "jet/pages/usage_map.h"
#include "jet/values/bytes.h"
#include "rows.h"

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
    [[nodiscard]] std::span<std::uint8_t> sixthRow() const { return row({dataPage("children"), 5}); }
    [[nodiscard]] UsageMap indexMap() const { return map(def("children").realIndexes[real("children", "when")].map); }
    [[nodiscard]] PageNo longValuePage(std::size_t i) const {
        return map(defs.at("children").longValues.at(0).owned).pages().at(i);
    }

    MemoryDisk disk;
    std::unique_ptr<Pager> pager;
    PageSpace space{*pager};
    std::map<std::string, TableDef> defs;
};

constexpr RowId kFreePages{1, 0};
constexpr RowId kSecondMap{1, 1};

struct Damage {
    std::function<void(Patient&)> doIt;
    const char* expected;  // part of one of the problems
};

void put(Page& page, std::size_t at, int byte) {
    page.bytes[at] = static_cast<std::uint8_t>(byte);
}
void add(Page& page, std::size_t at, int difference) {
    put(page, at, page.bytes[at] + difference);
}

void overwrite(Page& page, std::string_view text, std::string_view by) {
    const auto at = std::ranges::search(page.bytes, text, {}, [](auto c) { return char(c); });
    std::ranges::copy(by, at.begin());
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
        {[](Patient& p) { put(p.edit(0), 0x100, 1); }, "header: reserved bytes"},
        {[](Patient& p) { add(p.edit(0), 0x60, 1); }, "header: reserved bytes"},
        {[](Patient& p) { add(p.edit(0), 0x30, 1); }, "header: reserved bytes"},
        {[](Patient& p) { add(p.edit(0), 0x14, 1); }, "header: the version field is 1"},
        {[](Patient& p) { add(p.edit(0), 0x24, 1); }, "header: system table 1"},
        {[](Patient& p) { add(p.edit(0), 0x50, 1); }, "end of the password"},
        {[](Patient& p) { add(p.edit(0), 0x3C, 1); }, "header: code page"},
        {[](Patient& p) { p.map(kSecondMap).add(8, p.space); }, "second global map is not empty: it names page 8"},
        {[](Patient& p) { p.map(kFreePages).add(p.dataPage("children"), p.space); },
         "is free and belongs to table children"},
        {[](Patient& p) { p.map(kFreePages).remove(p.pager->pageCount() + 3); },
         "past the end of the file, is not marked free"},
        {[](Patient& p) { p.rows(1).replace(0, Bytes(9), SlotKind::Row); }, "map of free pages covers 32 of"},
        {[](Patient& p) { p.map(p.def("children").ownedMap).remove(p.dataPage("children", 1)); },
         "is neither owned nor free"},
        {[](Patient& p) { p.map(p.def("parrots").ownedMap).add(p.dataPage("children"), p.space); },
         "belongs to table parrots and to table children"},
        {[](Patient& p) { p.map(p.def("parrots").ownedMap).add(900, p.space); },
         "page 900 of table parrots is outside the file"},
        {[](Patient& p) { p.map(p.def("parrots").freeSpaceMap).add(18, p.space); },
         "table parrots (free space): the map lists page 18 of another owner"},
        {defined("parrots", [](TableDef& d) { d.freeSpaceMap = d.ownedMap; }),
         "serves table parrots and table parrots (free space)"},
        {[](Patient& p) { (void)p.space.newMapRow(p.def("parrots").ownedMap.page); }, "is used by nobody"},
        {[](Patient& p) { put(p.edit(0), 0, 0), p.row(p.def("children").ownedMap)[0] = 7; },
         "table children: file is damaged"},
        {[](Patient& p) { p.row(p.def("parrots").ownedMap)[1] = 4; }, "starts at page 4, which is not a multiple of 8"},

        // data pages and rows
        {[](Patient& p) { add(p.edit(p.dataPage("children")), 2, 1); }, "bytes free, its header says"},
        {[](Patient& p) { put(p.edit(p.dataPage("children")), 4, 2); }, "has the owner 2, not"},
        {[](Patient& p) { put(p.edit(p.dataPage("children")), 0, 9); }, "is of type 9, not a data page"},
        {[](Patient& p) { put(p.edit(p.dataPage("children")), 13, 9); }, "lies from byte"},
        {[](Patient& p) { add(p.edit(p.dataPage("children")), 11, 0x20); }, "has unknown flags"},
        {[](Patient& p) { add(p.edit(p.dataPage("parents")), 11, 0xC0); }, "is deleted but has"},
        {[](Patient& p) { p.rows(p.dataPage("children")).replace(5, Bytes(), SlotKind::Row); }, "is empty"},
        {[](Patient& p) { p.row(p.slot("children", SlotKind::Pointer))[0] = 1; }, "which is not a moved row"},
        {[](Patient& p) {
             const RowId id = p.slot("children", SlotKind::Pointer);
             p.rows(id.page).erase(id.row);
         },
         "nothing leads to the moved row"},
        {[](Patient& p) { p.sixthRow()[0] = 6; }, "6 columns, the table has 5"},
        {[](Patient& p) { p.sixthRow().last(5)[0] = 99; }, "its offset table begins at"},
        {[](Patient& p) { p.sixthRow().back() &= 0xFDU; }, "column parent is Null but has data"},
        {defined("children", [](TableDef& d) { d.columns[1].length = 2; }), "column parent has 3 bytes"},
        {defined("children", [](TableDef& d) { ++d.rowCount; }), "table children: 600 rows, the definition says 601"},
        {defined("parents", [](TableDef& d) { d.lastAutoNumber = 1; }), "there is no such column"},

        // long values
        {[](Patient& p) { p.rows(p.longValuePage(0)).replace(0, Bytes(3), SlotKind::Row); }, "column note, row"},
        {[](Patient& p) { p.rows(p.longValuePage(0)).append(Bytes(3)); }, "nothing leads to the long value"},
        {[](Patient& p) {
             const PageNo last = p.map(p.def("children").longValues.at(0).owned).pages().back();
             putU32(p.row({last, 0}), 0, toPointer({last, 0}));
         },
         "which is used already"},
        {[](Patient& p) { p.map(p.def("children").longValues.at(0).owned).remove(p.longValuePage(0)); },
         "which is not in the map of the column"},
        {[](Patient& p) { p.rows(p.longValuePage(0)).erase(0); }, "is deleted"},

        // definitions
        {[](Patient& p) { add(p.edit(p.def("children").page), 8, 2); }, "bytes, its header says"},
        {defined("children", [](TableDef& d) { d.columns[0].name = "NOTE"; }), "two columns have the same name"},
        {defined("children", [](TableDef& d) { d.columns[3].variableIndex = 1; }), "variable index 1, not 2"},
        {defined("children", [](TableDef& d) { d.columns[3].fixedOffset = 5; }), "offset 5, not 4"},
        {defined("children", [](TableDef& d) { d.variableColumns = 3; }), "2 variable columns, the header says 3"},
        {defined("children", [](TableDef& d) { d.columns[4].flags |= 4U; }), "2 autonumber columns"},
        {defined("children",
                 [](TableDef& d) {
                     std::ranges::find(d.logicalIndexes, "family", &LogicalIndex::name)->side =
                         LogicalIndex::Side::None;
                 }),
         "a relation without a side"},
        {defined("parents", [](TableDef& d) { d.columns[1].language = 0x41F; }), "another sort order"},
        {defined("parents", [](TableDef& d) { d.columns[1].length = 4; }), "column limit: length 4"},
        {defined("parrots", [](TableDef& d) { d.system = true; }), "a definition of type S on page"},
        {defined("children", [](TableDef& d) { d.logicalIndexes[0].number = d.logicalIndexes[1].number; }),
         "index parent: number"},
        {defined("children", [](TableDef& d) { d.realIndexes[0].columns[0].column = 9; }),
         "there is no column number 9"},
        {defined("children", [](TableDef& d) { d.realIndexes[0].flags |= 0x40U; }), "flags 73"},
        {defined(
             "children",
             [](TableDef& d) { std::ranges::find(d.logicalIndexes, "when", &LogicalIndex::name)->cascadeDelete = 1; }),
         "a plain index with the fields of a relation"},
        {[](Patient& p) { put(p.edit(p.def("children").page), 0, 1); }, "not a table definition"},

        // trees
        {[](Patient& p) { add(p.edit(p.leaf("children", "when")), 2, 1); }, "bytes free, its header says"},
        {[](Patient& p) { add(p.edit(p.leaf("children", "when")), 4, 1); }, "belongs to the table on page"},
        {[](Patient& p) { add(p.edit(p.leaf("children", "when")), 22, 4); }, "index when: page"},
        {[](Patient& p) { add(p.edit(p.root("parents", "PrimaryKey")), 250, 1); },
         "the key of row 32:0 is 7F60717000, not 7F60707000"},
        {[](Patient& p) { add(p.edit(p.root("parents", "PrimaryKey")), 248 + 8, 77); }, "there is an entry for row"},
        {[](Patient& p) { put(p.edit(p.leaf("children", "when")), 250, 0xFF); }, "does not come after"},
        {[](Patient& p) { put(p.edit(p.leaf("children", "PrimaryKey")), 8, 1); }, "has the neighbours 1 and"},
        {[](Patient& p) { put(p.edit(p.leaf("children", "PrimaryKey")), 12, 0); }, "and 0, not 0 and"},
        {[](Patient& p) { put(p.edit(p.leaf("children", "when")), 21, 1); }, "has the level 1, not 0"},
        {[](Patient& p) { put(p.edit(p.leaf("children", "when")), 16, 9); }, "is a leaf with a tail"},
        {[](Patient& p) { putU32(p.edit(p.root("children", "when")).span(), 16, 0); }, "has no tail"},
        {[](Patient& p) { add(p.edit(p.root("children", "PrimaryKey")), 248 + 8, 1); }, "the highest entry there is"},
        {[](Patient& p) { putU32(p.edit(p.root("children", "when")).span(), 16, p.leaf("children", "when")); },
         "occurs twice in the trees"},
        {[](Patient& p) { put(p.edit(p.root("children", "when")), 20, 1); }, "has the prefix length 1"},
        {[](Patient& p) { p.indexMap().remove(p.leaf("children", "when")); }, "is not in the map of the index"},
        {[](Patient& p) { p.indexMap().add(p.space.allocate(), p.space); }, "but not in the tree"},
        {[](Patient& p) {
             BTree tree = p.tree("children", "when");
             const auto cursor = tree.first();
             tree.erase(cursor.key(), cursor.row());
         },
         "index when: there is no entry for row"},
        {[](Patient& p) { p.tree("children", "when").insert(Bytes(1, 0x90), RowId(99, 9)); },
         "index when: there is an entry for row 99:9 that should not be there"},
        {[](Patient& p) {
             BTree tree = p.tree("children", "when");
             tree.insert(Bytes{0x90}, tree.first().row());
         },
         "that should not be there"},
        {[](Patient& p) {
             defined("children", [&](TableDef& d) { d.realIndexes[p.real("children", "parent")].flags = 1; })(p);
         },
         "have the same key"},
        {[](Patient& p) {
             defined("children", [&](TableDef& d) { d.realIndexes[p.real("children", "when")].flags = 8; })(p);
         },
         "index when: Null in row"},

        // catalog and relationships
        {[](Patient& p) { overwrite(p.edit(18), "parrots", "PARENTS"); }, "two tables are named PARENTS"},
        {[](Patient& p) {
             const auto cursor = p.tree("parents", "PrimaryKey").first();
             p.rows(cursor.row().page).erase(cursor.row().row);
         },
         "of table children has no parent in parents"},
        {defined("parents", [](TableDef& d) { d.logicalIndexes[0].cascadeUpdate = 0; }),
         "the cascades of index .rB are not those of the relationship"},
        {defined("parents", [](TableDef& d) { d.logicalIndexes[0].partnerNumber = 0; }),
         "relationship family: its two indexes do not lead to each other"},
        {defined(
             "children",
             [](TableDef& d) { std::ranges::find(d.logicalIndexes, "family", &LogicalIndex::name)->name = "friend"; }),
         "index friend: there is no enforced relationship for it"},
        {[](Patient& p) {
             overwrite(p.edit(p.map(TableDef::load(*p.pager, 5).ownedMap).pages().front()), "parent", "nobody");
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

    void soundFile() {
        const MadeDatabase empty{DatabaseSpec()};
        QCOMPARE(verify(*empty.db), std::vector<std::string>());
        Patient p(m_good);
        QCOMPARE(verify(*p.pager), std::vector<std::string>());
        // The tests below need what they damage.
        QVERIFY(p.leaf("children", "PrimaryKey") != 0);
        QVERIFY(p.slot("children", SlotKind::Pointer).page != 0);
        QVERIFY(p.map(p.def("children").longValues.at(0).owned).pages().size() > 4);
    }

    void damaged_data() {
        addColumns<int>("index");
        int i = 0;
        for (const Damage& damage : damages())
            addRow(damage.expected, i++);
    }
    void damaged() {
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

    void limit() {
        Patient p(m_good);
        BTree::formatRoot(p.edit(p.root("children", "when")), p.def("children").page);
        QVERIFY(verify(*p.pager).size() > 500);
        QCOMPARE(verify(*p.pager, 7).size(), 7U);
    }

    void remarks() {
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

 private:
    Bytes m_good;
};

QTEST_APPLESS_MAIN(tst_verify)
#include "tst_verify.moc"
