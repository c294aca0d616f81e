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

// Departments, their people (kept in a descending index), and a log of theirs without cascades.
DatabaseSpec company() {
    DatabaseSpec s;
    s.tables = {
        table("departments", {text("name", 20), number("rooms")}, {primary({"name"})}),
        table("people", {number("id"), text("name", 10), text("department", 20)},
              {primary({"id"}), index("by department", {{"department", false}})}),
        table("log", {number("id"), number("person"), text("department", 20)}, {primary({"id"})}),
    };
    s.relationships = {
        relation("works in", "people", "departments", {{"department", "name"}}, kCascadeBoth),
        relation("log of person", "log", "people", {{"person", "id"}}, 0),
        relation("log of department", "log", "departments", {{"department", "name"}}, kCascadeUpdate),
    };
    return s;
}

// Orders with lines and their parts: keys that grow from table to table.
DatabaseSpec orders() {
    DatabaseSpec s;
    s.tables = {
        table("orders", {text("no", 10)}, {primary({"no"})}),
        table("lines", {text("no", 10), number("line"), memo("text")}, {primary({"no", "line"})}),
        // Its columns are in another order than those that it refers to.
        table("parts", {number("line"), text("no", 10), number("part")}, {primary({"part"})}),
    };
    s.relationships = {
        relation("lines of order", "lines", "orders", {{"no", "no"}}, kCascadeBoth),
        relation("parts of line", "parts", "lines", {{"line", "line"}, {"no", "no"}}, kCascadeBoth),
    };
    return s;
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
    void everyTypeComesBack() {
        MadeDatabase file(notes());
        Guid guid;
        for (std::size_t i = 0; i < 16; ++i)
            guid.bytes[i] = static_cast<std::uint8_t>(i * 17);
        const std::vector<Row> rows = {
            {true, std::uint8_t{255}, std::int16_t{-32768}, std::int32_t{-2147483647 - 1}, Currency{-12345678}, -1.5F,
             0.1, Date{-1.25}, Bytes{0, 1, 255}, std::string("Köln € \u0081"), Bytes{9, 0}, std::string("ß\r\n"), guid},
            {false, std::uint8_t{0}, std::int16_t{0}, std::int32_t{0}, Currency{0}, 0.0F, -0.0, Date{0}, Bytes{},
             std::string(), Bytes{}, std::string(), Guid()},
            {false, Null(), Null(), Null(), Null(), Null(), Null(), Null(), Null(), Null(), Null(), Null(), Null()},
        };
        QString expected;
        for (const Row& row : rows) {
            file.insert("types", row);
            QStringList fields;
            for (const Value& v : row)
                fields += QString::fromStdString(toDebugString(v));
            expected += fields.join(' ') + '\n';
        }
        QCOMPARE(file.show("types"), expected);
        file.reopen();
        QCOMPARE(file.show("types"), expected);
        QCOMPARE(file["types"].rowCount(), 3U);

        // A Boolean has no Null; what is not wanted is not in the row.
        Row row = rows[2];
        row[0] = Null();
        const RowId id = file.insert("types", row);
        Row out;
        file["types"].read(id, std::array<std::size_t, 2>{9, 0}, out);
        QCOMPARE(out, (Row{Null(), false}));
        expectSound(*file.db);
    }

    void refuses_data() {
        addColumns<Row, QString>("row", "refusal");
        const auto with = [](std::size_t position, Value value) {
            Row row = note("fresh", str("fresh"));
            row[position] = std::move(value);
            return row;
        };
        addRow("same number", with(0, std::int32_t{1}), error(Errc::DuplicateKey, "notes", "PrimaryKey"));
        addRow("same code", with(2, str("a1")), error(Errc::DuplicateKey, "notes", "code"));
        addRow("same code but for case and blanks", with(2, str("A1  ")), error(Errc::DuplicateKey, "notes", "code"));
        addRow("Null where required", with(5, Null()), error(Errc::RequiredNull, "notes", "owner"));
        addRow("empty where not allowed", with(2, str("")), error(Errc::ZeroLength, "notes", "code"));
        addRow("empty where required", with(5, str("")), "nothing");
        addRow("text too long", with(1, repeated(21)), error(Errc::TooLong, "notes", "title"));
        addRow("text as long as allowed, in characters", with(1, str("ÄÖÜäöüßéèêÄÖÜäöüßéèê")), "nothing");
        addRow("a character that the code page lacks", with(1, str("日本")), error(Errc::NotRepresentable, "", "日"));
        addRow("the same in a memo", with(4, str("x\u0100")), error(Errc::NotRepresentable, "", "\u0100"));
        addRow("a number for a text", with(1, 1.0), error(Errc::TypeMismatch, "notes", "title"));
        addRow("bytes for a memo", with(4, Bytes{1}), error(Errc::TypeMismatch, "notes", "body"));
    }
    void refuses() {
        QFETCH(Row, row);
        MadeDatabase file(notes());
        file.insert("notes", note("first", str("a1")));
        const QString before = file.show("notes");
        QTEST(thrown([&] { file.insert("notes", row); }), "refusal");
        QFETCH(QString, refusal);
        if (refusal != "nothing") {
            QCOMPARE(file.show("notes"), before);
            QCOMPARE(file["notes"].rowCount(), 1U);
        }
        expectSound(*file.db);
    }

    void refusesUpdates() {
        MadeDatabase file(notes());
        const RowId first = file.insert("notes", note("first", str("a1")));
        file.insert("notes", note("second", str("b2")));
        const QString before = file.show("notes");
        const auto refusal = [&](const char* columnName, const Value& value) {
            return thrown([&] { file.set("notes", first, columnName, value); });
        };
        QCOMPARE(refusal("code", str("B2 ")), error(Errc::DuplicateKey, "notes", "code"));
        QCOMPARE(refusal("id", std::int32_t{2}), error(Errc::DuplicateKey, "notes", "PrimaryKey"));
        QCOMPARE(refusal("id", Null()), error(Errc::NullInKey, "notes", "PrimaryKey"));
        QCOMPARE(refusal("owner", Null()), error(Errc::RequiredNull, "notes", "owner"));
        QCOMPARE(refusal("title", repeated(21)), error(Errc::TooLong, "notes", "title"));
        QCOMPARE(file.show("notes"), before);
        QCOMPARE(refusal("code", str("A1")), "nothing");  // its own key

        Row wide;
        for (int i = 0; i < 8; ++i)
            wide.emplace_back(repeated(255));
        QCOMPARE(thrown([&] { file.insert("wide", wide); }), error(Errc::RowTooLarge, "wide"));
        wide[7] = repeated(100);
        const RowId id = file.insert("wide", wide);
        QCOMPARE(thrown([&] { file.set("wide", id, "h", repeated(255)); }), error(Errc::RowTooLarge, "wide"));
        QCOMPARE(file["wide"].rowCount(), 1U);
        expectSound(*file.db);
    }

    void numbersRows() {
        MadeDatabase file(notes());
        const auto next = [&](Value id = {}) {
            Row row = note("n");
            row[0] = std::move(id);
            file.change([&] { file["notes"].insert(row); });
            return std::get<std::int32_t>(row[0]);
        };
        QCOMPARE(next(), 1);
        QCOMPARE(next(), 2);
        QCOMPARE(next(std::int32_t{40}), 40);
        QCOMPARE(next(), 41);
        file.erase("notes", file.find("notes", "id", std::int32_t{41}));
        file.reopen();
        QCOMPARE(next(), 42);
        // A lower number sets the counter back, into the rows that are there.
        QCOMPARE(next(std::int32_t{39}), 39);
        QCOMPARE(thrown([&] { next(); }), error(Errc::DuplicateKey, "notes", "PrimaryKey"));
        QCOMPARE(next(std::int32_t{50}), 50);
        // A statement that is undone gives its number back; an update raises the counter.
        {
            Transaction t(*file.db);
            Row row = note("lost");
            file["notes"].insert(row);
            QCOMPARE(std::get<std::int32_t>(row[0]), 51);
        }
        QCOMPARE(next(), 51);
        file.set("notes", file.find("notes", "id", std::int32_t{51}), "id", std::int32_t{60});
        QCOMPARE(next(), 61);
        expectSound(*file.db);
    }

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
        for (const auto& [title, body] : {std::pair<std::size_t, std::size_t>(20, 20), {1, 0}, {14, 20}, {20, 32}}) {
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

    void updatesCascade() {
        MadeDatabase file(company());
        const RowId sales = file.insert("departments", {str("Sales"), num(3)});
        file.insert("departments", {str("Plant"), num(4)});
        file.insert("people", {num(1), str("Ann"), str("Sales")});
        file.insert("people", {num(2), str("Bob"), str("Plant")});
        file.insert("people", {num(3), str("Cid"), str("sales")});
        file.insert("log", {num(1), num(3), str("Sales")});

        file.set("departments", sales, "name", str("Field Sales"));
        QCOMPARE(file.show("people"),
                 QString("1 \"Ann\" \"Field Sales\"\n2 \"Bob\" \"Plant\"\n3 \"Cid\" \"Field Sales\"\n"));
        QCOMPARE(file.show("log"), QString("1 3 \"Field Sales\"\n"));
        // Another spelling of the same key reaches the children too.
        file.set("departments", sales, "name", str("FIELD SALES "));
        QCOMPARE(file.show("log"), QString("1 3 \"FIELD SALES \"\n"));
        QVERIFY(file.show("people").contains("Cid\" \"FIELD SALES \""));
        // What is not part of the key does not.
        file.set("departments", sales, "rooms", num(5));
        QCOMPARE(thrown([&] { file.set("departments", sales, "name", str("plant")); }),
                 error(Errc::DuplicateKey, "departments", "PrimaryKey"));
        QVERIFY(file.show("people").contains("Cid\" \"FIELD SALES \""));
        expectSound(*file.db);
    }

    void childrenHoldTheirParents() {
        MadeDatabase file(company());
        const RowId sales = file.insert("departments", {str("Sales"), num(3)});
        const RowId ann = file.insert("people", {num(1), str("Ann"), str("Sales")});
        const RowId entry = file.insert("log", {num(1), num(1), str("Sales")});
        QCOMPARE(thrown([&] { file.erase("people", ann); }), error(Errc::ChildrenExist, "log"));
        QCOMPARE(thrown([&] { file.set("people", ann, "id", num(2)); }), error(Errc::ChildrenExist, "log"));
        // The cascade that would take the person meets the same refusal, and takes nothing.
        QCOMPARE(thrown([&] { file.erase("departments", sales); }), error(Errc::ChildrenExist, "log"));
        QCOMPARE(file["people"].rowCount(), 1U);
        file.set("log", entry, "department", Null());
        QCOMPARE(thrown([&] { file.erase("departments", sales); }), error(Errc::ChildrenExist, "log"));
        file.set("people", ann, "id", num(1));
        file.set("log", entry, "person", Null());
        file.set("people", ann, "id", num(2));
        file.erase("departments", sales);
        QCOMPARE(file.show("people"), QString());
        QCOMPARE(file.show("log"), QString("1 Null Null\n"));
        expectSound(*file.db);
    }

    void keysOfSeveralColumns() {
        MadeDatabase file(orders());
        file.insert("orders", {str("A")});
        file.insert("orders", {str("B")});
        for (const char* no : {"A", "B"})
            for (int line = 1; line <= 2; ++line) {
                file.insert("lines", {str(no), num(line), std::string(50, 'm')});
                file.insert("parts", {num(line), str(no), num(*no * 10 + line)});
            }
        QCOMPARE(thrown([&] {
                     file.insert("parts", {num(3), str("A"), num(1)});
                 }),
                 error(Errc::ParentRequired, "lines"));
        file.insert("parts", {num(3), Null(), num(1)});  // half a key refers to nothing
        file.set("orders", file.find("orders", "no", str("A")), "no", str("AA"));
        QCOMPARE(file.show("parts"), QString("1 \"AA\" 651\n2 \"AA\" 652\n1 \"B\" 661\n2 \"B\" 662\n3 Null 1\n"));
        file.set("lines", file.find("lines", "no", str("B")), "line", num(7));
        QCOMPARE(file.show("parts"), QString("1 \"AA\" 651\n2 \"AA\" 652\n7 \"B\" 661\n2 \"B\" 662\n3 Null 1\n"));
        file.erase("orders", file.find("orders", "no", str("AA")));
        QCOMPARE(file.show("parts"), QString("7 \"B\" 661\n2 \"B\" 662\n3 Null 1\n"));
        QCOMPARE(file["lines"].rowCount(), 2U);
        expectSound(*file.db);
    }

    void rowsThatReferToTheirOwnTable() {
        MadeDatabase file(tree());
        const RowId root = file.insert("tree", {num(1), num(1)});  // its own parent
        file.insert("tree", {num(2), num(1)});
        file.insert("tree", {num(3), num(2)});
        file.insert("tree", {num(4), Null()});
        QCOMPARE(thrown([&] { file.insert("tree", {num(5), num(6)}); }), error(Errc::ParentRequired, "tree"));
        file.set("tree", root, "id", num(10));
        QCOMPARE(file.show("tree"), QString("10 10\n2 10\n3 2\n4 Null\n"));
        file.set("tree", file.find("tree", "id", num(2)), "id", num(20));
        QCOMPARE(file.show("tree"), QString("10 10\n20 10\n3 20\n4 Null\n"));
        file.set("tree", root, "parent", num(3));  // a circle
        file.erase("tree", file.find("tree", "id", num(20)));
        QCOMPARE(file.show("tree"), QString("4 Null\n"));
        expectSound(*file.db);
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

    // One column refers to two tables that both follow a third.
    void waysMayMeetAgain() {
        DatabaseSpec s;
        s.tables = {table("top", {text("key", 10)}, {primary({"key"})}),
                    table("left", {text("key", 10)}, {primary({"key"})}),
                    table("right", {text("key", 10)}, {primary({"key"})}),
                    table("bottom", {number("id"), text("key", 10)}, {primary({"id"})})};
        s.relationships = {relation("a", "left", "top", {{"key", "key"}}, kCascadeBoth),
                           relation("b", "right", "top", {{"key", "key"}}, kCascadeBoth),
                           relation("c", "bottom", "left", {{"key", "key"}}, kCascadeBoth),
                           relation("d", "bottom", "right", {{"key", "key"}}, kCascadeBoth)};
        MadeDatabase file(s);
        const RowId top = file.insert("top", {str("x")});
        file.insert("left", {str("x")});
        file.insert("right", {str("x")});
        file.insert("bottom", {num(1), str("x")});
        file.insert("bottom", {num(2), str("X")});
        file.set("top", top, "key", str("yy"));
        QCOMPARE(file.show("bottom"), QString("1 \"yy\"\n2 \"yy\"\n"));
        expectSound(*file.db);
        file.erase("top", top);
        QCOMPARE(file.show("bottom") + file.show("left") + file.show("right"), QString());
        expectSound(*file.db);
    }

    void cascadesMayFail() {
        DatabaseSpec s;
        IndexSpec unique = index("one per a", {{"a", true}});
        unique.unique = true;
        s.tables = {table("wide", {text("a", 20), text("b", 20)}, {primary({"a", "b"})}),
                    table("narrow", {text("a", 5), text("b", 20)}, {unique}),
                    table("other", {text("a", 20)}, {primary({"a"})})};
        s.relationships = {relation("r", "narrow", "wide", {{"a", "a"}, {"b", "b"}}, kCascadeBoth),
                           relation("o", "narrow", "other", {{"a", "a"}}, kCascadeUpdate)};
        MadeDatabase file(s);
        for (const char* a : {"one", "two"}) {
            file.insert("other", {str(a)});
            file.insert("wide", {str(a), str("b")});
            file.insert("narrow", {str(a), str("b")});
        }
        const QString before = file.show("wide") + file.show("narrow");
        const RowId one = file.find("wide", "a", str("one"));
        const auto setBoth = [&](const char* a, const char* b) {
            return thrown([&] {
                file.change([&] {
                    file["wide"].update(one, std::array<std::size_t, 2>{0, 1}, std::array<Value, 2>{str(a), str(b)});
                });
            });
        };
        QCOMPARE(setBoth("two", "c"), error(Errc::CascadeDuplicate, "narrow", "one per a"));
        QCOMPARE(setBoth("longer", "c"), error(Errc::TooLong, "narrow", "a"));
        QCOMPARE(setBoth("three", "b"), error(Errc::ParentRequired, "other"));
        QCOMPARE(file.show("wide") + file.show("narrow"), before);
        QCOMPARE(setBoth("one", "c"), "nothing");
        QCOMPARE(file.show("narrow"), QString("\"one\" \"c\"\n\"two\" \"b\"\n"));
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

    void readsOnlyWhenAskedTo() {
        MemoryDisk disk;
        createDatabase(disk, kPath, towns());
        const Bytes before = disk.content(kPath);
        {
            const auto db = Database::open(kPath, {.password = {}, .readOnly = true, .disk = &disk});
            QVERIFY(db->readOnly());
            QVERIFY(!db->table("towns").writable());
            Row row = {str("Rome"), Null()};
            QCOMPARE(thrown([&] { Transaction t(*db); }).section(' ', 0, 0),
                     QString::number(static_cast<int>(Errc::ReadOnly)));
            QCOMPARE(thrown([&] { db->table("towns").insert(row); }).section(' ', 0, 0),
                     QString::number(static_cast<int>(Errc::ReadOnly)));
        }
        QCOMPARE(disk.content(kPath), before);
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
