// SPDX-License-Identifier: MIT
#include "jet/table.h"

#include <QTest>
#include <map>

#include "jet/made_database.h"
#include "jet/usage_map.h"
#include "jet/verify.h"

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
Value str(const char* s) {
    return std::string(s);
}
Value grade(int g) {
    return static_cast<std::int16_t>(g);
}
std::string repeated(std::size_t n, char c = 'x') {
    return std::string(n, c);
}

void expectSound(const MadeDatabase& file) {
    for (const std::string& problem : verify(*file.db))
        QFAIL(problem.c_str());
}

}  // namespace

class TestTable : public QObject {
    Q_OBJECT

 private slots:
    void everyTypeComesBack();
    void refuses_data();
    void refuses();
    void refusesUpdates();
    void nullsAreNoDuplicates();
    void numbersRows();
    void takesBackAStatement();
    void movesRowsAndKeepsTheirIds();
    void keepsLongValues_data();
    void keepsLongValues();
    void findsByKey();
    void findsEnds();
    void ordersRows();
    void givesPagesBack();
    void protectsWhatItCannotWrite();
    void erasesARowOnce();
};

void TestTable::everyTypeComesBack() {
    MadeDatabase file(spec());
    Guid guid;
    for (std::size_t i = 0; i < 16; ++i)
        guid.bytes[i] = static_cast<std::uint8_t>(i * 17);
    const std::vector<Row> rows = {
        {true, std::uint8_t{255}, std::int16_t{-32768}, std::int32_t{-2147483647 - 1}, Currency{-12345678}, -1.5F, 0.1,
         Date{-1.25}, Bytes{0, 1, 255}, std::string("Köln € \u0081"), Bytes{9, 0}, std::string("ß\r\n"), guid},
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
    expectSound(file);
}

void TestTable::refuses_data() {
    QTest::addColumn<Row>("row");
    QTest::addColumn<QString>("refusal");
    const auto with = [](std::size_t position, Value value) {
        Row row = note("fresh", str("fresh"));
        row[position] = std::move(value);
        return row;
    };
    QTest::newRow("same number") << with(0, std::int32_t{1}) << error(Errc::DuplicateKey, "notes", "PrimaryKey");
    QTest::newRow("same code") << with(2, str("a1")) << error(Errc::DuplicateKey, "notes", "code");
    QTest::newRow("same code but for case and blanks")
        << with(2, str("A1  ")) << error(Errc::DuplicateKey, "notes", "code");
    QTest::newRow("Null where required") << with(5, Null()) << error(Errc::RequiredNull, "notes", "owner");
    QTest::newRow("empty where not allowed") << with(2, str("")) << error(Errc::ZeroLength, "notes", "code");
    QTest::newRow("empty where required") << with(5, str("")) << "nothing";
    QTest::newRow("text too long") << with(1, repeated(21)) << error(Errc::TooLong, "notes", "title");
    QTest::newRow("text as long as allowed, in characters") << with(1, str("ÄÖÜäöüßéèêÄÖÜäöüßéèê")) << "nothing";
    QTest::newRow("a character that the code page lacks")
        << with(1, str("日本")) << error(Errc::NotRepresentable, "", "日");
    QTest::newRow("the same in a memo") << with(4, str("x\u0100")) << error(Errc::NotRepresentable, "", "\u0100");
    QTest::newRow("a number for a text") << with(1, 1.0) << error(Errc::TypeMismatch, "notes", "title");
    QTest::newRow("bytes for a memo") << with(4, Bytes{1}) << error(Errc::TypeMismatch, "notes", "body");
}

void TestTable::refuses() {
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
    expectSound(file);
}

void TestTable::refusesUpdates() {
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
    expectSound(file);
}

void TestTable::nullsAreNoDuplicates() {
    MadeDatabase file(spec());
    const RowId a = file.insert("notes", note("a"));
    file.insert("notes", note("b"));
    QCOMPARE(file["notes"].rowCount(), 2U);
    file.set("notes", a, "code", str("x"));
    file.set("notes", a, "code", Null());
    expectSound(file);
}

void TestTable::numbersRows() {
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
    expectSound(file);
}

void TestTable::takesBackAStatement() {
    MadeDatabase file(spec());
    file.insert("notes", note("kept", str("k"), grade(1), repeated(5000)));
    const QString before = file.show("notes");
    const auto keys = file["notes"].def().realIndexes[1].distinctKeys;
    const PageNo pages = file.db->pager().pageCount();
    QCOMPARE(thrown([&] {
                 file.change([&] {
                     for (int i = 0; i < 200; ++i) {
                         Row row = note("lost", std::to_string(i), grade(i), repeated(3000));
                         file["notes"].insert(row);
                     }
                     Row row = note("again", str("k"));
                     file["notes"].insert(row);
                 });
             }),
             error(Errc::DuplicateKey, "notes", "code"));
    QCOMPARE(file.show("notes"), before);
    QCOMPARE(file["notes"].rowCount(), 1U);
    QCOMPARE(file["notes"].def().realIndexes[1].distinctKeys, keys);
    QCOMPARE(file.db->pager().pageCount(), pages);
    file.insert("notes", note("next"));
    QCOMPARE(file["notes"].rowCount(), 2U);
    expectSound(file);
}

void TestTable::movesRowsAndKeepsTheirIds() {
    MadeDatabase file(spec());
    std::vector<RowId> ids;
    std::vector<std::string> titles;
    for (int i = 0; i < 120; ++i) {
        titles.push_back("t" + std::to_string(i));
        ids.push_back(file.insert("notes", note(titles.back().c_str(), Null(), grade(i % 7))));
    }
    const auto expectAll = [&] {
        std::map<RowId, std::string> seen;
        const auto rows = file["notes"].scan({1});
        Row row;
        while (rows->next(row))
            QVERIFY(seen.emplace(rows->rowId(), std::get<std::string>(row[0])).second);
        QCOMPARE(seen.size(), ids.size());
        for (std::size_t i = 0; i < ids.size(); ++i)
            QCOMPARE(seen.at(ids[i]), titles[i]);
        expectSound(file);
    };
    // Grow all rows in full pages, shrink some, grow again: rows move, move on and come home.
    const std::array<std::size_t, 4> steps = {20, 1, 14, 20};
    for (const std::size_t length : steps) {
        for (std::size_t i = 0; i < ids.size(); i += length == 14 ? 3 : 1) {
            titles[i] = std::string(length, static_cast<char>('a' + i % 26));
            file.set("notes", ids[i], "title", titles[i]);
            file.set("notes", ids[i], "body", length == 1 ? Value() : Value(repeated(20, 'b')));
        }
        expectAll();
    }
    // Both places of a moved row go when it is erased.
    while (ids.size() > 5) {
        const std::size_t at = ids.size() * 7 % 5;
        file.erase("notes", ids[at]);
        ids.erase(ids.begin() + static_cast<std::ptrdiff_t>(at));
        titles.erase(titles.begin() + static_cast<std::ptrdiff_t>(at));
    }
    expectAll();
}

void TestTable::keepsLongValues_data() {
    QTest::addColumn<std::size_t>("length");
    for (const std::size_t length : {0, 1, 32, 33, 1731, 1732, 2032, 2033, 4064, 100000})
        QTest::addRow("%zu bytes", length) << length;
}

void TestTable::keepsLongValues() {
    QFETCH(std::size_t, length);
    MadeDatabase file(spec());
    std::string body;
    for (std::size_t i = 0; i < length; ++i)
        body += static_cast<char>('a' + i % 23);
    const RowId id = file.insert("notes", note("n", Null(), Null(), body));
    file.insert("notes", note("other", Null(), Null(), repeated(100)));
    const auto stored = [&] {
        Row row;
        file["notes"].read(id, std::array<std::size_t, 1>{4}, row);
        return std::get<std::string>(row[0]);
    };
    QCOMPARE(stored(), body);
    file.set("notes", id, "title", str("renamed"));
    file.reopen();
    QCOMPARE(stored(), body);
    expectSound(file);
    for (const std::size_t other : {40UL, 5000UL, 0UL, 2000UL, length}) {
        file.set("notes", id, "body", repeated(other, 'z'));
        QCOMPARE(stored(), repeated(other, 'z'));
    }
    file.set("notes", id, "body", Null());
    file.erase("notes", id);
    expectSound(file);
}

void TestTable::findsByKey() {
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

void TestTable::findsEnds() {
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

void TestTable::ordersRows() {
    MadeDatabase file(spec());
    for (int i = 0; i < 500; ++i)
        file.change([&] {
            Row row =
                note(("t" + std::to_string(i * 7919 % 1000)).c_str(), std::to_string(i * 31 % 500), grade(i * 17 % 11));
            file["notes"].insert(row);
        });
    Table& t = file["notes"];
    std::int16_t last = 32767;
    std::string title;
    for (const RowId id : t.inOrder(2)) {
        Row row;
        t.read(id, std::array<std::size_t, 2>{3, 1}, row);
        const auto g = std::get<std::int16_t>(row[0]);
        const auto& s = std::get<std::string>(row[1]);
        QVERIFY(g < last || (g == last && compareText(title, s) <= 0));
        last = g;
        title = s;
    }
    QCOMPARE(t.inOrder(2).size(), std::size_t{500});
    expectSound(file);
}

void TestTable::givesPagesBack() {
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
    expectSound(file);
}

void TestTable::protectsWhatItCannotWrite() {
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
void TestTable::erasesARowOnce() {
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
    expectSound(file);
}

QTEST_APPLESS_MAIN(TestTable)
#include "tst_table.moc"
