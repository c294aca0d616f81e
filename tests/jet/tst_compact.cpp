// SPDX-License-Identifier: MIT
#include "jet/maintenance/compact.h"

#include <QTest>

#include "jet/made_database.h"
#include "jet/row_store.h"
#include "jet/values/bytes.h"

using namespace made;

namespace {

constexpr const char* kCopy = "copy.mdb";
constexpr std::int32_t kFormsId = -2147483600;
constexpr std::int32_t kFormId = -2147483599;
constexpr std::int32_t kGoneTable = 21;  // the number that a table of the copy gets

const Property* find(const PropertySet& set, const char* column, const char* name) {
    const PropertyBlock* block = set.column(column);
    return block != nullptr ? block->find(name) : nullptr;
}

// A child table with every kind of column and index, its parent, a query, and what only other programs make.
DatabaseSpec description() {
    DatabaseSpec spec;
    spec.created = 36000.5;
    ColumnSpec name = text("name", 40, {allowEmpty(), PropertySet::textProperty("Description", "Of whom")});
    spec.tables.push_back(table("parents", {name, column("budget", ColumnType::Double)}, {primary({"name"})}));
    spec.tables.push_back(table("children",
                                {counter("id"), text("parent", 40), memo("remark"), column("day", ColumnType::DateTime),
                                 column("done", ColumnType::Boolean), column("price", ColumnType::Currency),
                                 column("picture", ColumnType::Ole)},
                                {primary({"id"}), index("byDay", {{"day", false}, {"id", true}})}));
    spec.relationships.push_back(relation("family", "children", "parents", {{"parent", "name"}}, kCascadeBoth));
    QuerySpec query;
    query.name = "sums";
    query.rows = {{0, 1, {}, {}, {}, {}},
                  {5, 1, "parents", {}, {}, {}},
                  {6, 1, "total", {}, "Sum(IIf([parents]![budget]>0,[parents]![budget],0))", std::int16_t{0}},
                  {255, 1, {}, {}, {}, {}}};
    query.properties = {{1, "total", {PropertySet::textProperty("Format", "Standard")}}};
    spec.queries.push_back(query);
    return spec;
}

RowStore storeOf(Database& db, const char* name) {
    return {db.pager(), db.space(), db.table(name).def().page, name};
}

// Objects of the kinds that Access keeps: a container, a form in it with its design, and rights for an unknown group.
void addForeignObjects(Database& db) {
    RowStore objects = storeOf(db, "MSysObjects");
    const auto object = [&](std::int32_t id, std::int32_t parent, const char* name, std::int16_t type, Value lv,
                            Value module, Value extra) {
        Row row(objects.def().columns.size());
        row[0] = id;
        row[1] = parent;
        row[2] = std::string(name);
        row[3] = type;
        row[4] = Date{35000};
        row[5] = Date{35001.25};
        row[6] = Bytes{3, 1};
        row[7] = std::int32_t{8};
        row[13] = std::move(lv);
        row[15] = std::move(module);
        row[16] = std::move(extra);
        objects.insertRow(row);
    };
    object(kFormsId, 0x0F000000, "Forms", 3, {}, {}, {});
    object(kFormId, kFormsId, "Entry form", -32768, Bytes(5000, 7), Bytes(1500, 8), Bytes(40, 9));
    RowStore aces = storeOf(db, "MSysACEs");
    aces.insertRow({kFormId, Bytes(102, 1), std::int32_t{0xFFFFF}, false});
    aces.insertRow({kGoneTable, Bytes{3, 1}, std::int32_t{0x12345}, false});  // of a table dropped long ago
}

// Gives the query a compiled plan, as the first run of it by another program does.
void addPlan(Database& db) {
    RowStore objects = storeOf(db, "MSysObjects");
    const auto rows = db.table("MSysObjects").scan({2});
    Row row;
    while (rows->next(row)) {
        if (row[0] != Value(std::string("sums")))
            continue;
        const RowStore::Found found = objects.find(rows->rowId());
        Fields fields;
        copyFields(objects.def(), RowView(objects.def(), found.bytes, found.place.page), fields);
        fields[13] = Bytes(300, 5);
        objects.writeLongValue(13, fields[13]);
        objects.rewrite(rows->rowId(), fields);
        return;
    }
}

void fill(const MadeDatabase& made, int children) {
    made.change([&] {
        for (const char* name : {"Zoë", "Adam", "Mia"}) {
            Row row{std::string(name), 12.5};
            made["parents"].insert(row);
        }
        for (int i = 0; i < children; ++i) {
            Row row{Null{},
                    std::string(i % 2 == 0 ? "Adam" : "Zoë"),
                    i % 3 == 0 ? Value() : Value(std::string(static_cast<std::size_t>(i * 17 % 4000), 'r')),
                    i % 7 == 0 ? Value() : Value(Date{36000.0 + i % 50}),
                    i % 5 == 0,
                    Currency{i * 12345},
                    i % 11 == 0 ? Value(Bytes(static_cast<std::size_t>(i % 100), 0xEE)) : Value()};
            made["children"].insert(row);
        }
    });
}

void compact(MadeDatabase& made, const CompactOptions& wanted = {}) {
    CompactOptions options = wanted;
    options.disk = &made.disk;
    compactDatabase(kPath, kCopy, options);
}

// The copy as a database of its own.
struct Copy {
    explicit Copy(MadeDatabase& made, const std::string& password = {})
        : db(Database::open(kCopy, {.password = password, .readOnly = false, .disk = &made.disk})) {}

    [[nodiscard]] QString show(const char* name) const { return made::show(*db, name); }

    std::shared_ptr<Database> db;
};

QStringList sortedLines(const QString& text) {
    QStringList lines = text.split('\n');
    lines.sort();
    return lines;
}

// The catalog as text, a line an object, with names for numbers.
QString catalogOf(Database& db) {
    const std::vector<CatalogEntry> entries = db.catalog();
    QStringList lines;
    for (const CatalogEntry& e : entries) {
        const auto parent = std::ranges::find(entries, e.parentId, &CatalogEntry::id);
        lines += QString("%1 in %2, type %3, flags %4, dates %5 %6")
                     .arg(QString::fromStdString(e.name),
                          parent == entries.end() ? "root" : QString::fromStdString(parent->name))
                     .arg(e.type)
                     .arg(e.flags, 0, 16)
                     .arg(e.created)
                     .arg(e.updated);
    }
    lines.sort();
    return lines.join('\n');
}

std::int32_t idOf(Database& db, const char* name) {
    const std::vector<CatalogEntry> entries = db.catalog();
    const auto found = std::ranges::find(entries, name, &CatalogEntry::name);
    return found == entries.end() ? 0 : found->id;
}

}  // namespace

class tst_compact : public QObject {
    Q_OBJECT

 private slots:
    void rowsAndRules() {
        MadeDatabase made(description());
        fill(made, 200);
        compact(made);
        const Copy copy(made);
        for (const char* name : {"parents", "children", "MSysRelationships"})
            QCOMPARE(sortedLines(copy.show(name)), sortedLines(made.show(name)));
        QVERIFY(copy.show("parents").startsWith("\"Adam\""));  // in the order of the key
        QCOMPARE(catalogOf(*copy.db), catalogOf(*made.db));
        expectSound(*copy.db);

        const std::optional<StoredQuery> query = copy.db->query("sums");
        QVERIFY(query && query->rows.size() == 4);
        QCOMPARE(query->rows[2].expression, made.db->query("sums")->rows[2].expression);
        QCOMPARE(find(copy.db->properties("sums"), "total", "Format")->text(), "Standard");
        QCOMPARE(find(copy.db->properties("parents"), "name", "Description")->text(), "Of whom");
        QCOMPARE(copy.db->properties("children").encode(), made.db->properties("children").encode());

        // The relationship works: the parent's new name reaches its children, and they go with it.
        Table& parents = copy.db->table("parents");
        Transaction change(*copy.db);
        const auto rows = parents.scan({0});
        Row row;
        QVERIFY(rows->next(row));
        parents.update(rows->rowId(), std::array<std::size_t, 1>{0}, std::array<Value, 1>{std::string("Bert")});
        QCOMPARE(copy.show("children").count("\"Bert\""), 100);
        parents.erase(rows->rowId());
        QCOMPARE(copy.show("children").count('\n'), 100);
        change.commit();
        expectSound(*copy.db);
    }

    void foreignObjects() {
        MadeDatabase made(description());
        made.change([&] {
            addForeignObjects(*made.db);
            addPlan(*made.db);
        });
        made.reopen();
        compact(made);
        const Copy copy(made);
        QCOMPARE(catalogOf(*copy.db), catalogOf(*made.db));
        QCOMPARE(idOf(*copy.db, "Entry form"), kFormId);
        QCOMPARE(idOf(*copy.db, "Tables"), 0x0F000001);
        QCOMPARE(idOf(*copy.db, "children"), static_cast<std::int32_t>(copy.db->table("children").def().page));
        for (const QString& line : made.show("MSysObjects").split('\n')) {
            if (line.contains("Entry form"))
                QVERIFY(copy.show("MSysObjects").contains(line));
        }
        QCOMPARE(made.show("MSysObjects").count(QString("05").repeated(300)), 1);
        QCOMPARE(copy.show("MSysObjects").count(QString("05").repeated(300)), 0);  // a plan names pages: made again
        const QString rights = copy.show("MSysACEs");
        QCOMPARE(rights.count(QString("01").repeated(102)), 1);
        QVERIFY(made.show("MSysACEs").contains(QString::number(0x12345)));
        QVERIFY(!rights.contains(QString::number(0x12345)));  // else it would now speak of another table
        expectSound(*copy.db);
    }

    void spaceIsGone() {
        MadeDatabase made(description());
        fill(made, 600);
        made.change([&] {
            Table& children = made["children"];
            for (const RowId id : children.inOrder(0)) {
                Row row;
                children.read(id, std::array<std::size_t, 1>{0}, row);
                if (std::get<std::int32_t>(row[0]) % 20 != 1)
                    children.erase(id);
            }
        });
        compact(made);
        const Copy copy(made);
        QCOMPARE(sortedLines(copy.show("children")), sortedLines(made.show("children")));
        QVERIFY(copy.db->pager().pageCount() * 4 < made.db->pager().pageCount());
        QVERIFY(UsageMap(copy.db->pager(), {1, 0}).empty());
        QCOMPARE(made.disk.content(kCopy).size(), copy.db->pager().pageCount() * kPageSize);
        // The numbers of erased rows are not given out again.
        Row row{Null{}, str("Mia"), Null{}, Null{}, false, Null{}, Null{}};
        Transaction change(*copy.db);
        copy.db->table("children").insert(row);
        QCOMPARE(std::get<std::int32_t>(row[0]), 601);
        QCOMPARE(copy.db->pager().pageCount() * kPageSize, made.disk.content(kCopy).size());  // the last page had room
    }

    void passwords() {
        DatabaseSpec spec = description();
        spec.password = "geheim";
        MemoryDisk disk;
        createDatabase(disk, kPath, spec);
        const auto passwordAfter = [&](const CompactOptions& options, const std::string& password) {
            CompactOptions here = options;
            here.disk = &disk;
            disk.remove(kCopy);
            compactDatabase(kPath, kCopy, here);
            return thrown(
                [&] { (void)Database::open(kCopy, {.password = password, .readOnly = true, .disk = &disk}); });
        };
        QCOMPARE(passwordAfter({.password = "geheim"}, "geheim"), "nothing");
        QCOMPARE(passwordAfter({.password = "geheim"}, ""), error(Errc::WrongPassword, "", kCopy));
        QCOMPARE(passwordAfter({.password = "geheim", .newPassword = "neu"}, "neu"), "nothing");
        QCOMPARE(passwordAfter({.password = "geheim", .newPassword = ""}, ""), "nothing");
        QCOMPARE(thrown([&] { passwordAfter({.password = "falsch"}, ""); }), error(Errc::WrongPassword, "", kPath));
        QVERIFY(!disk.exists(kCopy));
        QCOMPARE(thrown([&] { passwordAfter({.password = "geheim", .newPassword = std::string(21, 'x')}, ""); }),
                 error(Errc::TooLong, "", "password"));
    }

    void encryptedPages() {
        MadeDatabase made(description());
        fill(made, 20);
        const QString before = made.show("children");
        made.db.reset();
        Bytes bytes = made.disk.content(kPath);
        Header header = Header::parse(ByteView(bytes).first(kPageSize));
        header.encryptionKey = 0x12345678;
        Page page0;
        header.writeTo(page0);
        std::ranges::copy(page0.bytes, bytes.begin());
        for (PageNo page = 1; page < bytes.size() / kPageSize; ++page)
            cryptPage(std::span(bytes).subspan(page * kPageSize, kPageSize), header.encryptionKey, page);
        made.disk.setContent(kPath, bytes);
        compact(made);
        const Copy copy(made);
        QCOMPARE(copy.db->pager().header().encryptionKey, 0x12345678U);
        QVERIFY(made.disk.content(kCopy)[2 * kPageSize] != copy.db->pager().read(2)->bytes[0]);
        QCOMPARE(copy.show("children"), before);
    }

    // Columns that were dropped leave holes that stay; their data goes. Rows older than a column get it as Null.
    void droppedAndAddedColumns() {
        MadeDatabase made(description());
        fill(made, 50);
        const QString before = made.show("parents");
        made.change([&] {
            TableDef def = made["children"].def();
            def.longValues.erase(def.longValues.begin() + 1);  // of remark, which goes
            def.columns.erase(def.columns.begin() + 2);
            ColumnDef added = def.columns.front();
            added.name = "added";
            added.number = def.maxColumns++;
            added.variableIndex = def.variableColumns;
            added.fixedOffset = 20;
            added.flags = 0x03;
            def.columns.push_back(added);
            def.store(made.db->pager());
        });
        made.reopen();
        compact(made);
        const Copy copy(made);
        QCOMPARE(copy.show("children"), made.show("children"));
        QCOMPARE(copy.show("children").count("Null\n"), 50);
        QCOMPARE(int{copy.db->table("children").def().maxColumns}, 8);
        expectSound(*copy.db);
    }

    // What an engine that was killed may leave: wrong counts and pages that nobody owns.
    void mendsBookkeeping() {
        MadeDatabase made(description());
        fill(made, 50);
        made.change([&] {
            (void)made.db->space().allocate();
            TableDef def = made["children"].def();
            def.rowCount += 3;
            def.storeRowCount(made.db->pager());
            def.lastAutoNumber = 7;
            def.storeAutoNumber(made.db->pager());
        });
        QVERIFY(verify(*made.db).size() >= 2);
        made.reopen();
        compact(made);
        const Copy copy(made);
        expectSound(*copy.db);
        QCOMPARE(copy.db->table("children").def().lastAutoNumber, 50U);
    }

    void refused() {
        MadeDatabase made(description());
        made.disk.setContent(kCopy, Bytes{1, 2, 3});
        QCOMPARE(thrown([&] { compact(made); }), error(Errc::AccessDenied, "", kCopy));
        QCOMPARE(made.disk.content(kCopy), (Bytes{1, 2, 3}));
        CompactOptions options;
        options.disk = &made.disk;
        QCOMPARE(thrown([&] { compactDatabase(kPath, kPath, options); }), error(Errc::AccessDenied, "", kPath));
        QCOMPARE(thrown([&] { compactDatabase("none.mdb", "to.mdb", options); }),
                 error(Errc::FileNotFound, "", "none.mdb"));
        QVERIFY(!made.disk.exists("to.mdb"));

        // Keys of another sort order cannot be made.
        made.disk.remove(kCopy);
        fill(made, 3);
        made.change([&] {
            TableDef def = made["parents"].def();
            def.columns[0].language = 0x041F;
            def.store(made.db->pager());
        });
        made.reopen();
        QVERIFY(
            thrown([&] { compact(made); }).startsWith(QString::number(static_cast<int>(Errc::UnsupportedSortOrder))));
        QVERIFY(!made.disk.exists(kCopy));
    }

    // Rows that all name one large value would make a copy, or a result, far larger than the file.
    void sharedLongValue() {
        MadeDatabase made(description());
        fill(made, 100);
        made.change([&] {
            RowStore children = storeOf(*made.db, "children");
            std::optional<Bytes> shared = Bytes(40000, 1);
            children.writeLongValue(2, shared);
            for (const RowId id : made["children"].inOrder(0)) {
                const RowStore::Found found = children.find(id);
                Fields fields;
                copyFields(children.def(), RowView(children.def(), found.bytes, found.place.page), fields);
                if (fields[2] && fields[2]->size() == shared->size()) {
                    fields[2] = shared;
                    children.rewrite(id, fields);
                }
            }
        });
        made.reopen();
        const QString corrupt = QString::number(static_cast<int>(Errc::Corrupt));
        QVERIFY(thrown([&] { compact(made); }).startsWith(corrupt));
        QVERIFY(!made.disk.exists(kCopy));
        QVERIFY(thrown([&] { (void)made.show("children"); }).startsWith(corrupt));
        const std::vector<RowId> ids = made["children"].inOrder(0);
        Row row;
        const auto rows = made["children"].scan({2}, ids);
        QVERIFY(thrown([&] {
                    while (rows->next(row)) {
                    }
                }).startsWith(corrupt));
    }
};

QTEST_APPLESS_MAIN(tst_compact)
#include "tst_compact.moc"
