// SPDX-License-Identifier: MIT
// The open database and its tables: rows, keys, relationships.
#include <QTest>
#include <map>

#include "jet/made_database.h"
#include "jet/pages/usage_map.h"
#include "rows.h"

using namespace made;

namespace {

// A table of notes with an index of each kind, and one of every column type.
DatabaseSpec notes() {
    DatabaseSpec s;
    IndexSpec code = index("code", {{"code", true}});
    code.unique = true;
    IndexSpec pair = index("pair", {{"grade", false}, {"title", true}});
    IndexSpec sparse = index("sparse", {{"grade", true}});
    sparse.ignoreNulls = true;
    s.tables = {
        table("notes",
              {counter("id"), text("title", 20), text("code", 10, {}), column("grade", ColumnType::Integer),
               memo("body"), text("owner", 10, {required(), allowEmpty()})},
              {primary({"id"}), code, pair, sparse}),
        table("types", {column("bool", ColumnType::Boolean), column("byte", ColumnType::Byte),
                        column("int", ColumnType::Integer), column("long", ColumnType::Long),
                        column("money", ColumnType::Currency), column("single", ColumnType::Single),
                        column("double", ColumnType::Double), column("date", ColumnType::DateTime),
                        column("bin", ColumnType::Binary, 20), text("text", 255), column("ole", ColumnType::Ole),
                        memo("memo"), column("guid", ColumnType::Guid)}),
        table("wide", {text("a", 255), text("b", 255), text("c", 255), text("d", 255), text("e", 255), text("f", 255),
                       text("g", 255), text("h", 255)}),
    };
    return s;
}

Row note(const char* title, Value code = {}, Value grade = {}, Value body = {}) {
    return {Null(), std::string(title), std::move(code), std::move(grade), std::move(body), std::string("me")};
}
Value grade(int g) {
    return static_cast<std::int16_t>(g);
}
std::string repeated(std::size_t n, char c = 'x') {
    return std::string(n, c);
}

ColumnSpec number(std::string name) {
    return column(std::move(name), ColumnType::Long);
}

DatabaseSpec tree() {
    DatabaseSpec s;
    s.tables = {table("tree", {number("id"), number("parent")}, {primary({"id"})})};
    s.relationships = {relation("above", "tree", "tree", {{"parent", "id"}}, kCascadeBoth)};
    return s;
}

DatabaseSpec towns(const char* password = "") {
    DatabaseSpec s;
    s.password = password;
    s.tables = {table("towns", {text("town", 30), memo("about")}, {primary({"town"})}),
                table("people", {counter("id"), text("town", 30)}, {primary({"id"})})};
    s.tables[1].properties = {PropertySet::textProperty("Description", "Everybody.")};
    s.relationships = {relation("lives in", "people", "towns", {{"town", "town"}}, kCascadeBoth)};
    s.queries = {{"all", {queryRow(0), queryRow(5, "towns"), queryRow(255)}, {}}};
    return s;
}

}  // namespace

class tst_database : public QObject {
    Q_OBJECT

 private slots:
    // Rows of full pages grow, shrink, grow further: they move, come home and move on, and keep their ids.
    void movesRows() {
        MadeDatabase file(notes());
        std::map<RowId, std::string> titles;
        for (int i = 0; i < 120; ++i)
            titles[file.insert("notes", note("t", std::to_string(i), grade(i % 7)))] = "t";
        const auto expectAll = [&] {
            std::map<RowId, std::string> seen;
            Row row;
            for (const auto rows = file["notes"].scan({1}); rows->next(row);)
                QVERIFY(seen.emplace(rows->rowId(), std::get<std::string>(row[0])).second);
            QVERIFY(seen == titles);
            expectSound(*file.db);
        };
        for (const auto& [title, body] :
             {std::pair<std::size_t, std::size_t>(20, 20), {1, 0}, {14, 20}, {20, 32}, {20, 60}, {20, 61}}) {
            int i = 0;
            for (auto& [id, text] : titles) {
                if (title == 14 && ++i % 3 != 0)
                    continue;
                text = repeated(title, static_cast<char>('a' + id.row % 26));
                file.set("notes", id, "title", text);
                file.set("notes", id, "body", body == 0 ? Value() : Value(repeated(body)));
            }
            expectAll();
        }
        while (titles.size() > 5) {
            const auto at = std::next(titles.begin(), static_cast<std::ptrdiff_t>(titles.size() * 7 % 5));
            file.erase("notes", at->first);
            titles.erase(at);
        }
        expectAll();
    }

    void findsByKey() {
        MadeDatabase file(notes());
        file.insert("notes", note("Köln", str("K"), grade(3)));
        file.insert("notes", note("koln", str("k2"), grade(3)));
        file.insert("notes", note("Bonn", str("B"), grade(3)));
        file.insert("notes", note("Bonn", str("B2"), grade(4)));
        file.insert("notes", note("none"));
        Table& t = file["notes"];
        const auto ids = [&](std::vector<std::size_t> positions, std::vector<Value> values) {
            QString out;
            for (const RowId id : t.lookup(t.indexOn(positions).value(), values)) {
                Row row;
                t.read(id, std::array<std::size_t, 1>{0}, row);
                out += QString::number(std::get<std::int32_t>(row[0]));
            }
            return out;
        };
        QCOMPARE(ids({2}, {str("k")}), "1");
        QCOMPARE(ids({2}, {str("B          ")}), "3");  // longer than the column, but for blanks
        QCOMPARE(ids({2}, {str("日")}), "");
        QCOMPARE(ids({2}, {repeated(300)}), "");
        QCOMPARE(ids({2}, {Null()}), "");
        QCOMPARE(ids({3}, {grade(3)}), "321");
        QCOMPARE(ids({3, 1}, {grade(3), str("BONN")}), "3");
        QCOMPARE(ids({3, 1}, {grade(3), str("köln")}), "1");
        QCOMPARE(ids({3, 1}, {grade(5), str("Bonn")}), "");
        QCOMPARE(ids({0}, {std::int32_t{4}}), "4");
        QVERIFY(!t.indexOn(std::array<std::size_t, 1>{1}));
        QVERIFY(!t.indexOn(std::array<std::size_t, 2>{1, 3}));
        // A unique index is found before a plain one on the same column.
        QCOMPARE(t.def().realIndexes[t.indexOn(std::array<std::size_t, 1>{0}).value()].flags & 1, 1);
    }

    void findsEnds() {
        MadeDatabase file(notes());
        Table& t = file["notes"];
        const std::size_t up = 3;    // sparse: grade ascending
        const std::size_t down = 2;  // pair: grade descending
        const std::size_t code = 1;
        for (const std::size_t i : {up, down, code}) {
            QVERIFY(!t.lowest(i));
            QVERIFY(!t.highest(i));
        }
        const RowId none = file.insert("notes", note("Null"));
        for (const std::size_t i : {up, down, code}) {
            QVERIFY(!t.lowest(i));
            QVERIFY(!t.highest(i));
        }
        const RowId low = file.insert("notes", note("low", str("z"), grade(-5)));
        const RowId high = file.insert("notes", note("high", str("a"), grade(7)));
        for (const std::size_t i : {up, down}) {
            QCOMPARE(t.lowest(i).value(), low);
            QCOMPARE(t.highest(i).value(), high);
        }
        QCOMPARE(t.lowest(code).value(), high);
        QCOMPARE(t.highest(code).value(), low);
        QCOMPARE(t.inOrder(up), (std::vector<RowId>{none, low, high}));
        QCOMPARE(t.inOrder(down), (std::vector<RowId>{high, low, none}));
    }

    void givesPagesBack() {
        MadeDatabase file(notes());
        const auto fillAndEmpty = [&] {
            file.change([&] {
                for (int i = 0; i < 300; ++i) {
                    Row row = note("n", std::to_string(i), grade(i), repeated(static_cast<std::size_t>(i) * 20));
                    file["notes"].insert(row);
                }
            });
            std::vector<RowId> ids = file["notes"].inOrder(0);
            file.change([&] {
                for (const RowId id : ids)
                    file["notes"].erase(id);
            });
            QCOMPARE(file.show("notes"), QString());
            QVERIFY(UsageMap(file.db->pager(), file["notes"].def().ownedMap).empty());
        };
        fillAndEmpty();
        const PageNo pages = file.db->pager().pageCount();
        fillAndEmpty();
        QCOMPARE(file.db->pager().pageCount(), pages);
        expectSound(*file.db);
    }

    void protectsWhatItCannotWrite() {
        MadeDatabase file(notes());
        file.insert("notes", note("n"));
        QVERIFY(file["notes"].writable());
        Table& objects = file["MSysObjects"];
        QVERIFY(!objects.writable());
        QCOMPARE(thrown([&] { file.change([&] {
                                  objects.erase({18, 0});
                              }); }).section(' ', 0, 1),
                 error(Errc::UnsupportedFeature, "MSysObjects"));

        // The same columns in the Turkish order.
        const PageNo page = file["notes"].def().page;
        const std::size_t firstColumn = 0x2B + 8 * file["notes"].def().realIndexes.size();
        const std::size_t columns = file["notes"].columns().size();
        file.db.reset();
        Bytes bytes = file.disk.content(kPath);
        for (std::size_t i = 0; i < columns; ++i)
            bytes[page * kPageSize + firstColumn + 18 * i + 9] = 0x1F;
        file.disk.setContent(kPath, bytes);
        file.open();
        QVERIFY(!file["notes"].writable());
        QCOMPARE(file.show("notes"), "1 \"n\" Null Null Null \"me\"\n");
        QVERIFY(!file["notes"].indexOn(std::array<std::size_t, 1>{2}));
        QVERIFY(file["notes"].indexOn(std::array<std::size_t, 1>{0}));
        QCOMPARE(thrown([&] { file.insert("notes", note("m")); }), error(Errc::UnsupportedSortOrder, "notes"));
        QVERIFY(file["types"].writable());
    }

    void chainsMayBeLong() {
        MadeDatabase file(tree());
        constexpr int kLength = 20000;
        file.change([&] {
            for (int i = 0; i < kLength; ++i) {
                Row row = {num(i), num(i == 0 ? 0 : i - 1)};
                file["tree"].insert(row);
            }
        });
        file.erase("tree", file.find("tree", "id", num(0)));
        QCOMPARE(file["tree"].rowCount(), 0U);
        expectSound(*file.db);
    }

    void isSharedWithinTheProcess() {
        MemoryDisk disk;
        createDatabase(disk, kPath, towns());
        const OpenOptions writer{.password = {}, .readOnly = false, .disk = &disk};
        const OpenOptions reader{.password = {}, .readOnly = true, .disk = &disk};
        auto first = Database::open(kPath, writer);
        QCOMPARE(Database::open(kPath, writer), first);
        QCOMPARE(Database::open(kPath, reader), first);
        {
            Transaction t(*first);
            Row row = {str("Rome"), Null()};
            first->table("towns").insert(row);
            t.commit();
        }
        QCOMPARE(Database::open(kPath, writer)->table("towns").rowCount(), 1U);
        first.reset();

        first = Database::open(kPath, reader);
        QCOMPARE(first->table("towns").rowCount(), 1U);
        QCOMPARE(Database::open(kPath, reader), first);
        QCOMPARE(thrown([&] { Database::open(kPath, writer); }), error(Errc::Busy, "", kPath));
        first.reset();
        QVERIFY(!Database::open(kPath, writer)->readOnly());

        // The same name on another disk is another file.
        MemoryDisk other;
        createDatabase(other, kPath, towns());
        first = Database::open(kPath, writer);
        QVERIFY(Database::open(kPath, {.password = {}, .readOnly = false, .disk = &other}) != first);
        QCOMPARE(thrown([&] { Database::open("none.mdb", writer); }), error(Errc::FileNotFound, "", "none.mdb"));
    }

    void asksForThePassword_data() {
        addColumns<bool, QString, bool>("hasOne", "given", "opens");
        addRow("right", true, QString::fromUtf8("Paßwort"), true);
        addRow("none given", true, QString(), false);
        addRow("another case", true, QString::fromUtf8("paßwort"), false);
        addRow("a part of it", true, QString::fromUtf8("Paßwor"), false);
        addRow("more than it", true, QString::fromUtf8("Paßwort "), false);
        addRow("a character that the code page lacks", true, QString::fromUtf8("日"), false);
        addRow("file without one", false, QString("any"), true);
    }
    void asksForThePassword() {
        QFETCH(bool, hasOne);
        QFETCH(QString, given);
        MemoryDisk disk;
        createDatabase(disk, kPath, towns(hasOne ? "Pa\u00DFwort" : ""));
        const auto attempt = [&] {
            return thrown(
                [&] { Database::open(kPath, {.password = given.toStdString(), .readOnly = false, .disk = &disk}); });
        };
        QFETCH(bool, opens);
        const QString expected = opens ? "nothing" : error(Errc::WrongPassword, "", kPath);
        QCOMPARE(attempt(), expected);
        // Neither does a file that is open already let the wrong one in.
        const auto db = Database::open(kPath, {.password = "Pa\u00DFwort", .readOnly = false, .disk = &disk});
        QCOMPARE(attempt(), expected);
    }

    void findsByNameWhateverTheCase() {
        MadeDatabase file(towns());
        QVERIFY(file.db->hasTable("TOWNS"));
        QVERIFY(!file.db->hasTable("all"));
        QVERIFY(!file.db->hasTable("lives in"));
        QCOMPARE(&file["Towns"], &file["towns "]);
        QCOMPARE(file["towns"].name(), std::string("towns"));
        QCOMPARE(thrown([&] { static_cast<void>(file["town"]); }), error(Errc::NoSuchTable, "town"));
        QVERIFY(file.db->query("ALL").has_value());
        QVERIFY(!file.db->query("towns"));
        QCOMPARE(file.db->properties("people").object()->find("description")->text(), std::string("Everybody."));
        QVERIFY(file.db->properties("MSysDb").blocks.empty());
        QVERIFY(file.db->properties("nobody").blocks.empty());
        QCOMPARE(file["msysobjects"].rowCount(), 12U);
    }

    // The two tables lie the other way round in a third of all real files.
    void findsSystemTablesByName() {
        MadeDatabase file(towns());
        const auto row = [&](const char* name) { return file.find("MSysObjects", "Name", str(name)); };
        const RowId queries = row("MSysQueries");
        const RowId relationships = row("MSysRelationships");
        file.db.reset();
        Bytes bytes = file.disk.content(kPath);
        // Swap the definitions and the numbers in the catalog, which are the first field of the rows.
        std::swap_ranges(bytes.begin() + 4 * 2048, bytes.begin() + 5 * 2048, bytes.begin() + 5 * 2048);
        for (const auto& [id, number] : {std::pair(queries, 5), std::pair(relationships, 4)}) {
            const std::size_t slot = id.page * kPageSize + 10 + 2U * id.row;
            const std::size_t offset = bytes[slot] + 256U * (bytes[slot + 1] & 0x1FU);
            bytes[id.page * kPageSize + offset + 1] = static_cast<std::uint8_t>(number);
        }
        // Rows and index pages name the owner; the other definitions know neither table.
        for (std::size_t page = 13; page < bytes.size() / kPageSize; ++page)
            if (std::uint8_t& owner = bytes[page * kPageSize + 4]; owner == 4 || owner == 5)
                owner = static_cast<std::uint8_t>(9 - owner);
        file.disk.setContent(kPath, bytes);
        file.open();
        QCOMPARE(file.db->query("all")->rows.size(), std::size_t{3});
        QCOMPARE(file.db->relationships()[0].columns[0].first, std::string("town"));
    }
};

QTEST_APPLESS_MAIN(tst_database)
#include "tst_database.moc"
