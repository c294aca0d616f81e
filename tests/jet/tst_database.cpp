// SPDX-License-Identifier: MIT
#include "jet/database.h"

#include <QTest>
#include <random>

#include "jet/fault_disk.h"
#include "jet/made_database.h"
#include "rows.h"

using namespace made;

namespace {

DatabaseSpec spec() {
    DatabaseSpec s;
    s.password = "Pa\u00DFwort";
    s.tables = {table("towns", {text("town", 30), memo("about")}, {primary({"town"})}),
                table("people", {counter("id"), text("town", 30)}, {primary({"id"})})};
    s.tables[1].properties = {PropertySet::textProperty("Description", "Everybody.")};
    s.relationships = {relation("lives in", "people", "towns", {{"town", "town"}}, kCascadeBoth)};
    s.queries = {{"all", {queryRow(0), queryRow(5, "towns"), queryRow(255)}, {}}};
    return s;
}

DatabaseSpec open_() {
    DatabaseSpec s = spec();
    s.password.clear();
    return s;
}

}  // namespace

class TestDatabase : public QObject {
    Q_OBJECT

 private slots:
    void isSharedWithinTheProcess() {
        MemoryDisk disk;
        createDatabase(disk, kPath, open_());
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
        createDatabase(other, kPath, open_());
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
        createDatabase(disk, kPath, hasOne ? spec() : open_());
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
        MadeDatabase file(open_());
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
        createDatabase(disk, kPath, open_());
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
        MadeDatabase file(open_());
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

    void survivesAFailingDisk_data() {
        addColumns<bool>("onwards");
        addRow("one operation fails", false);
        addRow("all fail from then on", true);
    }

    // Statements on a disk whose Nth operation fails, for every N: each is there as a whole or not at all.
    void survivesAFailingDisk() {
        QFETCH(bool, onwards);
        for (std::uint64_t n = 1;; ++n) {
            MemoryDisk disk;
            createDatabase(disk, kPath, open_());
            FaultDisk faulty(disk);
            faulty.setPlan({.failAt = n, .onwards = onwards, .halfWrite = n % 2 == 0, .error = Errc::Io});
            QString committed;
            try {
                const auto db = Database::open(kPath, {.password = {}, .readOnly = false, .disk = &faulty});
                const auto statement = [&](const char* name, auto&& work) {
                    Transaction t(*db);
                    work();
                    t.commit();
                    committed = name;
                };
                statement("a", [&] {
                    Row town = {str("Rome"), std::string(5000, 'm')};
                    db->table("towns").insert(town);
                    for (int i = 0; i < 60; ++i) {
                        Row person = {Null(), str("Rome")};
                        db->table("people").insert(person);
                    }
                });
                statement("b", [&] {
                    db->table("towns").update(db->table("towns").inOrder(0).at(0), std::array<std::size_t, 1>{0},
                                              std::array<Value, 1>{str("Naples and its surroundings")});
                });
                statement("c", [&] { db->table("towns").erase(db->table("towns").inOrder(0).at(0)); });
                db->pager().close();
            } catch (const Error& e) {
                QVERIFY(e.code() == Errc::Io || (e.code() == Errc::Unfinished && committed == "c"));
            }
            const auto db = Database::open(kPath, {.password = {}, .readOnly = false, .disk = &disk});
            QVERIFY2(verify(*db).empty(), qPrintable(QString("operation %1").arg(n)));
            // The state after the last statement that was reported as done, or after the one that failed.
            QString state;
            if (db->table("towns").rowCount() == 0)
                state = db->table("people").def().lastAutoNumber == 0 ? "" : "c";
            else
                state = db->table("people").lookup(1, std::array<Value, 1>{str("Rome")}).size() == 60 ? "a" : "b";
            const QString after = committed.isEmpty() ? "a" : committed == "a" ? "b" : "c";
            QVERIFY2(state == committed || state == after,
                     qPrintable(QString("%1 is %2, not %3").arg(n).arg(state, committed)));
            if (!faulty.failed())
                break;
            QVERIFY(n < 1000);
        }
    }

    // Bytes changed anywhere: an error or an answer, never anything worse.
    void survivesDamage() {
        MadeDatabase file(open_());
        file.insert("towns", {str("Rome"), std::string(3000, 'r')});
        for (int i = 0; i < 30; ++i)
            file.insert("people", {Null(), str("Rome")});
        file.db.reset();
        const Bytes good = file.disk.content(kPath);
        std::mt19937 random(7);
        int refused = 0;
        for (int round = 0; round < 600; ++round) {
            Bytes bytes = good;
            // The structure of a page is at its beginning and its end.
            const std::size_t page = random() % (good.size() / kPageSize);
            for (unsigned i = 0; i < 1 + random() % 3; ++i) {
                const std::size_t at = random() % 2 == 0 ? random() % 80 : random() % kPageSize;
                bytes[page * kPageSize + at] = static_cast<std::uint8_t>(random());
            }
            file.disk.setContent(kPath, bytes);
            file.disk.remove(logPath(kPath));
            try {
                file.open();
                for (const CatalogEntry& entry : file.db->catalog())
                    if (entry.type == CatalogEntry::TableType)
                        static_cast<void>(file.show(entry.name));
                static_cast<void>(file.db->relationships());
                static_cast<void>(file.db->query("all"));
                static_cast<void>(file.db->properties("people"));
                file.insert("people", {Null(), str("rome")});
                file.set("towns", file.find("towns", "town", str("Rome")), "town", str("Naples"));
                file.erase("towns", file.find("towns", "town", str("Naples")));
            } catch (const Error&) {
                ++refused;
            }
            file.db.reset();
        }
        QVERIFY(refused > 100);
    }
};

QTEST_APPLESS_MAIN(TestDatabase)
#include "tst_database.moc"
