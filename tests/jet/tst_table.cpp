// SPDX-License-Identifier: MIT
#include "jet/table.h"

#include <QTest>
#include <map>

#include "jet/made_database.h"
#include "jet/pages/usage_map.h"
#include "rows.h"

using namespace made;

namespace {

// A table of notes with an index of each kind, and one of every column type.
DatabaseSpec spec() {
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

}  // namespace

class TestTable : public QObject {
    Q_OBJECT

 private slots:
    void everyTypeComesBack() {
        MadeDatabase file(spec());
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
        MadeDatabase file(spec());
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
        MadeDatabase file(spec());
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
        MadeDatabase file(spec());
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
        MadeDatabase file(spec());
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
        MadeDatabase file(spec());
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
        MadeDatabase file(spec());
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
        MadeDatabase file(spec());
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
        MadeDatabase file(spec());
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

    // A cascade may have taken a row that the statement names too.
    void erasesARowOnce() {
        MadeDatabase file(spec());
        const RowId a = file.insert("notes", note("a"));
        const RowId b = file.insert("notes", note("b"));
        file.erase("notes", a);
        file.erase("notes", a);
        file.erase("notes", b);
        file.erase("notes", b);
        QCOMPARE(file["notes"].rowCount(), 0U);
        QCOMPARE(thrown([&] {
                     Row row;
                     file["notes"].read(b, {}, row);
                 }).section(' ', 0, 0),
                 QString::number(static_cast<int>(Errc::Corrupt)));
        expectSound(*file.db);
    }
};

QTEST_APPLESS_MAIN(TestTable)
#include "tst_table.moc"
