// SPDX-License-Identifier: MIT
#include <QTest>

#include "jet/made_database.h"

using namespace made;

namespace {

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

}  // namespace

class TestRelations : public QObject {
    Q_OBJECT

 private slots:
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

    // A file whose two halves of a relationship do not fit reads well and refuses changes.
    void damagedLinksAreReported() {
        MadeDatabase file(company());
        file.insert("departments", {str("Sales"), num(3)});
        const PageNo page = file["people"].def().page;
        file.db.reset();
        const Bytes good = file.disk.content(kPath);
        int refused = 0;
        for (std::size_t at = 0; at < 2048; ++at) {
            Bytes bytes = good;
            bytes[page * kPageSize + at] ^= 0x05;
            file.disk.setContent(kPath, bytes);
            const QString result = thrown([&] {
                file.open();
                file.insert("people", {num(1), str("Ann"), str("Sales")});
            });
            refused += result != "nothing";
            file.db.reset();
            file.disk.remove(logPath(kPath));
        }
        QVERIFY(refused > 50);
    }
};

QTEST_APPLESS_MAIN(TestRelations)
#include "tst_relations.moc"
