// SPDX-License-Identifier: MIT
#include "jet/maintenance/create.h"

#include <QTest>

#include "jet/disk/pager.h"
#include "jet/made_database.h"
#include "jet/pages/data_page.h"
#include "rows.h"

using namespace made;

namespace {

// A small budget-like file: a parent, a child with a memo, one query.
DatabaseSpec small() {
    DatabaseSpec s;
    s.password = "abc";
    s.created = 36526.5;
    s.pages = 40;
    IndexSpec byCode = index("code", {{"code", true}});
    byCode.unique = true;
    s.tables = {table("towns", {text("town", 50)}, {primary({"town"})}),
                table("people", {counter("id"), memo("notes"), text("town", 50, {}), column("code", ColumnType::Long)},
                      {index("code 2", {{"code", true}}), primary({"id"}), byCode})};
    s.relationships = {relation("lives in", "people", "towns", {{"town", "town"}}, kCascadeBoth)};
    s.queries = {{"all",
                  {queryRow(0), queryRow(1, {}, {}, std::int16_t{1}), queryRow(5, "towns"),
                   queryRow(6, "upper", std::string(40, 'u')), queryRow(255)},
                  {}}};
    return s;
}

QByteArray hexOf(ByteView bytes) {
    return QByteArray(reinterpret_cast<const char*>(bytes.data()), static_cast<qsizetype>(bytes.size())).toHex();
}

QByteArray page(const Bytes& file, PageNo number) {
    return hexOf(ByteView(file).subspan(number * kPageSize, kPageSize));
}

// The stored bytes of a row.
QByteArray row(const Bytes& file, PageNo number, std::size_t slot) {
    const DataPageView view(ByteView(file).subspan(number * kPageSize, kPageSize), number);
    return hexOf(view.row(slot));
}

QByteArray h(const char* spaced) {
    return QByteArray(spaced).replace(' ', "").toLower();
}

// Twice as many columns as a page of definition holds, more indexes than a page has map rows.
TableSpec large() {
    TableSpec t = table("large", {counter("id")}, {primary({"id"})});
    for (int i = 0; i < 120; ++i) {
        const std::string name = "a column with a long name, number " + std::to_string(i);
        t.columns.push_back(i % 5 == 0   ? memo(name)
                            : i % 5 == 1 ? text(name, 30)
                            : i % 5 == 2 ? column(name, ColumnType::Boolean)
                                         : column(name, ColumnType::Double));
        if (i % 5 == 1)
            t.indexes.push_back(index("index " + std::to_string(i), {{name, i % 2 == 0}, {"id", true}}));
    }
    return t;
}

}  // namespace

class TestCreate : public QObject {
    Q_OBJECT

 private slots:
    void writesTheBytesOfTheFormat() {
        MemoryDisk disk;
        createDatabase(disk, kPath, small());
        const Bytes f = disk.content(kPath);
        QCOMPARE(f.size(), std::size_t{40 * 2048});

        // Under the mask: the two global maps, the four definitions, order and code page, the password "abc".
        QCOMPARE(page(f, 0).mid(0, 56), h("00010000 5374616E64617264 204A6574 20444200 00000000 B56E0362"));
        QCOMPARE(page(f, 0).mid(0x42 * 2, 40), h("E7998F375D449CFAC65E28E613B68A6054947B36"));
        // Free are the pages from 33 on, also those that the file does not have; the second map is empty.
        QCOMPARE(page(f, 1).mid(0, 28), h("0101E806 01000000 0200 7B07 F606"));
        QCOMPARE(row(f, 1, 0), h("00 00000000 00000000 FE") + QByteArray(123 * 2, 'f'));
        QCOMPARE(row(f, 1, 1), QByteArray(133 * 2, '0'));

        // Definitions: MSysObjects begins so; its last column and indexes.
        QCOMPARE(
            page(f, 2).mid(0, 0x2B * 2),
            h("02015643 00000000 C4020000 0C000000 00000000 53 1100 0B00 1100 02000000 02000000 00060000 01060000"));
        QVERIFY(page(f, 2).contains(h("0C 0800 0200 0000 0000 0904 E404 12 0000 0000")));
        QVERIFY(page(f, 2).contains(
            h("01000000 01000000 00 FFFFFFFF 00000000 04 04 01 00000000 00000000 00 FFFFFFFF 00000000 04 04 00 "
              "02 4964 0C 506172656E7449644E616D65")));

        // The tables: definition, maps, roots; the entries of the relationship lead to each other.
        QCOMPARE(page(f, 20).mid(0x2B * 2 + 16, 36), h("0A 0000 0000 0000 0000 0904 E404 02 0000 3200"));
        QVERIFY(
            page(f, 20).contains(h("01000000 00000000 01 03000000 17000000 01 01 02"
                                   "00000000 00000000 00 FFFFFFFF 00000000 04 04 01 03 2E7242 0A")));
        QVERIFY(
            page(f, 23).contains(h("02000000 02000000 00 FFFFFFFF 00000000 04 04 00"
                                   "00000000 00000000 00 FFFFFFFF 00000000 04 04 00"
                                   "03000000 03000000 02 01000000 14000000 01 01 02"
                                   "01000000 01000000 00 FFFFFFFF 00000000 04 04 01 04")));
        QVERIFY(page(f, 23).contains(h("0100 02180000 03180000 FFFF")));

        // Rows of the catalog.
        QCOMPARE(row(f, 18, 8), h("11 14000000 0100000F 0100 00000000D0D5E140 00000000D0D5E140 00000000 746F776E73 0301"
                                  "34000040 001D0000 00000000 32 32 32 26 26 26 26 26 26 26 24 1F 0B FF 40 00"));
        QCOMPARE(row(f, 19, 0), h("04 02000000 00000600 0301 0B 09 01 07"));
        QCOMPARE(row(f, 19, 5), h("04 0100000F 01000600 0301 0B 09 01 07"));
        QCOMPARE(row(f, 30, 1), h("07 00000080 01 0100 00000001 0C 0C 0C 0C 08 04 47"));
        QCOMPARE(row(f, 30, 3),
                 h("07 00000080 06 0000 00000001 7570706572 28000040 001F0000 00000000 1D 11 11 0C 08 04 2F"));
        QCOMPARE(row(f, 32, 0), h("08 00110000 01000000 00000000 6C6976657320696E 70656F706C65 746F776E 746F776E73 "
                                  "746F776E 28 24 1F 1B 15 0D 05 FF"));
        // Key of the query's second row in its index.
        QVERIFY(page(f, 14).contains(h("7F 00000000 7F 01 7F 00000001 00000000 04 00001E 01")));
        for (PageNo number = 33; number < 40; ++number)
            QCOMPARE(page(f, number), QByteArray(4096, '0'));
    }

    void writesTheSameBytesTwice() {
        MemoryDisk disk;
        disk.setContent(kPath, Bytes(100000, 7));
        createDatabase(disk, kPath, small());
        createDatabase(disk, "again", small());
        QVERIFY(disk.content(kPath) == disk.content("again"));
        QVERIFY(!disk.exists(logPath(kPath)));
    }

    void readsBack() {
        DatabaseSpec s = small();
        s.password.clear();
        MadeDatabase file(s);
        QStringList names;
        for (const CatalogEntry& e : file.db->catalog()) {
            names += QString::fromStdString(e.name) + (e.isSystem() ? "*" : "");
            QCOMPARE(e.created, 36526.5);
        }
        QCOMPARE(names.join(' '),
                 QString("Tables* Databases* Relationships* MSysDb* MSysObjects* MSysACEs* MSysQueries* "
                         "MSysRelationships* towns people all lives in"));
        const auto query = file.db->query("ALL").value();
        QCOMPARE(query.rows.size(), std::size_t{5});
        QCOMPARE(query.rows[3].expression.value(), std::string(40, 'u'));
        QCOMPARE(query.rows[1].flag.value(), std::int16_t{1});
        QVERIFY(!query.rows[0].flag);
        QCOMPARE(file["MSysACEs"].rowCount(), 2U * static_cast<unsigned>(names.size()));
        const auto relations = file.db->relationships();
        QCOMPARE(relations.size(), std::size_t{1});
        QCOMPARE(relations[0].flags, kCascadeBoth);
        QCOMPARE(relations[0].columns[0].second, std::string("town"));
        QVERIFY(file["people"].rules(1).allowZeroLength);
        QVERIFY(!file["people"].rules(2).allowZeroLength);
        expectSound(*file.db);
    }

    void takesLargeTables() {
        DatabaseSpec s;
        s.tables = {large()};
        MadeDatabase file(s);
        QVERIFY(file["large"].def().pages.size() > 2);
        for (int i = 0; i < 50; ++i) {
            Row r(121);
            for (std::size_t c = 1; c <= 120; ++c)
                r[c] = (c - 1) % 5 == 0   ? Value(std::string(static_cast<std::size_t>(i), 'm'))
                       : (c - 1) % 5 == 1 ? Value(std::to_string(i * 7 % 50))
                       : (c - 1) % 5 == 2 ? Value(i % 2 == 0)
                                          : Value(0.5 * i);
            file.insert("large", r);
        }
        file.reopen();
        QCOMPARE(file["large"].rowCount(), 50U);
        const Value seven = std::string("7");
        QCOMPARE(file["large"].lookup(1, std::array{seven}).size(), std::size_t{1});
        expectSound(*file.db);
    }

    void takesManyObjects() {
        DatabaseSpec s;
        for (int i = 0; i < 60; ++i) {
            const std::string name = "table " + std::to_string(i);
            s.tables.push_back(
                table(name, {column("id", ColumnType::Long), column("up", ColumnType::Long)}, {primary({"id"})}));
            // Half of them refer to the first, which so has more entries than there are letters; it refers to itself.
            if (i % 2 == 0)
                s.relationships.push_back(relation("relation " + std::to_string(i), name, "table 0", {{"up", "id"}},
                                                   i % 3 == 0 ? 0U : kCascadeBoth));
            s.queries.push_back({"query " + std::to_string(i),
                                 {queryRow(0), queryRow(1, {}, {}, static_cast<std::int16_t>(i % 10)),
                                  queryRow(5, name), queryRow(255)},
                                 {{.kind = 0, .name = {}, .properties = {required()}}}});
        }
        s.relationships.push_back(relation("loose", "table 3", "table 4", {{"up", "id"}}, 2));
        s.pages = 2000;
        MadeDatabase file(s);
        QCOMPARE(file.db->catalog().size(), std::size_t{8 + 60 + 30 + 60 + 1});
        QCOMPARE(file["table 0"].def().logicalIndexes.size(), std::size_t{32});
        file.insert("table 0", {std::int32_t{1}, std::int32_t{1}});
        file.insert("table 58", {std::int32_t{1}, std::int32_t{1}});
        QCOMPARE(thrown([&] {
                     file.insert("table 58", {std::int32_t{2}, std::int32_t{2}});
                 }),
                 error(Errc::ParentRequired, "table 0"));
        QCOMPARE(file.db->query("query 59")->rows[2].name1.value(), std::string("table 59"));
        for (const CatalogEntry& e : file.db->catalog())  // of a query that deletes, among others
            QVERIFY(e.name != "query 15" || e.flags == 0x20);
        QVERIFY(file.db->properties("query 7").object()->find("required")->truth());
        QCOMPARE(file.db->pager().pageCount(), 2000U);
        expectSound(*file.db);
    }

    void sharesIndexes() {
        DatabaseSpec s;
        IndexSpec unique = index("unique", {{"b", true}, {"a", true}});
        unique.unique = true;
        s.tables = {table("parent", {text("a", 5), text("b", 5)}, {unique}),
                    table("child", {text("x", 5), text("y", 5)}, {index("plain", {{"y", true}, {"x", false}})})};
        s.relationships = {relation("one", "child", "parent", {{"x", "a"}, {"y", "b"}}, 0),
                           relation("two", "parent", "parent", {{"b", "b"}, {"a", "a"}}, 0)};
        MadeDatabase file(s);
        // Columns go in the order of the referenced index; an index on these columns is used by whoever needs it.
        QCOMPARE(file.db->relationships()[0].columns[0].first, std::string("y"));
        QCOMPARE(file["child"].def().realIndexes.size(), std::size_t{1});
        QCOMPARE(file["parent"].def().realIndexes.size(), std::size_t{1});
        QCOMPARE(file["parent"].def().logicalIndexes.size(), std::size_t{4});
        expectSound(*file.db);
    }

    void refusesNonsense_data() {
        addColumns<int, QString>("which", "refusal");
        addRow("relationship to no table", 0, error(Errc::NoSuchTable, "nowhere"));
        addRow("relationship over no column", 1, error(Errc::NoSuchColumn, "people", "nothing"));
        addRow("relationship to a column without a unique index", 2,
               error(Errc::UnsupportedFeature, "",
                     "relationship lives in without a unique index on the referenced columns"));
        addRow("index over no column", 3, error(Errc::NoSuchColumn, "people", "nothing"));
        addRow("password too long", 4, error(Errc::TooLong, "", "password"));
    }
    void refusesNonsense() {
        QFETCH(int, which);
        DatabaseSpec s = small();
        if (which == 0)
            s.relationships[0].referencedTable = "nowhere";
        else if (which == 1)
            s.relationships[0].columns[0].first = "nothing";
        else if (which == 2)
            std::swap(s.relationships[0].table, s.relationships[0].referencedTable);
        else if (which == 3)
            s.tables[1].indexes[0].columns[0].first = "nothing";
        else
            s.password = std::string(21, 'p');
        MemoryDisk disk;
        QTEST(thrown([&] { createDatabase(disk, kPath, s); }), "refusal");
        QVERIFY(!disk.exists(kPath));
    }
};

QTEST_APPLESS_MAIN(TestCreate)
#include "tst_create.moc"
