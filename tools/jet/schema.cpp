// SPDX-License-Identifier: MIT
#include <algorithm>

#include "commands.h"
#include "jet/values/error.h"
#include "jetsql/error.h"
#include "jetsql/statement.h"
#include "output.h"

namespace {

const char* typeName(const jet::ColumnDef& column) {
    using enum jet::ColumnType;
    switch (column.type) {
        case Boolean:
            return "Boolean";
        case Byte:
            return "Byte";
        case Integer:
            return "Integer";
        case Long:
            return column.isAutoNumber() ? "AutoNumber" : "Long";
        case Currency:
            return "Currency";
        case Single:
            return "Single";
        case Double:
            return "Double";
        case DateTime:
            return "Date/Time";
        case Binary:
            return "Binary";
        case Text:
            return "Text";
        case Ole:
            return "OLE";
        case Memo:
            return "Memo";
        case Guid:
            return "GUID";
    }
    return "?";
}

// The value of a property as its type says.
std::string shown(const jet::Property& property) {
    std::string out;
    switch (property.type) {
        case 1:
            return property.truth() ? "true" : "false";
        case 10:
        case 12:
            appendPlain(property.text(), out);
            return out;
        case 2:
        case 3:
        case 4: {
            std::uint32_t number = 0;
            for (std::size_t i = std::min<std::size_t>(property.value.size(), 4); i-- > 0;)
                number = number << 8U | property.value[i];
            return std::to_string(static_cast<std::int32_t>(number));
        }
        default:
            appendPlain(property.value, out);
            return out;
    }
}

std::string joined(const std::vector<std::string>& parts) {
    std::string out;
    for (const std::string& part : parts)
        out += (out.empty() ? "" : ", ") + part;
    return out;
}

void showColumn(const jet::ColumnDef& column, const jet::PropertyBlock* properties, Output& output) {
    std::string line = "  " + column.name + "  " + typeName(column);
    if (column.type == jet::ColumnType::Text || column.type == jet::ColumnType::Binary)
        line += "(" + std::to_string(column.length) + ")";
    if (properties != nullptr)
        for (const jet::Property& property : properties->properties)
            line += "  " + property.name + "=" + shown(property);
    output.line(line);
}

void showIndex(const jet::TableDef& def, const jet::LogicalIndex& index, Output& output) {
    const jet::RealIndex& real = def.realIndexes[index.real];
    std::vector<std::string> columns;
    for (const jet::IndexColumn& c : real.columns)
        if (const auto position = def.columnByNumber(c.column))
            columns.push_back(def.columns[*position].name + (c.ascending ? "" : " descending"));
    std::string line = index.kind == jet::LogicalIndex::Kind::Primary ? "  primary key " : "  index ";
    line += index.name + " on " + joined(columns);
    if (index.kind != jet::LogicalIndex::Kind::Primary && (real.flags & jet::RealIndex::kUnique) != 0)
        line += ", unique";
    if (index.kind != jet::LogicalIndex::Kind::Primary && (real.flags & jet::RealIndex::kRequired) != 0)
        line += ", required";
    if ((real.flags & jet::RealIndex::kIgnoreNulls) != 0)
        line += ", ignores Null";
    output.line(line);
}

void showTable(jet::Database& db, const std::string& name, Output& output) {
    const jet::TableDef& def = db.table(name).def();
    const jet::PropertySet properties = db.properties(name);
    output.line("table " + name);
    for (const jet::ColumnDef& column : def.columns)
        showColumn(column, properties.column(column.name), output);
    for (const jet::LogicalIndex& index : def.logicalIndexes)
        if (index.kind != jet::LogicalIndex::Kind::Relation)
            showIndex(def, index, output);
    output.line("");
}

void showRelationship(const jet::Relationship& r, Output& output) {
    std::vector<std::string> from;
    std::vector<std::string> to;
    for (const auto& [referencing, referenced] : r.columns) {
        from.push_back(referencing);
        to.push_back(referenced);
    }
    std::string line = "relationship " + r.name + ": " + r.table + " (" + joined(from) + ") refers to " +
                       r.referencedTable + " (" + joined(to) + ")";
    if (!r.enforced())
        line += ", not enforced";
    if (r.cascadeUpdate())
        line += ", updates cascade";
    if (r.cascadeDelete())
        line += ", deletions cascade";
    output.line(line);
    output.line("");
}

// Rows of the kinds that have no SQL here (unions, crosstabs, ...) are shown as they are stored.
void showQuery(const jet::StoredQuery& query, Output& output) {
    output.line("query " + query.name);
    std::string sql;
    try {
        sql = jetsql::sqlOf(query);
    } catch (const jetsql::Error&) {
        for (const jet::QueryRow& row : query.rows) {
            output.text() += "  row " + std::to_string(row.attribute) + "." + std::to_string(row.order);
            if (row.flag)
                output.text() += " flag " + std::to_string(*row.flag);
            for (const auto& text : {row.name1, row.name2, row.expression}) {
                output.text() += "\t";
                appendPlain(text.value_or(std::string()), output.text());
            }
            output.endLine();
        }
    }
    if (!sql.empty())
        output.line("  " + sql);
    output.line("");
}

bool isUserTable(const jet::CatalogEntry& entry) {
    return entry.type == jet::CatalogEntry::TableType && !entry.isSystem();
}

}  // namespace

int listTables(const Arguments& arguments) {
    const auto db = openFile(arguments, Access::Read);
    Output output;
    for (const jet::CatalogEntry& entry : db->catalog())
        if (isUserTable(entry))
            output.line(entry.name);
    output.flush();
    return 0;
}

int showSchema(const Arguments& arguments) {
    const auto db = openFile(arguments, Access::Read);
    Output output;
    const std::vector<jet::CatalogEntry> catalog = db->catalog();
    for (const jet::CatalogEntry& entry : catalog)
        if (isUserTable(entry))
            showTable(*db, entry.name, output);
    for (const jet::Relationship& relationship : db->relationships())
        showRelationship(relationship, output);
    for (const jet::CatalogEntry& entry : catalog)
        if (entry.type == jet::CatalogEntry::QueryType)
            if (const auto query = db->query(entry.name))
                showQuery(*query, output);
    output.flush();
    return 0;
}
