// SPDX-License-Identifier: MIT
// An empty budget in memory, with a few more tables and stored queries than a budget has.
#pragma once

#include "budget_schema.h"
#include "jet/made_database.h"
#include "jetsql/error.h"
#include "jetsql/statement.h"
#include "vbrt/error.h"

namespace test {

using made::column;
using made::table;

inline jet::ColumnSpec withDefault(jet::ColumnSpec spec, std::string expression) {
    spec.properties = {jet::PropertySet::memoProperty("DefaultValue", expression)};
    return spec;
}

inline jet::QueryRow queryRow(std::uint8_t attribute, std::uint32_t order, std::optional<std::int16_t> flag,
                              std::optional<std::string> name1 = {}, std::optional<std::string> expression = {},
                              std::optional<std::string> name2 = {}) {
    return {attribute, order, std::move(name1), std::move(name2), std::move(expression), flag};
}

// Tables with relationships of every kind, for relations.test.
inline void addRelatedTables(jet::DatabaseSpec& spec) {
    using made::primary;
    using made::relation;
    using made::text;
    const auto number = [](const char* name) { return column(name, jet::ColumnType::Long); };
    jet::IndexSpec oneForA = made::index("one per a", {{"a", true}});
    oneForA.unique = true;
    const jet::TableSpec tables[] = {
        table("departments", {text("name", 20), number("rooms")}, {primary({"name"})}),
        table("people", {number("id"), text("name", 10), text("department", 20)},
              {primary({"id"}), made::index("by department", {{"department", false}})}),
        table("log", {number("id"), number("person"), text("department", 20)}, {primary({"id"})}),
        table("orders", {text("nr", 10)}, {primary({"nr"})}),
        table("lines", {text("nr", 10), number("line"), made::memo("remark")}, {primary({"nr", "line"})}),
        // Its columns are in another order than those that it refers to.
        table("parts", {number("line"), text("nr", 10), number("part")}, {primary({"part"})}),
        table("wide", {text("a", 20), text("b", 20)}, {primary({"a", "b"})}),
        table("narrow", {text("a", 5), text("b", 20)}, {oneForA}), table("other", {text("a", 20)}, {primary({"a"})}),
        table("notes", {made::counter("id"), text("owner", 10, {made::required(), made::allowEmpty()})},
              {primary({"id"})})};
    spec.tables.insert(spec.tables.end(), std::begin(tables), std::end(tables));
    for (const jet::Relationship& each :
         {relation("works in", "people", "departments", {{"department", "name"}}, made::kCascadeBoth),
          relation("log of person", "log", "people", {{"person", "id"}}, 0),
          relation("log of department", "log", "departments", {{"department", "name"}}, made::kCascadeUpdate),
          relation("lines of order", "lines", "orders", {{"nr", "nr"}}, made::kCascadeBoth),
          relation("parts of line", "parts", "lines", {{"line", "line"}, {"nr", "nr"}}, made::kCascadeBoth),
          relation("r", "narrow", "wide", {{"a", "a"}, {"b", "b"}}, made::kCascadeBoth),
          relation("o", "narrow", "other", {{"a", "a"}}, made::kCascadeUpdate)})
        spec.relationships.push_back(each);
}

inline jet::DatabaseSpec budgetSpec() {
    using enum jet::ColumnType;
    jet::DatabaseSpec spec = jet::budgetTemplate();
    addRelatedTables(spec);
    spec.pages = 0;
    spec.tables.push_back(table(
        "types",
        {column("flag", Boolean), column("tiny", Byte), column("small", Integer), column("number", Long),
         column("money", Currency), column("single", Single), column("double", Double), column("moment", DateTime),
         column("bytes", Binary, 20), column("word", Text, 10), column("note", Memo), column("guid", Guid)}));
    spec.tables.push_back(table(
        "defaults", {column("id", Long), withDefault(column("a", Long), "1+2"),
                     withDefault(column("b", Text, 10), "\"none\""), withDefault(column("c", DateTime), "=Date()"),
                     withDefault(column("d", Boolean), "=Yes"), column("e", Text, 10)}));
    spec.tables.back().columns[0].autoNumber = true;
    spec.tables.back().columns[2].properties.push_back(jet::PropertySet::boolProperty("AllowZeroLength", true));
    spec.tables.push_back(table("tree", {column("id", Long), column("parent", Long)}, {made::primary({"id"})}));
    spec.tables.push_back(table("odd name", {column("two words", Long), column("order", Text, 10)}));
    spec.relationships.push_back(made::relation("treetree", "tree", "tree", {{"parent", "id"}}, made::kCascadeBoth));
    const jet::QuerySpec queries[] = {
        {"qry_loop", {queryRow(5, 1, {}, "qry_loop_inner"), queryRow(6, 1, 0, {}, "a")}, {}},
        {"qry_loop_inner", {queryRow(5, 1, {}, "QRY_LOOP"), queryRow(6, 1, 0, {}, "a")}, {}},
        {"qry_top",
         {queryRow(1, 1, 1), queryRow(3, 1, 0x19, "2"), queryRow(5, 1, {}, "qry_stuffer", {}, "s"),
          queryRow(8, 1, {}, {}, "s.budget>0"), queryRow(11, 1, {}, "D", "new_balance")},
         {}},
        {"qry_joins",
         {queryRow(3, 1, 2), queryRow(5, 1, {}, "odd name"), queryRow(5, 2, {}, "tree", {}, "b"),
          queryRow(5, 3, {}, "tree", {}, "c"), queryRow(5, 4, {}, "defaults"), queryRow(6, 1, 0, "two words", "c.id"),
          queryRow(7, 1, 1, "odd name", "[odd name].[two words]=b.id", "b"),
          queryRow(7, 2, 2, "b", "b.id=c.parent", "c"), queryRow(7, 3, 2, "B", "b.parent=c.id", "C")},
         {}},
        {"qry_delete", {queryRow(1, 1, 5), queryRow(5, 1, {}, "tree")}, {}}};
    spec.queries.insert(spec.queries.end(), std::begin(queries), std::end(queries));
    return spec;
}

class Database {
 public:
    explicit Database(const jet::DatabaseSpec& spec = budgetSpec()) : m_password(spec.password) {
        jet::createDatabase(m_disk, kPath, spec);
        restart();
    }

    // Closes the file and opens it again.
    void restart() {
        m_db.reset();
        m_db = jet::Database::open(kPath, {.password = m_password, .readOnly = false, .disk = &m_disk});
    }

    const std::shared_ptr<jet::Database>& operator*() const { return m_db; }
    jet::Database* operator->() const { return m_db.get(); }

    jetsql::Outcome execute(std::string_view sql) { return jetsql::execute(m_db, sql); }

    std::vector<jet::Row> rows(std::string_view sql) {
        const auto found = execute(sql).rows;
        std::vector<jet::Row> all;
        for (jet::Row row; found->next(row);)
            all.push_back(row);
        return all;
    }

 private:
    static constexpr const char* kPath = "test.mdb";
    std::string m_password;
    jet::MemoryDisk m_disk;
    std::shared_ptr<jet::Database> m_db;
};

}  // namespace test
